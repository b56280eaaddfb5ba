#include "core/LiveObjects.h"

#include "core/Patience.h"

#include <memory>

namespace GenICam::Client {
namespace {

// Room for the objects of 64 cameras with a hundred buffers each. Memory that is not touched costs
// nothing.
constexpr std::size_t kModuleSlots = std::size_t{1} << 15;
constexpr std::size_t kEventSlots = std::size_t{1} << 10;

constinit CLiveObjects::Slot s_moduleSlots[kModuleSlots]{};
constinit CLiveObjects::Slot s_eventSlots[kEventSlots]{};

// Held for some dozen instructions, so that a mutex would only add a destructor.
class CChange {
public:
    explicit CChange(std::atomic_flag& flag) noexcept : m_flag(flag) {
        for (CPatience patience; m_flag.test_and_set(std::memory_order_acquire);) {
            patience.Pause();
        }
    }
    ~CChange() { m_flag.clear(std::memory_order_release); }
    CChange(const CChange&) = delete;
    CChange& operator=(const CChange&) = delete;

private:
    std::atomic_flag& m_flag;
};

} // namespace

constinit CLiveObjects CLiveObjects::s_modules(s_moduleSlots);
constinit CLiveObjects CLiveObjects::s_events(s_eventSlots);

bool CLiveObjects::ContainsMoving(std::uintptr_t address) const noexcept {
    for (CPatience patience;; patience.Pause()) {
        const std::uint64_t version = m_version.load(std::memory_order_acquire);
        if (Search(address)) {
            return true;
        }
        if (version % 2 == 0 && version == m_version.load(std::memory_order_acquire)) {
            return false;
        }
    }
}

void CLiveObjects::Insert(const STable& table, std::uintptr_t address) noexcept {
    std::size_t i = Home(address, table);
    while (table.slots[i].load(std::memory_order_relaxed) != kEmpty) {
        i = (i + 1) & table.mask;
    }
    table.slots[i].store(address, std::memory_order_release);
}

void CLiveObjects::Add(const void* object) {
    const CChange change(m_isChanging);
    // Half empty, searches end soon.
    if (2 * (m_count + 1) > m_table.load(std::memory_order_relaxed)->mask) {
        Grow();
    }
    Insert(*m_table.load(std::memory_order_relaxed), reinterpret_cast<std::uintptr_t>(object));
    ++m_count;
}

void CLiveObjects::Grow() {
    const STable& before = *m_table.load(std::memory_order_relaxed);
    const std::size_t size = 2 * (before.mask + 1);
    auto slots = std::make_unique<Slot[]>(size);
    auto table = std::make_unique<STable>(STable{slots.get(), size - 1, &before});
    for (std::size_t i = 0; i <= before.mask; ++i) {
        const std::uintptr_t address = before.slots[i].load(std::memory_order_relaxed);
        if (address != kEmpty) {
            Insert(*table, address);
        }
    }
    slots.release(); // NOLINT(bugprone-unused-return-value): the table has it
    m_table.store(table.release(), std::memory_order_release);
}

void CLiveObjects::Remove(const void* object) noexcept {
    const CChange change(m_isChanging);
    const STable& table = *m_table.load(std::memory_order_relaxed);
    const auto address = reinterpret_cast<std::uintptr_t>(object);
    std::size_t i = Home(address, table);
    for (;; i = (i + 1) & table.mask) {
        const std::uintptr_t found = table.slots[i].load(std::memory_order_relaxed);
        if (found == kEmpty) {
            return;
        }
        if (found == address) {
            break;
        }
    }
    --m_count;
    const std::uint64_t version = m_version.load(std::memory_order_relaxed);
    m_version.store(version + 1, std::memory_order_relaxed);
    // What was displaced moves up, so that no search ends at the gap too soon.
    for (std::size_t j = (i + 1) & table.mask;; j = (j + 1) & table.mask) {
        const std::uintptr_t displaced = table.slots[j].load(std::memory_order_relaxed);
        if (displaced == kEmpty) {
            break;
        }
        const std::size_t fromHome = (j - Home(displaced, table)) & table.mask;
        const std::size_t fromGap = (j - i) & table.mask;
        if (fromHome >= fromGap) {
            table.slots[i].store(displaced, std::memory_order_release);
            i = j;
        }
    }
    table.slots[i].store(kEmpty, std::memory_order_release);
    m_version.store(version + 2, std::memory_order_release);
}

} // namespace GenICam::Client
