// The slot of a virtual function in the virtual table of its class, to test that the order of
// virtual functions does not change.
//
// In the Itanium C++ ABI (section 2.3), a pointer to a virtual member function contains its offset
// in the table in bytes, plus one. A pointer to another member function contains an address, which
// is even.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

constexpr std::size_t notVirtual = ~std::size_t{0};

// Returns the slot, counted from 0, or `notVirtual`. A virtual destructor takes two slots.
template <class Member>
requires std::is_member_function_pointer_v<Member> std::size_t SlotOf(Member member) {
    std::uintptr_t parts[2]; // The function, and the adjustment of `this`.
    static_assert(sizeof(parts) == sizeof(member));
    std::memcpy(parts, &member, sizeof(parts));
    return parts[0] % 2 == 0 ? notVirtual : (parts[0] - 1) / sizeof(void*);
}
