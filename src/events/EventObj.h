// The event object behind every event handle. The exported functions reach an event only through
// these operations; their order is part of the object's binary layout, and so is that of the next
// three of every kind: to push an entry, to register and to unregister.
// This file knows no kind of event and no module.
#pragma once

#include "core/LiveObjects.h"
#include "core/Outcome.h"

#include <cstdint>

namespace GenICam::Client {

// Only the table of operations demands Reserved: nobody calls it.
class CEventObj {
public:
    virtual ~CEventObj() { RetireHandle(); }
    CEventObj(const CEventObj&) = delete;
    CEventObj& operator=(const CEventObj&) = delete;

    // Waits up to timeout milliseconds for data (all bits set: without limit) and copies the oldest
    // out. The code that it answers is the caller's result; other failures are thrown.
    virtual GC_ERROR GetData(void* buffer, size_t* size, std::uint64_t timeout) = 0;
    virtual COutcome GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                             size_t* size) = 0;
    // Explains data that GetData copied out before.
    virtual COutcome GetDataInfo(const void* inBuffer, size_t inSize, EVENT_DATA_INFO_CMD command,
                                 INFO_DATATYPE* type, void* outBuffer, size_t* outSize) = 0;
    // Drops what is queued.
    virtual void Flush() = 0;
    virtual void Kill() = 0;
    virtual void Reserved() {}

    // From here on the handle is good. Ends the construction of the module that has the event: no
    // call finds a module that is half made, even with the handle of an event at the same address
    // that is gone. Throws std::bad_alloc.
    void PublishHandle() { CLiveObjects::Events().Add(this); }
    // From here on the handle means nothing. A destruction begins with it.
    void RetireHandle() noexcept { CLiveObjects::Events().Remove(this); }

protected:
    CEventObj() = default;
};

// The handle of an event object.
inline void* HandleOf(CEventObj* event) noexcept {
    return event;
}

} // namespace GenICam::Client
