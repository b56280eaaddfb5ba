// What is measured: the producer as a consumer opens it, and beside it the camera library as the
// producer calls it. Both see the same simulated world. Knows nothing of the measuring.
// Failures are std::runtime_error.
#pragma once

#include "Producer.h"
#include "camlib/CameraLibrary.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The module that answers as the standard says, beside the one that TheProducer is.
Producer& TheStandardProducer();

void Require(bool holds, const char* what);
inline void Check(GC_ERROR code, const char* what) {
    Require(code == GC_ERR_SUCCESS, what);
}

// Makes the world new: interfaces, named by InterfaceName, whose lists of cameras stand here as
// JSON.
void MakeWorld(const std::vector<std::string>& interfaces);
std::string InterfaceName(std::size_t index);
// As many equal cameras, named by CameraName. A rate of 0 is as fast as images are taken, and a
// negative one as OptivoSim_ProduceImages asks for them.
void MakeCameras(unsigned count, unsigned width, unsigned height, double frameRate);
std::string CameraName(unsigned index);

// Memory for an image that everybody gets alike, so that nobody writes to faster pages.
void* ImageMemory(std::size_t index, std::size_t size);

// Images after which the simulated camera has prepared all the pictures that it shows.
inline constexpr unsigned kWarmUp = 256;

// The world's interface, open through the producer, with its cameras listed.
class COpenModule {
public:
    explicit COpenModule(Producer& producer = TheProducer());
    ~COpenModule();
    COpenModule(const COpenModule&) = delete;
    COpenModule& operator=(const COpenModule&) = delete;

    Producer& gentl;
    TL_HANDLE system = nullptr;
    IF_HANDLE iface = nullptr;
};

// A camera's stream, open through the producer, with buffers announced.
class CModuleStream {
public:
    CModuleStream(const COpenModule& module, unsigned camera, unsigned numBuffers,
                  std::size_t size);
    ~CModuleStream();
    CModuleStream(const CModuleStream&) = delete;
    CModuleStream& operator=(const CModuleStream&) = delete;

    // Queues every buffer and starts without limit.
    void Start();
    BUFFER_HANDLE Fetch();
    void Queue(BUFFER_HANDLE buffer) { Check(gentl.DSQueueBuffer(stream, buffer), "queue"); }
    void Take() { Queue(Fetch()); }
    void TakeMany(std::uint64_t count);
    // False when no image came for a moment.
    bool TryTake();
    std::uint64_t Number(STREAM_INFO_CMD command);
    EVENT_HANDLE NewBuffer() const { return m_event; }

    Producer& gentl;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE stream = nullptr;
    std::vector<BUFFER_HANDLE> buffers;

private:
    GC_ERROR Wait(EVENT_NEW_BUFFER_DATA& data, std::uint64_t milliseconds);

    EVENT_HANDLE m_event = nullptr;
};

// An object of the camera library whose operations are called without the module's guard.
struct SObjectCloser {
    template <class Object>
    void operator()(Object* object) const {
        object->Close();
    }
};
template <class Object>
using ObjectPtr = std::unique_ptr<Object, SObjectCloser>;

// The world's interface, open at the camera library.
class COpenLibrary {
public:
    COpenLibrary();

    Optivo::ICamInterface& Interface() { return *m_interface; }
    ObjectPtr<Optivo::ICamInterface> OpenInterface(std::size_t index);

private:
    ObjectPtr<Optivo::ICamSystem> m_system;
    ObjectPtr<Optivo::ICamInterface> m_interface;
};

// A camera's stream, open at the camera library.
class CLibraryStream {
public:
    CLibraryStream(COpenLibrary& library, unsigned camera);

    void Start();
    // Asks whether an image is there and takes it; false when none came for a moment.
    bool TryTake(void* destination);
    void Take(void* destination);
    void TakeMany(std::uint64_t count, void* destination);

    Optivo::ICamDevice& Device() { return *m_device; }
    Optivo::ICamStream& Stream() { return *m_stream; }

private:
    ObjectPtr<Optivo::ICamDevice> m_device;
    ObjectPtr<Optivo::ICamStream> m_stream;
};
