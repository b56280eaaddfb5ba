#include "Closing.h"

#include "Answer.h"
#include "First.h"

namespace Standard {
namespace {

CModules& Modules() {
    return CModules::Instance();
}

void EndEvents(const SModule& source) {
    for (SEvent* event : Modules().ChildrenOf<SEvent>(&source)) {
        event->isKilled = true;
        Modules().Close(*event, &source);
    }
}

// closeChildren runs when nobody finds the module any more; close is the first module's function.
template <class M, class Children, class Close>
GC_ERROR End(M& module, const SModule* parent, Children&& closeChildren, Close close) {
    if (!Modules().Retire(module, parent)) {
        return RefuseHandle();
    }
    EndEvents(module);
    closeChildren();
    const GC_ERROR code = close(module.first);
    Modules().Release(module);
    return code == GC_ERR_SUCCESS
               ? code
               : RefuseAsFirst(code, GC_ERR_INVALID_HANDLE, "The module does not close");
}

} // namespace

GC_ERROR CloseStream(SStream& stream, const SModule* parent) {
    const auto discardBuffers = [&stream] {
        First().DSStopAcquisition(stream.first, ACQ_STOP_FLAGS_DEFAULT);
        First().DSFlushQueue(stream.first, ACQ_QUEUE_ALL_DISCARD);
        for (SBuffer* buffer : Modules().ChildrenOf<SBuffer>(&stream)) {
            Modules().Close(*buffer, &stream);
        }
    };
    return End(stream, parent, discardBuffers, First().DSClose);
}

GC_ERROR CloseDevice(SDevice& device, const SModule* parent) {
    const auto closeChildren = [&device] {
        for (SStream* stream : Modules().ChildrenOf<SStream>(&device)) {
            CloseStream(*stream, &device);
        }
        for (SRemotePort* port : Modules().ChildrenOf<SRemotePort>(&device)) {
            EndEvents(*port);
            Modules().Close(*port, &device);
        }
        device.camera.Forget();
    };
    return End(device, parent, closeChildren, First().DevClose);
}

GC_ERROR CloseInterface(SInterface& interface_, const SModule* parent) {
    const std::lock_guard<std::mutex> lock(interface_.oneCall);
    const auto closeDevices = [&interface_] {
        for (SDevice* device : Modules().ChildrenOf<SDevice>(&interface_)) {
            CloseDevice(*device, &interface_);
        }
    };
    return End(interface_, parent, closeDevices, First().IFClose);
}

GC_ERROR CloseSystem(SSystem& system) {
    const std::lock_guard<std::mutex> lock(system.oneCall);
    const auto closeInterfaces = [&system] {
        for (SInterface* interface_ : Modules().ChildrenOf<SInterface>(&system)) {
            CloseInterface(*interface_, &system);
        }
    };
    return End(system, nullptr, closeInterfaces, First().TLClose);
}

} // namespace Standard
