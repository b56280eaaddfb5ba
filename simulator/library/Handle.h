// What all four kinds of object do with a call before its work is done: log it, refuse it on a
// closed object, and let a planned fault spoil it. Knows nothing of the work itself.
#pragma once

#include "base/ResultCodes.h"
#include "calls/CallLog.h"
#include "calls/Faults.h"
#include "library/Library.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace OptivoSim {

using namespace OptivoBase;

[[noreturn]] void ThrowGenericException();

// What a fault does before the work: throws, waits, or spoils the outputs.
void BeginFault(const SFaultVerdict& verdict, const SCallShape& call);

// Does the work of a call as far as the planned faults let it. clear stores a null object.
template <typename TWork, typename TClear>
Int32 PerformCall(const SCallShape& call, TWork&& work, TClear&& clear) {
    CLibrary& library = CLibrary::Get();
    // Taken before the call is logged: whoever sees a hanging call counted can release it.
    const auto verdict = library.Faults().Take(call);
    library.Calls().Record(call);
    if (!verdict) {
        return work();
    }
    const Size capacity = call.size != nullptr ? *call.size : 0;
    BeginFault(*verdict, call);
    switch (verdict->kind) {
    case OPTIVO_FAULT_DELAY:
    case OPTIVO_FAULT_HANG:
        return work();
    case OPTIVO_FAULT_RESULT_AFTER:
        work();
        break;
    case OPTIVO_FAULT_EXCEPTION_AFTER:
        work();
        ThrowGenericException();
    case OPTIVO_FAULT_WRONG_COUNT:
        work();
        if (call.count != nullptr) {
            *call.count = static_cast<UInt32>(verdict->result);
        }
        return kSuccess;
    case OPTIVO_FAULT_OVERLONG_SIZE:
        work();
        if (call.size != nullptr) {
            *call.size = capacity * 10;
        }
        break;
    case OPTIVO_FAULT_NULL_OBJECT:
        clear();
        break;
    default:
        break;
    }
    return verdict->result;
}

// A lock that is held for moments. A closed object is kept, and a mutex that was ever waited for
// keeps a handle of the system on Windows.
class CBriefLock {
public:
    void lock() noexcept {
        while (m_flag.test_and_set(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    void unlock() noexcept { m_flag.clear(std::memory_order_release); }

private:
    std::atomic_flag m_flag = ATOMIC_FLAG_INIT;
};

// The inside of an object: its contents while it is open, and nothing much afterwards. Thread-safe;
// a call that is under way keeps the contents alive.
template <typename TContents>
class CHandle {
public:
    void Open(std::shared_ptr<TContents> contents) {
        const std::lock_guard lock(m_lock);
        m_contents = std::move(contents);
    }

    bool IsOpen() const { return Hold() != nullptr; }

    // work gets the contents and answers the call's result.
    template <typename TWork, typename TClear>
    Int32 Perform(const SCallShape& call, TWork&& work, TClear&& clear) const {
        const std::shared_ptr<TContents> contents = Hold();
        if (contents == nullptr) {
            CLibrary::Get().Calls().Record(call);
            return CLibrary::Get().NoteUseAfterClose();
        }
        return PerformCall(
            Named(call, *contents), [&] { return work(*contents); }, std::forward<TClear>(clear));
    }

    template <typename TWork>
    Int32 Perform(const SCallShape& call, TWork&& work) const {
        return Perform(call, std::forward<TWork>(work), [] {});
    }

    // Ends the contents by their Close and notes it in the pool, once.
    template <typename TPool>
    Int32 Close(OptivoOperation operation, TPool& pool) {
        const SCallShape call{.operation = operation};
        const std::shared_ptr<TContents> contents = Hold();
        if (contents == nullptr) {
            CLibrary::Get().Calls().Record(call);
            return CLibrary::Get().NoteDoubleClose();
        }
        return PerformCall(
            Named(call, *contents), [&] { return CloseContents(pool); }, [] {});
    }

private:
    static SCallShape Named(SCallShape call, const TContents& contents) {
        call.object = contents.ObjectName();
        return call;
    }

    std::shared_ptr<TContents> Hold() const {
        const std::lock_guard lock(m_lock);
        return m_contents;
    }

    template <typename TPool>
    Int32 CloseContents(TPool& pool) {
        std::shared_ptr<TContents> contents;
        {
            const std::lock_guard lock(m_lock);
            contents.swap(m_contents);
        }
        if (contents == nullptr) {
            return CLibrary::Get().NoteDoubleClose();
        }
        contents->Close();
        pool.NoteClosed();
        return kSuccess;
    }

    mutable CBriefLock m_lock;
    std::shared_ptr<TContents> m_contents;
};

} // namespace OptivoSim
