#include "core/LastError.h"

#include "core/NeverDestroyed.h"

#include <array>
#include <atomic>
#include <cstring>
#include <new>
#include <thread>

namespace GenICam::Client {
namespace {

// A slot is written by one thread (m_users is -1) or read by m_users threads.
struct SSlot {
    std::atomic<int> m_users{0};
    CTLIError m_error;
};

// Writers fill a slot that nobody uses and then publish it, so that a text stays whole while it is
// being read. More slots than threads that fail at the same moment make a writer find one at once.
struct SRecord {
    std::array<SSlot, 8> m_slots;
    std::atomic<SSlot*> m_current{nullptr};
};

constexpr int kMaxRounds = 1000;

CNeverDestroyed<SRecord> s_record;

// Takes a slot that is neither in use nor current; null when all stay busy.
SSlot* TakeFreeSlot(SRecord& record) noexcept {
    for (int round = 0; round < kMaxRounds; ++round) {
        for (SSlot& slot : record.m_slots) {
            int unused = 0;
            if (&slot == record.m_current.load(std::memory_order_acquire) ||
                !slot.m_users.compare_exchange_strong(unused, -1, std::memory_order_acquire)) {
                continue;
            }
            // Its last writer may have published it between the two checks.
            if (&slot != record.m_current.load(std::memory_order_acquire)) {
                return &slot;
            }
            slot.m_users.store(0, std::memory_order_release);
        }
        std::this_thread::yield();
    }
    return nullptr;
}

// The published slot, held for reading; null while no error was published.
class CReadLock {
public:
    explicit CReadLock(SRecord& record) noexcept {
        for (;;) {
            SSlot* slot = record.m_current.load(std::memory_order_acquire);
            if (slot == nullptr) {
                return;
            }
            int users = slot->m_users.load(std::memory_order_relaxed);
            if (users >= 0 &&
                slot->m_users.compare_exchange_weak(users, users + 1, std::memory_order_acquire)) {
                if (slot == record.m_current.load(std::memory_order_acquire)) {
                    m_slot = slot;
                    return;
                }
                slot->m_users.fetch_sub(1, std::memory_order_release);
            }
        }
    }
    ~CReadLock() {
        if (m_slot != nullptr) {
            m_slot->m_users.fetch_sub(1, std::memory_order_release);
        }
    }
    CReadLock(const CReadLock&) = delete;
    CReadLock& operator=(const CReadLock&) = delete;

    const CTLIError* Error() const noexcept {
        return m_slot == nullptr ? nullptr : &m_slot->m_error;
    }

private:
    SSlot* m_slot = nullptr;
};

// Gives the texts back when the module is unloaded. At the end of the process, threads may still
// fail or read: they find a record without an error, which is as good as ever.
class CTextRelease {
public:
    CTextRelease() = default;
    ~CTextRelease() {
        SRecord& record = s_record.m_value;
        record.m_current.store(nullptr, std::memory_order_release);
        for (SSlot& slot : record.m_slots) {
            int unused = 0;
            if (slot.m_users.compare_exchange_strong(unused, -1, std::memory_order_acquire)) {
                std::string().swap(slot.m_error.m_message);
                slot.m_users.store(0, std::memory_order_release);
            }
        }
    }
    CTextRelease(const CTextRelease&) = delete;
    CTextRelease& operator=(const CTextRelease&) = delete;
};

const CTextRelease s_textRelease;

} // namespace

void RecordLastError(GC_ERROR code, const char* text) noexcept {
    SRecord& record = s_record.m_value;
    SSlot* slot = TakeFreeSlot(record);
    if (slot == nullptr) {
        return;
    }
    slot->m_error.m_code = code;
    try {
        slot->m_error.m_message = text;
    } catch (const std::bad_alloc&) {
        slot->m_error.m_message.clear();
    }
    // Published while still held, so that no other writer takes it before it is current.
    slot->m_users.store(1, std::memory_order_release);
    record.m_current.store(slot, std::memory_order_release);
    slot->m_users.fetch_sub(1, std::memory_order_release);
}

GC_ERROR ReadLastError(GC_ERROR* code, char* text, size_t* size) noexcept {
    const CReadLock lock(s_record.m_value);
    const CTLIError* error = lock.Error();
    if (error == nullptr) {
        return GC_ERR_NO_DATA;
    }
    if (size == nullptr) {
        return GC_ERR_INVALID_PARAMETER;
    }
    const size_t needed = error->m_message.size() + 1;
    if (text == nullptr || *size == 0) {
        *size = needed;
        return GC_ERR_SUCCESS;
    }
    if (*size < needed) {
        return GC_ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(text, error->m_message.c_str(), needed);
    *size = needed;
    if (code != nullptr) {
        *code = error->m_code;
    }
    return GC_ERR_SUCCESS;
}

} // namespace GenICam::Client
