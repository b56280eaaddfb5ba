// The objects that consumers hold handles of. A handle is an object's address; whoever gets one
// from outside asks here first, so that a closed, foreign or random value is never dereferenced.
// This file knows no class of object.
//
// Every exported function asks once or twice. Here that takes 2 ns, with 1,024 objects; under a
// reader-writer lock with Boost's flat set it takes 55 (the standard library's lock) to 97
// (Boost's).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace GenICam::Client {

// A set of addresses. Asking takes no lock and a few nanoseconds; adding and removing lock each
// other out. Objects of this class are static, and have no destructor to run: threads may ask until
// the process ends.
class CLiveObjects {
public:
    using Slot = std::atomic<std::uintptr_t>;

    // The slots are zero, their number is a power of two, and they outlive this object. When they
    // become too few, larger tables take their place, which are not given back.
    constexpr explicit CLiveObjects(std::span<Slot> slots)
        : m_first{slots.data(), slots.size() - 1, nullptr}, m_table(&m_first) {}
    CLiveObjects(const CLiveObjects&) = delete;
    CLiveObjects& operator=(const CLiveObjects&) = delete;

    // Throws std::bad_alloc when there is no room.
    void Add(const void* object);
    // Does nothing for what is not there.
    void Remove(const void* object) noexcept;
    bool Contains(const void* object) const noexcept {
        const auto address = reinterpret_cast<std::uintptr_t>(object);
        return Search(address) || ContainsMoving(address);
    }

    // The module objects, whose handles are ICommonBase addresses, and the event objects.
    static CLiveObjects& Modules() noexcept { return s_modules; }
    static CLiveObjects& Events() noexcept { return s_events; }

private:
    static constexpr std::uintptr_t kEmpty = 0;

    struct STable {
        Slot* slots;
        std::size_t mask;
        const STable* previous; // kept, as a search may be under way in it
    };

    static std::size_t Home(std::uintptr_t address, const STable& table) noexcept {
        // Fibonacci hashing: the multiplier is 2^64 divided by the golden ratio.
        return static_cast<std::size_t>(((address >> 4) * 0x9E3779B97F4A7C15U) >> 32) & table.mask;
    }
    // An object stands at its home, or behind it with no empty slot in between.
    bool Search(std::uintptr_t address) const noexcept {
        const STable& table = *m_table.load(std::memory_order_acquire);
        for (std::size_t i = Home(address, table); address != kEmpty; i = (i + 1) & table.mask) {
            const std::uintptr_t found = table.slots[i].load(std::memory_order_acquire);
            if (found == address) {
                return true;
            }
            if (found == kEmpty) {
                break;
            }
        }
        return false;
    }
    // The same, where others may be moving, so that one that stays can be missed.
    bool ContainsMoving(std::uintptr_t address) const noexcept;
    static void Insert(const STable& table, std::uintptr_t address) noexcept;
    void Grow();

    const STable m_first;
    std::atomic<const STable*> m_table;
    std::atomic<std::uint64_t> m_version{0}; // odd while objects move
    std::atomic_flag m_isChanging = ATOMIC_FLAG_INIT;
    std::size_t m_count = 0; // guarded by the flag

    static CLiveObjects s_modules;
    static CLiveObjects s_events;
};

} // namespace GenICam::Client
