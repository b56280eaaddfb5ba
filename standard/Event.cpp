// Events. A wait is cut into slices, as the first module's waits cannot be ended from outside;
// what comes ends a slice at once.
#include "Buffers.h"
#include "First.h"
#include "Info.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>

using namespace Standard;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kSliceMilliseconds = 10;

// Of the first module's device events.
constexpr size_t kDeviceEventSize = 24;
constexpr size_t kLargestEvent = 1024;

// use gets the event.
template <class Use>
GC_ERROR WithEvent(EVENT_HANDLE handle, Use&& use) {
    return Answer([&]() -> GC_ERROR {
        auto* event = CModules::Find<SEvent>(handle);
        return event == nullptr ? RefuseHandle() : use(*event);
    });
}

// The module that the first module has this event at, and whether there is one.
SModule* SourceOf(EVENTSRC_HANDLE handle, EVENT_TYPE type) {
    SModule* module = CModules::FindAny(handle);
    if (module == nullptr || module->kind == EKind::Event) {
        return nullptr;
    }
    if (module->kind == EKind::Device && type == EVENT_REMOTE_DEVICE) {
        return static_cast<SDevice&>(*module).port;
    }
    return module;
}

bool HasEvent(const SModule& source, EVENT_TYPE type) {
    switch (source.kind) {
    case EKind::Device:
        return type == EVENT_ERROR;
    case EKind::RemotePort:
        return type == EVENT_REMOTE_DEVICE;
    case EKind::Stream:
        return type == EVENT_ERROR || type == EVENT_NEW_BUFFER;
    default:
        return false;
    }
}

SEvent* RegisteredEvent(const SModule& source, EVENT_TYPE type) {
    return CModules::Instance().FindChild<SEvent>(
        &source, [type](const SEvent& event) { return event.type == type; });
}

std::uint64_t NumInQueue(const SEvent& event) {
    SValue number;
    const GC_ERROR code = number.Ask([&](auto... answer) {
        return First().EventGetInfo(event.first, EVENT_NUM_IN_QUEUE, answer...);
    });
    return code == GC_ERR_SUCCESS ? number.Number() : 0;
}

// Calls once(first, milliseconds) with the first module's handle, which answers a code, or nothing
// when nothing has come, until the time is over, the event is killed or its module closed.
template <class Once>
GC_ERROR Wait(SEvent& event, std::uint64_t milliseconds, Once&& once) {
    constexpr std::uint64_t kLongest = 1000ULL * 3600 * 24 * 365 * 100;
    void* const first = event.first;
    std::optional<Clock::time_point> end;
    for (std::uint64_t slice = 0;;) {
        if (event.isKilled.load(std::memory_order_relaxed) && event.isKilled.exchange(false)) {
            return Refuse(GC_ERR_ABORT, "The wait was ended by EventKill");
        }
        // What is there already costs no look at the clock.
        if (const std::optional<GC_ERROR> code = once(first, slice)) {
            return *code;
        }
        if (CModules::Find<SEvent>(&event) == nullptr || event.first != first) {
            return Refuse(GC_ERR_ABORT, "The event was unregistered, or its module closed");
        }
        const Clock::time_point now = Clock::now();
        if (!end) {
            end = now + std::chrono::milliseconds(std::min(milliseconds, kLongest));
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - now).count();
        if (left <= 0) {
            return Refuse(GC_ERR_TIMEOUT, "Nothing came in time");
        }
        slice = std::min(kSliceMilliseconds, static_cast<std::uint64_t>(left));
    }
}

GC_ERROR WaitForImage(SEvent& event, void* buffer, size_t* size, std::uint64_t milliseconds) {
    if (buffer != nullptr && *size < sizeof(EVENT_NEW_BUFFER_DATA)) {
        *size = sizeof(EVENT_NEW_BUFFER_DATA);
        return Refuse(GC_ERR_BUFFER_TOO_SMALL, "The buffer is too small");
    }
    auto& stream = static_cast<SStream&>(*event.parent);
    return Wait(
        event, milliseconds, [&](void* first, std::uint64_t slice) -> std::optional<GC_ERROR> {
            EVENT_NEW_BUFFER_DATA data{};
            SBuffer* delivered = nullptr;
            do {
                size_t room = sizeof data;
                data = {};
                const GC_ERROR code = First().EventGetData(first, &data, &room, slice);
                if (code != GC_ERR_SUCCESS || data.BufferHandle == nullptr) {
                    return std::nullopt; // an acquisition that is over delivers nothing either
                }
                // A record of ours, whose memory stays; what is delivered of a closed one counts
                // for nothing.
                delivered = static_cast<SBuffer*>(data.pUserPointer);
            } while (!NoteDelivery(stream, *delivered));
            data = {delivered, delivered->user};
            if (buffer != nullptr) {
                std::memcpy(buffer, &data, sizeof data);
            }
            *size = sizeof data;
            return GC_ERR_SUCCESS;
        });
}

// The first module may write more than it was offered.
GC_ERROR WaitForOther(SEvent& event, void* buffer, size_t* size, std::uint64_t milliseconds) {
    const size_t needed = event.type == EVENT_REMOTE_DEVICE ? kDeviceEventSize : 0;
    if (buffer != nullptr && *size < needed) {
        *size = needed;
        return Refuse(GC_ERR_BUFFER_TOO_SMALL, "The buffer is too small");
    }
    return Wait(event, milliseconds,
                [&](void* first, std::uint64_t slice) -> std::optional<GC_ERROR> {
                    char data[kLargestEvent] = {};
                    size_t room = sizeof data;
                    const GC_ERROR code = First().EventGetData(first, data, &room, slice);
                    if (code != GC_ERR_SUCCESS) {
                        return RefuseAsFirst(code, GC_ERR_ERROR, "The event cannot be read");
                    }
                    if (room == sizeof data) {
                        return std::nullopt;
                    }
                    const size_t width = needed != 0 ? needed : room;
                    event.numGone.fetch_add(1, std::memory_order_relaxed);
                    const SOut out{nullptr, buffer, size};
                    return Give(out, INFO_DATATYPE_BUFFER, data, width);
                });
}

} // namespace

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
    return Answer([&]() -> GC_ERROR {
        SModule* source = SourceOf(hEventSrc, iEventID);
        if (source == nullptr) {
            return RefuseHandle();
        }
        if (phEvent == nullptr) {
            return RefuseNull();
        }
        if (!HasEvent(*source, iEventID)) {
            return Refuse(GC_ERR_NOT_IMPLEMENTED, "The module has no such event");
        }
        EVENT_HANDLE first = nullptr;
        const GC_ERROR code = First().GCRegisterEvent(source->first, iEventID, &first);
        if (code != GC_ERR_SUCCESS) {
            return RefuseAsFirst(code, GC_ERR_NOT_IMPLEMENTED, "The event cannot be registered");
        }
        SEvent* const event = CModules::Instance().AdoptOnce<SEvent>(
            first, source, [=](SEvent& it) { it.Reset(iEventID); },
            [=](const SEvent& other) { return other.type == iEventID; },
            [&](void*) { First().GCUnregisterEvent(source->first, iEventID); });
        if (event == nullptr) {
            return Refuse(GC_ERR_RESOURCE_IN_USE, "The event is registered already");
        }
        *phEvent = event;
        return code;
    });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
    return Answer([&]() -> GC_ERROR {
        SModule* source = SourceOf(hEventSrc, iEventID);
        if (source == nullptr) {
            return RefuseHandle();
        }
        if (!HasEvent(*source, iEventID)) {
            return Refuse(GC_ERR_NOT_IMPLEMENTED, "The module has no such event");
        }
        SEvent* event = RegisteredEvent(*source, iEventID);
        if (event != nullptr) {
            event->isKilled = true;
        }
        if (event == nullptr || !CModules::Instance().Close(*event, source)) {
            return Refuse(GC_ERR_NOT_AVAILABLE, "The event is not registered");
        }
        First().EventFlush(event->first);
        const GC_ERROR code = First().GCUnregisterEvent(source->first, iEventID);
        return code == GC_ERR_SUCCESS
                   ? code
                   : RefuseAsFirst(code, GC_ERR_ERROR, "The event cannot be unregistered");
    });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
    return WithEvent(hEvent, [&](SEvent& event) {
        if (piSize == nullptr) {
            return RefuseNull();
        }
        return event.type == EVENT_NEW_BUFFER ? WaitForImage(event, pBuffer, piSize, iTimeout)
                                              : WaitForOther(event, pBuffer, piSize, iTimeout);
    });
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                        EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                        size_t* piOutSize) {
    return WithEvent(hEvent, [&](const SEvent& event) {
        const SOut out{piType, pOutBuffer, piOutSize};
        if (pInBuffer == nullptr) {
            return RefuseNull();
        }
        if (iInfoCmd < EVENT_DATA_ID || iInfoCmd > EVENT_DATA_NUMID) {
            return RefuseUnknown();
        }
        const char* const bytes = static_cast<const char*>(pInBuffer);
        if (event.type == EVENT_NEW_BUFFER) {
            if (iInSize < sizeof(EVENT_NEW_BUFFER_DATA)) {
                return Refuse(GC_ERR_BUFFER_TOO_SMALL, "That is no data of this event");
            }
            EVENT_NEW_BUFFER_DATA data{};
            std::memcpy(&data, bytes, sizeof data);
            switch (iInfoCmd) {
            case EVENT_DATA_ID:
                return Give(out, INFO_DATATYPE_PTR, &data.BufferHandle, sizeof(void*));
            case EVENT_DATA_VALUE:
                return Give(out, INFO_DATATYPE_PTR, &data.pUserPointer, sizeof(void*));
            default:
                return RefuseUnavailable();
            }
        }
        const size_t least = event.type == EVENT_REMOTE_DEVICE ? kDeviceEventSize : sizeof(int32_t);
        if (iInSize < least) {
            return Refuse(GC_ERR_BUFFER_TOO_SMALL, "That is no data of this event");
        }
        std::uint32_t id = 0;
        std::memcpy(&id, bytes, sizeof id);
        if (event.type == EVENT_REMOTE_DEVICE) {
            constexpr size_t kValueOffset = 8;
            char text[sizeof "FFFFFFFF"];
            switch (iInfoCmd) {
            case EVENT_DATA_ID:
                std::snprintf(text, sizeof text, "%X", id);
                return GiveText(out, text);
            case EVENT_DATA_VALUE:
                return Give(out, INFO_DATATYPE_BUFFER, bytes + kValueOffset, sizeof(uint64_t));
            default:
                return GiveNumber(out, INFO_DATATYPE_UINT64, id);
            }
        }
        switch (iInfoCmd) {
        case EVENT_DATA_ID:
            return GiveNumber(out, INFO_DATATYPE_INT32, id);
        case EVENT_DATA_VALUE:
            return GiveText(out,
                            {bytes + sizeof id, strnlen(bytes + sizeof id, iInSize - sizeof id)});
        default:
            return RefuseUnavailable();
        }
    });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
    return WithEvent(hEvent, [&](const SEvent& event) {
        const SOut out{piType, pBuffer, piSize};
        const EVENT_TYPE type = event.type;
        switch (iInfoCmd) {
        case EVENT_EVENT_TYPE:
            return GiveNumber(out, INFO_DATATYPE_INT32, static_cast<std::uint64_t>(type));
        case EVENT_NUM_IN_QUEUE:
            return GiveNumber(out, INFO_DATATYPE_SIZET, NumInQueue(event));
        case EVENT_NUM_FIRED:
            return GiveNumber(out, INFO_DATATYPE_UINT64, event.NumGone() + NumInQueue(event));
        case EVENT_SIZE_MAX:
            return GiveNumber(out, INFO_DATATYPE_SIZET,
                              type == EVENT_NEW_BUFFER      ? sizeof(EVENT_NEW_BUFFER_DATA)
                              : type == EVENT_REMOTE_DEVICE ? kDeviceEventSize
                                                            : kLargestEvent);
        case EVENT_INFO_DATA_SIZE_MAX:
            return GiveNumber(out, INFO_DATATYPE_SIZET,
                              type == EVENT_NEW_BUFFER      ? sizeof(void*)
                              : type == EVENT_REMOTE_DEVICE ? sizeof "FFFFFFFF"
                                                            : kLargestEvent);
        default:
            return RefuseUnknown();
        }
    });
}

GC_API EventFlush(EVENT_HANDLE hEvent) {
    return WithEvent(hEvent, [](SEvent& event) {
        event.numGone.fetch_add(NumInQueue(event), std::memory_order_relaxed);
        if (event.type == EVENT_NEW_BUFFER) {
            return FlushQueue(static_cast<const SStream&>(*event.parent), ACQ_QUEUE_OUTPUT_DISCARD);
        }
        const GC_ERROR code = First().EventFlush(event.first);
        return code == GC_ERR_SUCCESS
                   ? code
                   : RefuseAsFirst(code, GC_ERR_ERROR, "The event cannot be flushed");
    });
}

GC_API EventKill(EVENT_HANDLE hEvent) {
    return WithEvent(hEvent, [](SEvent& event) {
        event.isKilled = true;
        return GC_ERROR{GC_ERR_SUCCESS};
    });
}
