#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace UnitTests
{

/// How many slots the table of a class's virtual functions has; a virtual destructor takes two. The link library calls
/// the listeners by their slots.
template<typename Class>
std::size_t VirtualSlots()
{
    struct Longer : Class
    {
        virtual void NextSlot() {}
    };
    // A pointer to a virtual function begins with its place in the table in bytes, on some processors plus one.
    void (Longer::*const next)() = &Longer::NextSlot;
    std::uintptr_t place = 0;
    std::memcpy(&place, &next, sizeof(place));
    return place / sizeof(void*);
}

} // namespace UnitTests
