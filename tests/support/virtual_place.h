// The place of a virtual operation among those of its class.
//
// Callers that were built against an older header reach an operation by its place, so the order is part of the interface.
// A compiler shows it only through the layout that all compilers here share (the Itanium C++ ABI): a pointer to a virtual
// member function holds one more than the offset of the function's entry in the class's table, and the adjustment of
// `this` that goes with it.
#pragma once

#include <cstddef>
#include <cstring>

/// The place of a virtual operation in its class's first table, where the destructor takes the first place (its two
/// entries are 0 and 1, so that entry and place are the same number from the second place on). 0 for a pointer that is
/// not to a virtual function, or that goes to the table of a base which is not the first.
template <class Function>
std::size_t virtual_place(Function function)
{
    struct Parts
    {
        std::size_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof(parts) == sizeof(function));
    std::memcpy(&parts, &function, sizeof(parts));
    return parts.pointer % 2 == 1 && parts.adjustment == 0 ? (parts.pointer - 1) / sizeof(void*) : 0;
}
