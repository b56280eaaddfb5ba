// A camera and its stream as C++ objects, for the examples in C++: what was opened last is closed
// first, also when something fails.
#pragma once

#include "producer.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// A call that failed, with the producer's own text for it.
class CallError : public std::runtime_error {
public:
    CallError(const char* function, GC_ERROR code, const std::string& text)
        : std::runtime_error(std::string(function) + ": " + std::to_string(code) + ", " + text),
          m_code(code) {}
    GC_ERROR Code() const { return m_code; }

private:
    GC_ERROR m_code;
};

// The producer with its System module.
class Session {
public:
    Session(int& argc, char** argv) {
        if (Producer_Load(&m_producer, &argc, argv) == 0) {
            throw std::runtime_error("a producer is needed");
        }
        Check("GCInitLib", m_producer.GCInitLib());
        Check("TLOpen", m_producer.TLOpen(&m_system));
    }
    ~Session() {
        m_producer.TLClose(m_system);
        m_producer.GCCloseLib();
        Producer_Unload(&m_producer);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Producer& Gentl() const { return m_producer; }
    TL_HANDLE System() const { return m_system; }

    void Check(const char* function, GC_ERROR code) const {
        if (code != GC_ERR_SUCCESS) {
            throw CallError(function, code, Producer_LastError(&m_producer));
        }
    }

    // The IDs of all interfaces, looked for anew.
    std::vector<std::string> Interfaces() const {
        std::uint32_t count = 0;
        Check("TLUpdateInterfaceList",
              m_producer.TLUpdateInterfaceList(m_system, nullptr, kDiscoveryMs));
        Check("TLGetNumInterfaces", m_producer.TLGetNumInterfaces(m_system, &count));
        return Texts(count, "TLGetInterfaceID", [&](std::uint32_t i, char* text, size_t* size) {
            return m_producer.TLGetInterfaceID(m_system, i, text, size);
        });
    }

    // The IDs of an interface's cameras, looked for anew.
    std::vector<std::string> Cameras(IF_HANDLE iface) const {
        std::uint32_t count = 0;
        Check("IFUpdateDeviceList", m_producer.IFUpdateDeviceList(iface, nullptr, kDiscoveryMs));
        Check("IFGetNumDevices", m_producer.IFGetNumDevices(iface, &count));
        return Texts(count, "IFGetDeviceID", [&](std::uint32_t i, char* text, size_t* size) {
            return m_producer.IFGetDeviceID(iface, i, text, size);
        });
    }

private:
    static constexpr std::uint64_t kDiscoveryMs = 1000;
    using Getter = std::function<GC_ERROR(std::uint32_t, char*, size_t*)>;

    std::vector<std::string> Texts(std::uint32_t count, const char* name, const Getter& get) const {
        std::vector<std::string> texts(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            char text[512];
            size_t size = sizeof text;
            Check(name, get(i, text, &size));
            texts[i] = text;
        }
        return texts;
    }

    Producer m_producer{};
    TL_HANDLE m_system = nullptr;
};

// An open interface.
class Interface {
public:
    Interface(const Session& session, const std::string& id) : m_session(session) {
        session.Check("TLOpenInterface",
                      session.Gentl().TLOpenInterface(session.System(), id.c_str(), &m_handle));
    }
    ~Interface() { m_session.Gentl().IFClose(m_handle); }
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

    IF_HANDLE Handle() const { return m_handle; }
    std::vector<std::string> Cameras() const { return m_session.Cameras(m_handle); }

private:
    const Session& m_session;
    IF_HANDLE m_handle = nullptr;
};

// An open camera with its stream and as many buffers of the producer's as are asked for.
class Camera {
public:
    Camera(const Session& session, IF_HANDLE iface, const std::string& id, int numBuffers = 4)
        : m_session(session) {
        const Producer& gentl = session.Gentl();
        session.Check("IFOpenDevice",
                      gentl.IFOpenDevice(iface, id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &m_device));
        try {
            OpenStream();
            for (int i = 0; i < numBuffers; ++i) {
                BUFFER_HANDLE buffer = nullptr;
                session.Check(
                    "DSAllocAndAnnounceBuffer",
                    gentl.DSAllocAndAnnounceBuffer(m_stream, PayloadSize(), nullptr, &buffer));
                Queue(buffer);
            }
        } catch (...) {
            Close();
            throw;
        }
    }
    ~Camera() { Close(); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    DEV_HANDLE Device() const { return m_device; }
    DS_HANDLE Stream() const { return m_stream; }

    // Bytes of an image.
    size_t PayloadSize() const {
        std::uint64_t value = 0;
        size_t size = sizeof value;
        m_session.Check("DSGetInfo",
                        m_session.Gentl().DSGetInfo(m_stream, STREAM_INFO_DEFINES_PAYLOADSIZE,
                                                    nullptr, &value, &size));
        return static_cast<size_t>(value);
    }

    void Queue(BUFFER_HANDLE buffer) const {
        m_session.Check("DSQueueBuffer", m_session.Gentl().DSQueueBuffer(m_stream, buffer));
    }

    void Start() const {
        m_session.Check("DSStartAcquisition",
                        m_session.Gentl().DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT,
                                                             GENTL_INFINITE));
    }

    void Stop() const {
        m_session.Check("DSStopAcquisition",
                        m_session.Gentl().DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT));
    }

    // The next filled buffer; a null handle when none came in that time.
    EVENT_NEW_BUFFER_DATA Wait(std::uint64_t milliseconds) const {
        EVENT_NEW_BUFFER_DATA filled{nullptr, nullptr};
        size_t size = sizeof filled;
        const GC_ERROR code = m_session.Gentl().EventGetData(m_event, &filled, &size, milliseconds);
        if (code != GC_ERR_TIMEOUT) {
            m_session.Check("EventGetData", code);
        }
        return filled;
    }

private:
    void OpenStream() {
        const Producer& gentl = m_session.Gentl();
        char id[64];
        size_t size = sizeof id;
        m_session.Check("DevGetDataStreamID", gentl.DevGetDataStreamID(m_device, 0, id, &size));
        m_session.Check("DevOpenDataStream", gentl.DevOpenDataStream(m_device, id, &m_stream));
        m_session.Check("GCRegisterEvent",
                        gentl.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event));
    }

    // Without the flush, a stream that is closed keeps its queued buffers for good.
    void Close() {
        const Producer& gentl = m_session.Gentl();
        if (m_stream != nullptr) {
            gentl.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT);
            gentl.DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD);
            gentl.GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER);
            gentl.DSClose(m_stream);
        }
        gentl.DevClose(m_device);
    }

    const Session& m_session;
    DEV_HANDLE m_device = nullptr;
    DS_HANDLE m_stream = nullptr;
    EVENT_HANDLE m_event = nullptr;
};

// A camera that was found, and the interface that is open for it.
struct FoundCamera {
    std::unique_ptr<Interface> iface;
    std::string id;
};

// The first camera whose ID holds that text. An interface knows only the cameras that it looked for
// itself while it was open, so that the one of this camera stays open.
inline FoundCamera FindCamera(const Session& session, const std::string& wanted) {
    for (const std::string& id : session.Interfaces()) {
        auto iface = std::make_unique<Interface>(session, id);
        for (const std::string& camera : iface->Cameras()) {
            if (camera.find(wanted) != std::string::npos) {
                return {std::move(iface), camera};
            }
        }
    }
    throw std::runtime_error("no camera");
}

// Runs an example: what it throws is reported, and answered with the exit code 1.
template <class Example>
int Run(Example&& example) {
    try {
        std::forward<Example>(example)();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
