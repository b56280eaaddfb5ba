#include "OptivoSim.h"

#include "camera/EventThread.h"
#include "library/CamDevice.h"
#include "library/CamInterface.h"
#include "library/CamStream.h"
#include "library/CamSystem.h"
#include "library/Library.h"
#include "library/Pool.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace {

using OptivoSim::CCamDevice;
using OptivoSim::CCamera;
using OptivoSim::CCamInterface;
using OptivoSim::CCamStream;
using OptivoSim::CCamSystem;
using OptivoSim::CLibrary;
using OptivoSim::CPool;

std::string TextOf(const char* text) {
    return text != nullptr ? text : "";
}

std::shared_ptr<CCamera> FindCamera(const char* name) {
    return CLibrary::Get().World().FindCamera(TextOf(name));
}

bool IsOperation(OptivoOperation operation) {
    return operation >= 0 && operation < OPTIVO_NUM_OPERATIONS;
}

// With a terminating zero.
void CopyCut(const std::string& text, char* buffer, size_t capacity) {
    if (buffer == nullptr || capacity == 0) {
        return;
    }
    const size_t length = std::min(text.size(), capacity - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

int AddCamera(const char* interfaceName, const char* name, const char* serialNumber,
              bool mayRepeat) {
    return CLibrary::Get().World().AddCamera(TextOf(interfaceName), TextOf(name),
                                             TextOf(serialNumber), mayRepeat);
}

} // namespace

void OptivoSim_Reset(void) {
    CLibrary::Get().Reset();
    CPool<CCamSystem>::Get().RecycleClosed();
    CPool<CCamInterface>::Get().RecycleClosed();
    CPool<CCamDevice>::Get().RecycleClosed();
    CPool<CCamStream>::Get().RecycleClosed();
}

void OptivoSim_AddFault(const OptivoFault* fault) {
    OptivoSim_AddFaultWhere(fault, nullptr);
}

void OptivoSim_AddFaultWhere(const OptivoFault* fault, const OptivoFaultCondition* condition) {
    if (fault == nullptr) {
        return;
    }
    OptivoSim::SFaultPlan plan;
    plan.fault = *fault;
    if (condition != nullptr) {
        plan.object = TextOf(condition->object);
        plan.probability = condition->probability;
        plan.seed = condition->seed;
    }
    CLibrary::Get().Faults().Add(plan);
}

void OptivoSim_ClearFaults(void) {
    CLibrary::Get().Faults().Clear();
}

uint64_t OptivoSim_NumSpoilt(OptivoOperation operation, int32_t result, const char* object) {
    return CLibrary::Get().Faults().NumSpoilt(operation, result, TextOf(object));
}

void OptivoSim_Release(void) {
    CLibrary::Get().Faults().Release();
}

int OptivoSim_AddInterface(const char* name, const char* prefix, const char* tlType) {
    return CLibrary::Get().World().AddInterface(TextOf(name), TextOf(prefix), TextOf(tlType));
}

int OptivoSim_RemoveInterface(const char* name) {
    return CLibrary::Get().World().RemoveInterface(TextOf(name));
}

int OptivoSim_AddCamera(const char* interfaceName, const char* name, const char* serialNumber) {
    return AddCamera(interfaceName, name, serialNumber, false);
}

int OptivoSim_AddCameraTwin(const char* interfaceName, const char* name, const char* serialNumber) {
    return AddCamera(interfaceName, name, serialNumber, true);
}

int OptivoSim_RemoveCamera(const char* name) {
    return CLibrary::Get().World().RemoveCamera(TextOf(name));
}

void OptivoSim_RemoveAll(void) {
    CLibrary::Get().World().RemoveAll();
}

int OptivoSim_LoadWorld(const char* json, char* error, size_t capacity) {
    OptivoSim::STextError problem;
    bool isLoaded = false;
    try {
        isLoaded = CLibrary::Get().LoadWorld(json != nullptr ? json : "", problem);
    } catch (const std::bad_alloc&) {
        problem.reason = "out of memory";
    }
    if (!isLoaded) {
        CopyCut(problem.Message(), error, capacity);
    }
    return isLoaded;
}

int OptivoSim_SetCameraText(const char* camera, uint32_t key, const char* text) {
    const auto found = FindCamera(camera);
    return found != nullptr && found->SetText(key, TextOf(text));
}

int OptivoSim_SetCameraStatus(const char* camera, uint32_t status) {
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->SetStatus(status);
    }
    return found != nullptr;
}

int OptivoSim_SetNumStreams(const char* camera, uint32_t count) {
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->SetNumStreams(count);
    }
    return found != nullptr;
}

int OptivoSim_SetFrameRate(const char* camera, double framesPerSecond) {
    const auto found = FindCamera(camera);
    return found != nullptr && found->SetFrameRate(framesPerSecond);
}

int OptivoSim_ProduceImages(const char* camera, uint64_t count) {
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->Produce(count);
    }
    return found != nullptr;
}

uint64_t OptivoSim_NumUntaken(const char* camera) {
    const auto found = FindCamera(camera);
    return found != nullptr ? found->NumUntaken() : 0;
}

int OptivoSim_SetImageSize(const char* camera, uint32_t width, uint32_t height) {
    const auto found = FindCamera(camera);
    return found != nullptr && found->SetImageSize(width, height);
}

int OptivoSim_AddImageFault(const char* camera, const OptivoImageFault* fault) {
    const auto found = FindCamera(camera);
    if (found == nullptr || fault == nullptr) {
        return 0;
    }
    found->AddImageFault(*fault);
    return 1;
}

void OptivoSim_ObserveGrabs(OptivoGrabObserver observer) {
    CLibrary::Get().ObserveGrabs(observer);
}

int OptivoSim_Unplug(const char* camera) {
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->Unplug();
    }
    return found != nullptr;
}

int OptivoSim_Plug(const char* camera) {
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->Plug();
    }
    return found != nullptr;
}

int OptivoSim_PulseLine(const char* camera, int isRising) {
    using OptivoSim::ETriggerActivation;
    const auto found = FindCamera(camera);
    if (found != nullptr) {
        found->PulseLine(isRising != 0 ? ETriggerActivation::RisingEdge
                                       : ETriggerActivation::FallingEdge);
    }
    return found != nullptr;
}

int OptivoSim_SetStreamValue(const char* camera, uint32_t command, uint64_t value) {
    const auto found = FindCamera(camera);
    return found != nullptr && found->SetStreamValue(command, value);
}

int OptivoSim_FireEvent(const char* camera, uint32_t eventId, uint64_t value) {
    const auto found = FindCamera(camera);
    bool isReported = false;
    if (found != nullptr) {
        OptivoSim::CEventThread::Get().Run(
            [&] { isReported = found->Events().Report(eventId, value); });
    }
    return isReported;
}

int OptivoSim_FireEvents(const char* camera, uint32_t eventId, uint64_t value, uint32_t count) {
    const auto found = FindCamera(camera);
    if (found == nullptr || !found->Events().IsInstalled()) {
        return 0;
    }
    OptivoSim::CEventThread::Get().Post([=] {
        for (uint32_t i = 0; i < count; ++i) {
            found->Events().Report(eventId, value);
        }
    });
    return 1;
}

int OptivoSim_HasCallback(const char* camera) {
    const auto found = FindCamera(camera);
    return found != nullptr && found->Events().IsInstalled();
}

uint64_t OptivoSim_NumCalls(OptivoOperation operation) {
    return IsOperation(operation) ? CLibrary::Get().Calls().NumCalls(operation) : 0;
}

uint64_t OptivoSim_LastSelector(OptivoOperation operation) {
    return IsOperation(operation) ? CLibrary::Get().Calls().LastSelector(operation) : 0;
}

uint64_t OptivoSim_LastArgument(OptivoOperation operation) {
    return IsOperation(operation) ? CLibrary::Get().Calls().LastArgument(operation) : 0;
}

uint64_t OptivoSim_LastSize(OptivoOperation operation) {
    return IsOperation(operation) ? CLibrary::Get().Calls().LastSize(operation) : 0;
}

void OptivoSim_LastText(OptivoOperation operation, char* buffer, size_t capacity) {
    CopyCut(IsOperation(operation) ? CLibrary::Get().Calls().LastText(operation) : "", buffer,
            capacity);
}

size_t OptivoSim_Selectors(OptivoOperation operation, uint64_t* selectors, size_t capacity) {
    return IsOperation(operation)
               ? CLibrary::Get().Calls().Selectors(operation, selectors, capacity)
               : 0;
}

uint64_t OptivoSim_NumAlive(OptivoObjectKind kind) {
    switch (kind) {
    case OPTIVO_OBJECT_SYSTEM:
        return CPool<CCamSystem>::Get().NumAlive();
    case OPTIVO_OBJECT_INTERFACE:
        return CPool<CCamInterface>::Get().NumAlive();
    case OPTIVO_OBJECT_DEVICE:
        return CPool<CCamDevice>::Get().NumAlive();
    case OPTIVO_OBJECT_STREAM:
        return CPool<CCamStream>::Get().NumAlive();
    default:
        return 0;
    }
}

uint64_t OptivoSim_NumDoubleCloses(void) {
    return CLibrary::Get().NumDoubleCloses();
}

uint64_t OptivoSim_NumUsesAfterClose(void) {
    return CLibrary::Get().NumUsesAfterClose();
}
