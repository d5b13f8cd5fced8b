// Tells whether AddressSanitizer, with its leak checker, watches this program. g++ and clang say so
// in ways of their own.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define CC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CC_ADDRESS_SANITIZER 1
#endif
#endif
