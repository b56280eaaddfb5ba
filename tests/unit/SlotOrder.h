// Where the virtual operations of a class stand in its table. Positions count from 1, as the
// owners of the tables count them: a destructor has one position.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#ifndef _MSC_VER

// The index of an operation in its table. A pointer to a virtual operation holds its offset, one
// added; the second word moves the object to the base that the table belongs to.
template <typename Pointer>
size_t TableIndex(Pointer operation) {
    static_assert(std::is_member_function_pointer_v<Pointer>);
    struct {
        uintptr_t offset;
        ptrdiff_t adjustment;
    } words;
    static_assert(sizeof operation == sizeof words);
    std::memcpy(&words, &operation, sizeof words);
    EXPECT_EQ(words.offset % sizeof(void*), 1U) << "the operation is not virtual";
    EXPECT_EQ(words.adjustment, 0) << "the operation stands in the table of a later base";
    return words.offset / sizeof(void*);
}

// An operation, and the position that it must have.
struct Slot {
    template <typename Pointer>
    Slot(const char* operationName, size_t wantedPosition, Pointer operation)
        : name(operationName), position(wantedPosition), index(TableIndex(operation)) {}

    const char* name;
    size_t position;
    size_t index;
};

inline constexpr size_t NO_DESTRUCTOR = 0;

// A destructor takes two entries of the table, one of which frees the memory.
inline void ExpectSlots(size_t destructorPosition, const std::vector<Slot>& slots) {
    for (const Slot& slot : slots) {
        const bool behind =
            destructorPosition != NO_DESTRUCTOR && slot.position > destructorPosition;
        EXPECT_NE(slot.position, destructorPosition) << slot.name;
        EXPECT_EQ(slot.index, slot.position - 1 + (behind ? 1 : 0)) << slot.name;
    }
}

#endif
