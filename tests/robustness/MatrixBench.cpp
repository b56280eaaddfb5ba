#include "MatrixBench.h"

#include "Steering.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <sstream>

namespace Matrix {
namespace {

constexpr size_t PAYLOAD = 32 * 24;

std::string Hex(const std::string& bytes) {
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (const char byte : bytes) {
        if (byte == Outputs::FILLER) {
            text << "..";
        } else {
            text << std::setw(2) << unsigned{static_cast<unsigned char>(byte)};
        }
    }
    return text.str();
}

// A text in quotes, anything else in hexadecimal digits.
std::string Printed(const std::string& bytes) {
    const std::string text = bytes.c_str();
    const bool isText =
        !text.empty() && text.size() + 1 == bytes.size() &&
        std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isprint(c) != 0; });
    return isText ? '"' + text + '"' : Hex(bytes);
}

} // namespace

int Outputs::FILLING = 0;

std::string Outputs::Since(const Outputs& before) const {
    std::vector<std::string> changes;
    if (handle != before.handle) {
        changes.emplace_back(handle != nullptr ? "handle" : "null handle");
    }
    if (number != before.number) {
        changes.push_back("number " + std::to_string(number));
    }
    if (changed != before.changed) {
        changes.push_back("changed " + std::to_string(changed));
    }
    if (type != before.type) {
        changes.push_back("type " + std::to_string(type));
    }
    if (size != before.size) {
        changes.push_back("size " + std::to_string(size));
    }
    if (bytes != before.bytes) {
        const size_t last = bytes.find_last_not_of(FILLER);
        changes.push_back("bytes " + Printed(bytes.substr(0, last + 1)));
    }
    std::string text;
    for (const std::string& change : changes) {
        text += (text.empty() ? "" : ", ") + change;
    }
    return text.empty() ? "unchanged" : text;
}

void Bench::Be(State state) {
    Descend(state);
    while (m_state < state && !testing::Test::HasFatalFailure()) {
        Climb();
    }
}

void Bench::RenewWorld() {
    Be(State::Library);
    OptivoSim_Reset();
    EXPECT_EQ(OptivoSim_SetImageSize(CAMERA, 32, 24), 1);
    EXPECT_EQ(OptivoSim_SetFrameRate(CAMERA, -1), 1);
    for (const uint32_t command : {5U, 6U, 7U, 8U}) {
        EXPECT_EQ(OptivoSim_SetStreamValue(CAMERA, command, 0x100 + command), 1);
    }
    EXPECT_EQ(OptivoSim_SetStreamValue(CAMERA, 11, 40), 1);
}

void Bench::Climb() {
    m_state = static_cast<State>(static_cast<int>(m_state) + 1);
    switch (m_state) {
    case State::Library:
        break;
    case State::FreshSystem:
        ASSERT_OK(gentl.TLOpen(&tl));
        break;
    case State::System:
        ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
        break;
    case State::FreshInterface:
        ASSERT_OK(gentl.TLOpenInterface(tl, INTERFACE_ID, &iface));
        break;
    case State::Interface:
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200));
        break;
    case State::Device:
        ASSERT_OK(gentl.IFOpenDevice(iface, CAMERA, 4, &device));
        ASSERT_OK(gentl.DevGetPort(device, &remote));
        break;
    case State::Listening:
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &deviceEvent));
        break;
    case State::Stream:
        OpenStream();
        break;
    }
}

void Bench::OpenStream() {
    ASSERT_OK(gentl.DevOpenDataStream(device, "DS0", &stream));
    ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &newBuffer));
    for (BUFFER_HANDLE& buffer : buffers) {
        ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, PAYLOAD, &buffer, &buffer));
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    }
}

void Bench::Descend(State state) {
    if (m_state == State::Stream && state < m_state) {
        Requeue(false);
        EXPECT_OK(gentl.DSClose(stream));
        m_state = State::Listening;
    }
    if (m_state == State::Listening && state < m_state) {
        EXPECT_OK(gentl.GCUnregisterEvent(remote, 4));
        m_state = State::Device;
    }
    if (m_state == State::Device && state < m_state) {
        EXPECT_OK(gentl.DevClose(device));
        m_state = State::Interface;
    }
    if (m_state >= State::FreshInterface && state < m_state) {
        EXPECT_OK(gentl.IFClose(iface));
        m_state = State::System;
    }
    if (m_state >= State::FreshSystem && state < m_state) {
        EXPECT_OK(gentl.TLClose(tl));
        m_state = State::Library;
    }
}

void Bench::Requeue(bool isQueued) {
    OptivoSim_SetFrameRate(CAMERA, -1);
    EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
    EXPECT_OK(gentl.DSFlushQueue(stream, 4));
    EXPECT_OK(gentl.DSFlushQueue(stream, isQueued ? 2 : 1));
}

void Bench::Start() {
    const uint64_t before = NumCalls(OPTIVO_STREAM_GET_STREAM_INFO);
    EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
    // The first call asks for the size of an image.
    EXPECT_TRUE(Eventually([&] { return NumCalls(OPTIVO_STREAM_GET_STREAM_INFO) > before + 1; }));
}

void Bench::StartStreaming() {
    Requeue();
    Start();
    OptivoSim_SetFrameRate(CAMERA, 1000);
}

void Bench::GrabToTheEnd() {
    const OptivoFault end = {
        OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, -2, OPTIVO_ANY_SELECTOR, 1, 1};
    OptivoSim_AddFault(&end);
    OptivoSim_ProduceImages(CAMERA, 3);
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

uint64_t Bench::Number(STREAM_INFO_CMD command) {
    uint64_t number = 0;
    size_t size = sizeof number;
    EXPECT_OK(gentl.DSGetInfo(stream, command, nullptr, &number, &size));
    return number;
}

// Without a call that fills the list by itself.
std::string Bench::Interfaces() {
    uint32_t count = 0;
    size_t size = sizeof count;
    EXPECT_OK(gentl.GCReadPort(tl, 4, &count, &size));
    std::string text;
    for (uint32_t i = 0; i < count; ++i) {
        const std::string id =
            AskText([&](auto... to) { return gentl.TLGetInterfaceID(tl, i, to...); }).Text();
        const Info type =
            Ask([&](auto... to) { return gentl.TLGetInterfaceInfo(tl, id.c_str(), 2, to...); });
        text += (i == 0 ? "" : " ") + id + '=' + type.Text();
    }
    return text;
}

std::string Bench::DeviceText(DEVICE_INFO_CMD command) {
    const Info info =
        Ask([&](auto... to) { return gentl.IFGetDeviceInfo(iface, CAMERA, command, to...); });
    return info.code != 0   ? std::to_string(info.code)
           : info.type == 5 ? std::to_string(info.As<int32_t>())
                            : info.Text();
}

std::string Bench::Devices() {
    uint32_t count = 0;
    EXPECT_OK(gentl.IFGetNumDevices(iface, &count));
    std::string text;
    bool isListed = false;
    for (uint32_t i = 0; i < count; ++i) {
        const std::string id =
            AskText([&](auto... to) { return gentl.IFGetDeviceID(iface, i, to...); }).Text();
        text += '[' + id + ']';
        isListed = isListed || id == CAMERA;
    }
    if (isListed) {
        for (const DEVICE_INFO_CMD command : {1, 2, 3, 5, 6, 7, 8, 1003, 1004}) {
            text += ' ' + DeviceText(command);
        }
    }
    return text;
}

std::string Bench::Counters() {
    return "delivered " + std::to_string(Number(1)) + ", lost " + std::to_string(Number(2) - 40) +
           ", queued " + std::to_string(Number(4)) + ", waiting " + std::to_string(Number(5)) +
           ", grabbing " + std::to_string(Number(8));
}

std::string Bench::Events(EVENT_HANDLE event) {
    const bool isInstalled = OptivoSim_HasCallback(CAMERA) == 1;
    EXPECT_EQ(OptivoSim_FireEvent(CAMERA, 7, 8), isInstalled ? 1 : 0);
    std::array<char, 64> data{};
    size_t size = data.size();
    EXPECT_OK(gentl.EventGetData(event, data.data(), &size, 0));
    return std::string("callback ") + (isInstalled ? "yes" : "no") + ", event " +
           (size != data.size() ? "yes" : "no");
}

} // namespace Matrix
