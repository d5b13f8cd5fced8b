// Whether this program runs with AddressSanitizer and its leak checker. g++ and clang have
// different macros.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define CC_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CC_ADDRESS_SANITIZER 1
#endif
#endif
