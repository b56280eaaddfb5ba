// A whole consumer of one module, for processes and threads in which nothing checks it.
#pragma once

#include "OptivoSim.h"
#include "Producer.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

// Makes the world new, with small images that come as fast as they are taken.
inline void PrepareWorld() {
    OptivoSim_Reset();
    OptivoSim_SetImageSize("Norvel-G640M-10001", 32, 24);
    OptivoSim_SetFrameRate("Norvel-G640M-10001", 0);
}

// Failures are std::runtime_error.
class Consumer {
public:
    static constexpr const char* CAMERA = "Norvel-G640M-10001";

    explicit Consumer(const Producer& producer) : gentl(producer) {}

    void Open() {
        Check(gentl.GCInitLib(), "GCInitLib");
        Check(gentl.TLOpen(&m_system), "TLOpen");
        Check(gentl.TLOpenInterface(m_system, "GEV::eth0", &m_interface), "TLOpenInterface");
        Check(gentl.IFUpdateDeviceList(m_interface, nullptr, 1000), "IFUpdateDeviceList");
        Check(gentl.IFOpenDevice(m_interface, CAMERA, 4, &m_device), "IFOpenDevice");
        Check(gentl.DevOpenDataStream(m_device, "DS0", &m_stream), "DevOpenDataStream");
        Check(gentl.GCRegisterEvent(m_stream, 1, &m_newBuffer), "GCRegisterEvent");
    }

    void Start() {
        for (BUFFER_HANDLE& buffer : m_buffers) {
            Check(gentl.DSAllocAndAnnounceBuffer(m_stream, 32 * 24, nullptr, &buffer), "announce");
            Check(gentl.DSQueueBuffer(m_stream, buffer), "DSQueueBuffer");
        }
        Check(gentl.DSStartAcquisition(m_stream, 0, GENTL_INFINITE), "DSStartAcquisition");
    }

    void Take(int count) {
        for (int i = 0; i < count; ++i) {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            Check(gentl.EventGetData(m_newBuffer, &data, &size, LONGEST_WAIT), "EventGetData");
            Check(gentl.DSQueueBuffer(m_stream, data.BufferHandle), "DSQueueBuffer");
        }
    }

    void Close() {
        Check(gentl.DSStopAcquisition(m_stream, 0), "DSStopAcquisition");
        Check(gentl.DSFlushQueue(m_stream, 4), "DSFlushQueue");
        Check(gentl.DSClose(m_stream), "DSClose");
        Check(gentl.DevClose(m_device), "DevClose");
        Check(gentl.IFClose(m_interface), "IFClose");
        Check(gentl.TLClose(m_system), "TLClose");
        Check(gentl.GCCloseLib(), "GCCloseLib");
    }

    int32_t WaitForEver() const {
        EVENT_NEW_BUFFER_DATA data = {};
        size_t size = sizeof data;
        return gentl.EventGetData(m_newBuffer, &data, &size, GENTL_INFINITE);
    }

    void RegisterDeviceEvent() const {
        PORT_HANDLE remote = nullptr;
        EVENT_HANDLE event = nullptr;
        Check(gentl.DevGetPort(m_device, &remote), "DevGetPort");
        Check(gentl.GCRegisterEvent(remote, 4, &event), "GCRegisterEvent");
    }

private:
    static constexpr uint64_t LONGEST_WAIT = 30000;

    static void Check(int32_t code, const char* what) {
        if (code != 0) {
            throw std::runtime_error(std::string(what) + " answers " + std::to_string(code));
        }
    }

    const Producer& gentl;
    TL_HANDLE m_system = nullptr;
    IF_HANDLE m_interface = nullptr;
    DEV_HANDLE m_device = nullptr;
    DS_HANDLE m_stream = nullptr;
    EVENT_HANDLE m_newBuffer = nullptr;
    std::array<BUFFER_HANDLE, 3> m_buffers{};
};
