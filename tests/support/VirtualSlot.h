// Where a virtual operation stands in the table of its class, for classes whose slot order is part of what
// they promise.
#pragma once

#include <cstddef>
#include <cstring>

namespace test {

// The slot behind a pointer to a virtual member function. A pointer to such a member holds the byte offset
// of the slot, on some processors plus one (Itanium C++ ABI, 2.3).
template <class Pointer>
std::size_t SlotOf(Pointer member) {
    std::size_t offset = 0;
    static_assert(sizeof member >= sizeof offset);
    std::memcpy(&offset, &member, sizeof offset);
    return offset / sizeof(void*);
}

}  // namespace test
