// The interfaces that every module object shares. A handle of the GenTL boundary is the address of
// an ICommonBase, which is also the address of its IPort.
// This file knows no module class. The order of the virtual operations is part of the binary
// layout of a module object, and IPort and IEventSrc have no virtual destructor because that would
// shift it.
#pragma once

#include "core/LiveObjects.h"
#include "core/Outcome.h"

#include <cstdint>
#include <type_traits>
#include <typeinfo>

namespace GenICam::Client {

// The port of a module: registers, and the URL of the XML that describes them.
// Sizes are in bytes; pointers are the consumer's and are passed on unchanged.
// Only the table of operations demands ReadRegister and WriteRegister: nobody calls them.
class IPort {
public:
    // Fills *size bytes from the register space.
    virtual void Read(std::uint64_t address, void* buffer, size_t* size) = 0;
    // Writes *size bytes to the register space.
    virtual void Write(std::uint64_t address, const void* buffer, size_t* size) = 0;
    // Single-register access; does nothing where a module has no register map.
    virtual void ReadRegister(std::uint64_t address, std::uint32_t* value) = 0;
    virtual void WriteRegister(std::uint64_t address, std::uint32_t value) = 0;
    virtual COutcome GetPortURL(char* buffer, size_t* size) = 0;
    virtual COutcome GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                                 size_t* size) = 0;
    virtual void GetNumPortURLs(std::uint32_t* count) = 0;
    virtual COutcome GetPortURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                                    void* buffer, size_t* size) = 0;

protected:
    ~IPort() = default;
};

// A source of events. The default supports none.
class IEventSrc {
public:
    // Hands out the event object of a type; the source keeps owning it.
    // Throws std::runtime_error for a type that the source does not have.
    virtual void RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* event);
    virtual void UnregisterEvent(EVENT_TYPE type);

protected:
    ~IEventSrc() = default;
};

// The base of all module objects. The defaults of the port operations are a register space that
// takes and gives nothing, and exactly one URL.
class ICommonBase : public IPort, public IEventSrc {
public:
    void Read(std::uint64_t address, void* buffer, size_t* size) override;
    void Write(std::uint64_t address, const void* buffer, size_t* size) override;
    void ReadRegister(std::uint64_t address, std::uint32_t* value) override;
    void WriteRegister(std::uint64_t address, std::uint32_t value) override;
    // Writes 1. Throws invalid_parameter_error for a null pointer.
    void GetNumPortURLs(std::uint32_t* count) final;

    virtual ~ICommonBase() { RetireHandle(); }
    ICommonBase(const ICommonBase&) = delete;
    ICommonBase& operator=(const ICommonBase&) = delete;

    // From here on the handle means nothing. A destruction begins with it, so that no call finds an
    // object that is half gone.
    void RetireHandle() noexcept { CLiveObjects::Modules().Remove(this); }

protected:
    ICommonBase() = default;
    // Ends the construction of every module, or of the one that owns it and answers its calls: no
    // call finds an object that is half made, even with the handle of one that was closed at the
    // same address. Throws std::bad_alloc.
    void PublishHandle() { CLiveObjects::Modules().Add(this); }
};

// Whether the handle is that of a module object which exists.
inline bool IsModule(const void* handle) noexcept {
    return CLiveObjects::Modules().Contains(handle);
}

// The module object behind a handle, or null for a null handle, for an object of another class, and
// for whatever is no module object that exists.
// The module classes are final, so that comparing exact types is a checked downcast.
template <class Module>
Module* HandleCast(void* handle) noexcept {
    static_assert(std::is_final_v<Module>);
    if (!IsModule(handle)) {
        return nullptr;
    }
    auto* object = static_cast<ICommonBase*>(handle);
    return typeid(*object) == typeid(Module) ? static_cast<Module*>(object) : nullptr;
}

// The handle of a module object.
inline void* HandleOf(ICommonBase* object) noexcept {
    return object;
}

} // namespace GenICam::Client
