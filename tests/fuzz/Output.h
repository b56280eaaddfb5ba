// Where a call of the module may write, with bytes around it that it must leave alone.
#pragma once

#include "Demand.h"

#include "GenTL/GenTL.h"

#include <algorithm>
#include <array>
#include <cstdint>

// One value that a call may write; its address is null now and then.
template <typename Value>
class COutput {
public:
    explicit COutput(Bytes& bytes, Value value = {})
        : m_value(value), m_isNull(bytes.ConsumeIntegralInRange(0, 15) == 0) {}
    ~COutput() { Demand(m_before == MARK && m_behind == MARK, "a value is written in its bounds"); }
    COutput(const COutput&) = delete;
    COutput& operator=(const COutput&) = delete;

    Value* Pointer() { return m_isNull ? nullptr : &m_value; }
    Value Get() const { return m_value; }

private:
    static constexpr std::uint64_t MARK = 0xA5A5A5A5A5A5A5A5;

    std::uint64_t m_before = MARK;
    Value m_value;
    std::uint64_t m_behind = MARK;
    bool m_isNull;
};

// What a size may be that is offered for a buffer.
enum class ESizes {
    Honest, // no more than there is
    Any     // of a function that writes its value and nothing else
};

// A buffer and its size. There is always room for least bytes, and for any value where the size is
// 0 or absurd, as a size of 0 is taken for large enough.
class CBufferOutput {
public:
    explicit CBufferOutput(Bytes& bytes, ESizes sizes = ESizes::Any, std::size_t least = 0)
        : m_isNull(bytes.ConsumeIntegralInRange(0, 7) == 0), m_size(bytes, TakeSize(bytes, sizes)) {
        const std::size_t offered = m_size.Get();
        const bool isUnbounded =
            offered == 0 || offered > MOST || (sizes == ESizes::Any && m_size.Pointer() == nullptr);
        m_limit = isUnbounded ? LARGEST_VALUE : std::max(offered, least);
        std::fill_n(s_area.begin(), GUARD, MARK);
        std::fill_n(s_area.begin() + Offset(), GUARD, MARK);
    }
    ~CBufferOutput() {
        const auto isMark = [](char byte) { return byte == MARK; };
        Demand(
            std::all_of(s_area.begin(), s_area.begin() + GUARD, isMark) &&
                std::all_of(s_area.begin() + Offset(), s_area.begin() + Offset() + GUARD, isMark),
            "no more is written than was offered");
    }
    CBufferOutput(const CBufferOutput&) = delete;
    CBufferOutput& operator=(const CBufferOutput&) = delete;

    char* Buffer() { return m_isNull ? nullptr : s_area.data() + GUARD; }
    std::size_t* Size() { return m_size.Pointer(); }

private:
    static constexpr std::ptrdiff_t GUARD = 32;
    static constexpr char MARK = '\x5A';
    static constexpr std::size_t MOST = 65536;
    static constexpr std::size_t LARGEST_VALUE = 8192;

    static std::size_t TakeSize(Bytes& bytes, ESizes sizes) {
        static constexpr std::size_t SIZES[] = {0, 4, 8, 16, 23, 24, 25, 256, 4096, MOST};
        switch (bytes.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return bytes.ConsumeIntegralInRange<std::size_t>(0, 64);
        case 1:
            return sizes == ESizes::Honest ? 4 : SIZE_MAX >> bytes.ConsumeIntegralInRange(0, 40);
        default:
            return bytes.PickValueInArray(SIZES);
        }
    }

    std::ptrdiff_t Offset() const { return GUARD + static_cast<std::ptrdiff_t>(m_limit); }

    static inline std::array<char, MOST + 2 * GUARD> s_area;

    bool m_isNull;
    COutput<std::size_t> m_size;
    std::size_t m_limit = 0;
};
