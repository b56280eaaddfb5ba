// What the handles that this module gives out stand for: records that know the first module's
// handle, their parent, and the little that the standard wants remembered. A handle is a record's
// address, and is looked up before it is followed.
#pragma once

#include "Geometry.h"
#include "core/LiveObjects.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Standard {

enum class EKind { System, Interface, Device, RemotePort, Stream, Buffer, Event };

// Records are used again, not freed, while the library is open: a thread that comes late with the
// handle of a closed module finds memory that means nothing worse than another module.
struct SModule {
    explicit SModule(EKind its) : kind(its) {}

    const EKind kind;
    std::atomic<void*> first{nullptr}; // the first module's handle
    std::atomic<SModule*> parent{nullptr};
};

// The first module's Systems and Interfaces take one call at a time; by the standard, any thread
// may make one. A system's lock comes before those of its interfaces.
struct SLister : SModule {
    using SModule::SModule;
    std::mutex oneCall;
};

struct SSystem : SLister {
    static constexpr EKind kKind = EKind::System;
    SSystem() : SLister(kKind) {}
};

struct SInterface : SLister {
    static constexpr EKind kKind = EKind::Interface;
    SInterface() : SLister(kKind) {}
    // The list of cameras has changed when one was opened that was not listed.
    bool hasUntoldChange = false;
};

// A child of its device.
struct SRemotePort : SModule {
    static constexpr EKind kKind = EKind::RemotePort;
    SRemotePort() : SModule(kKind) {}
};

// What DEVICE_INFO commands answered before the camera was opened: some of it the first module
// does not tell afterwards.
class CDescription {
public:
    using Texts = std::map<std::int32_t, std::string>;

    void Set(Texts texts) {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_texts = std::move(texts);
    }
    std::optional<std::string> Find(std::int32_t command) const {
        const std::lock_guard<std::mutex> lock(m_lock);
        const auto found = m_texts.find(command);
        return found == m_texts.end() ? std::nullopt : std::optional(found->second);
    }

private:
    mutable std::mutex m_lock;
    Texts m_texts;
};

struct SDevice : SModule {
    static constexpr EKind kKind = EKind::Device;
    SDevice() : SModule(kKind) {}
    std::string id; // by which the first module lists it
    std::atomic<SRemotePort*> port{nullptr};
    CGeometryReader camera;
    CDescription description;
};

struct SStream : SModule {
    static constexpr EKind kKind = EKind::Stream;
    SStream() : SModule(kKind) {}
    CGeometry geometry;                       // of the acquisition that was started last
    std::atomic<std::uint64_t> numFetched{0}; // buffers, since it was opened
    // Of those: what was fetched before the acquisition, or without an image. The rest are frames.
    std::atomic<std::uint64_t> numNoFrames{0};

    void Reset() {
        geometry.Clear();
        numFetched = numNoFrames = 0;
    }
};

// Two lines of the processor's cache: a delivery reads the first, and writes both.
struct alignas(64) SBuffer : SModule {
    static constexpr EKind kKind = EKind::Buffer;
    SBuffer() : SModule(kKind) {}
    // Between queueing and delivery; what is delivered otherwise was discarded.
    std::atomic<bool> isAwaited{false};
    // Moved to the output queue before it was filled.
    std::atomic<bool> isEmpty{false};
    // Of the image in the buffer.
    std::atomic<bool> hasImage{false};
    // The image waits since an earlier acquisition, and has its geometry already.
    std::atomic<bool> isOlder{false};
    // The consumer's; the first module gets the record's address in its place.
    std::atomic<void*> user{nullptr};
    CGeometry geometry;
    std::atomic<std::uint64_t> frameId{0};
    std::atomic<std::uint64_t> ticks{0}; // of the clock, when the image was fetched
    std::atomic<std::size_t> size{0};

    void Reset(void* itsUser, std::size_t itsSize) {
        isAwaited = isEmpty = hasImage = isOlder = false;
        user = itsUser;
        size = itsSize;
    }
};

// A child of the module that it tells of.
struct SEvent : SModule {
    static constexpr EKind kKind = EKind::Event;
    SEvent() : SModule(kKind) {}
    std::atomic<EVENT_TYPE> type{EVENT_ERROR};
    std::atomic<bool> isKilled{false};
    // Of what fired: fetched or flushed; of buffers, flushed.
    std::atomic<std::uint64_t> numGone{0};
    // By the stream, when the event was registered.
    std::atomic<std::uint64_t> numFetchedBefore{0};

    void Reset(EVENT_TYPE its) {
        type = its;
        isKilled = false;
        numGone = 0;
        numFetchedBefore = NumFetched();
    }
    std::uint64_t NumGone() const { return numGone + NumFetched() - numFetchedBefore; }

private:
    std::uint64_t NumFetched() const {
        return type == EVENT_NEW_BUFFER ? static_cast<const SStream&>(*parent).numFetched.load()
                                        : 0;
    }
};

// Any thread may ask and change.
class CModules {
public:
    static CModules& Instance() noexcept;
    CModules() = default;
    CModules(const CModules&) = delete;
    CModules& operator=(const CModules&) = delete;

    // Answers a record, which prepare(record) has made ready before anybody finds it; null when
    // isSame(other) holds of another open module of its kind and parent. Throws std::bad_alloc.
    template <class M, class Prepare, class IsSame>
    M* OpenOnce(void* first, SModule* parent, Prepare&& prepare, IsSame&& isSame) {
        const std::lock_guard<std::mutex> lock(m_lock);
        for (const SModule* other : m_open) {
            if (other->kind == M::kKind && other->parent == parent &&
                isSame(static_cast<const M&>(*other))) {
                return nullptr;
            }
        }
        auto& pool = std::get<SPool<M>>(m_pools);
        if (pool.free.empty()) {
            pool.free.push_back(&pool.all.emplace_back());
        }
        M& module = *pool.free.front();
        module.first = first;
        module.parent = parent;
        prepare(module);
        m_open.push_back(&module);
        try {
            Live().Add(&module);
        } catch (...) {
            m_open.pop_back();
            throw;
        }
        pool.free.pop_front();
        return &module;
    }
    // The same; when there is no memory, gives the first module's handle back by its function.
    template <class M, class Prepare, class IsSame, class GiveBack>
    M* AdoptOnce(void* first, SModule* parent, Prepare&& prepare, IsSame&& isSame,
                 GiveBack&& giveBack) {
        try {
            return OpenOnce<M>(first, parent, prepare, isSame);
        } catch (...) {
            giveBack(first);
            throw;
        }
    }
    // Of what cannot be open already.
    template <class M, class Prepare>
    M& Open(void* first, SModule* parent, Prepare&& prepare) {
        return *OpenOnce<M>(first, parent, prepare, [](const M&) { return false; });
    }

    // Ends the handle of a module that is this parent's. False when another thread has done so.
    template <class M>
    bool Retire(M& module, const SModule* parent) {
        const std::lock_guard<std::mutex> lock(m_lock);
        if (module.parent != parent || std::erase(m_open, &module) == 0) {
            return false;
        }
        Live().Remove(&module);
        return true;
    }
    // Lets another module have the record.
    template <class M>
    void Release(M& module) {
        const std::lock_guard<std::mutex> lock(m_lock);
        std::get<SPool<M>>(m_pools).free.push_back(&module);
    }
    // Both.
    template <class M>
    bool Close(M& module, const SModule* parent) {
        const bool isRetired = Retire(module, parent);
        if (isRetired) {
            Release(module);
        }
        return isRetired;
    }

    // Null when the handle is none of an open module of this kind. Takes no lock.
    template <class M>
    static M* Find(const void* handle) noexcept {
        auto* module = static_cast<SModule*>(const_cast<void*>(handle));
        return Live().Contains(module) && module->kind == M::kKind ? static_cast<M*>(module)
                                                                   : nullptr;
    }
    // The same with the module's lock; another call may have closed it meanwhile.
    template <class M>
    static std::pair<M*, std::unique_lock<std::mutex>> FindAlone(const void* handle) {
        std::unique_lock<std::mutex> lock;
        M* module = Find<M>(handle);
        if (module != nullptr) {
            lock = std::unique_lock(module->oneCall);
            module = Find<M>(handle);
        }
        return {module, std::move(lock)};
    }
    // Whatever its kind.
    static SModule* FindAny(const void* handle) noexcept {
        auto* module = static_cast<SModule*>(const_cast<void*>(handle));
        return Live().Contains(module) ? module : nullptr;
    }

    // Some open module of this kind that belongs to the parent, and of which which(module) holds.
    template <class M, class Which>
    M* FindChild(const SModule* parent, Which&& which) {
        const std::lock_guard<std::mutex> lock(m_lock);
        for (SModule* module : m_open) {
            if (module->kind == M::kKind && module->parent == parent &&
                which(static_cast<const M&>(*module))) {
                return static_cast<M*>(module);
            }
        }
        return nullptr;
    }
    // The open modules of a kind that belong to the parent; systems have none.
    template <class M>
    std::vector<M*> ChildrenOf(const SModule* parent) {
        const std::lock_guard<std::mutex> lock(m_lock);
        std::vector<M*> children;
        for (SModule* module : m_open) {
            if (module->kind == M::kKind && module->parent == parent) {
                children.push_back(static_cast<M*>(module));
            }
        }
        return children;
    }

private:
    template <class M>
    struct SPool {
        std::deque<M> all;
        std::deque<M*> free; // the one that was closed first comes first
    };

    static GenICam::Client::CLiveObjects& Live() noexcept;

    std::mutex m_lock;
    std::vector<SModule*> m_open;
    std::tuple<SPool<SSystem>, SPool<SInterface>, SPool<SDevice>, SPool<SRemotePort>,
               SPool<SStream>, SPool<SBuffer>, SPool<SEvent>>
        m_pools;
};

} // namespace Standard
