// The operations of module objects that no exported function calls.
#include "ModuleFixture.h"
#include "Thrown.h"
#include "core/Errors.h"
#include "modules/BufferInfo.h"
#include "modules/DevicePort.h"

#include <cstdint>
#include <initializer_list>
#include <string>

namespace {

using namespace GenICam::Client;

// A module that takes every default.
class CPlainModule final : public ICommonBase {
public:
    CPlainModule() : m_knownTooSoon(IsModule(HandleOf(this))) { PublishHandle(); }

    COutcome GetPortURL(char*, size_t*) override { return {}; }
    COutcome GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override { return {}; }
    COutcome GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override {
        return {};
    }

    const bool m_knownTooSoon;
};

class COtherModule final : public ICommonBase {
public:
    COutcome GetPortURL(char*, size_t*) override { return {}; }
    COutcome GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override { return {}; }
    COutcome GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override {
        return {};
    }
};

// Neither gives nor takes anything, whatever the arguments are.
void ExpectNoSingleRegisters(IPort& port) {
    uint32_t value = 77;
    for (const uint64_t address : {uint64_t{0}, uint64_t{3}, UINT64_MAX}) {
        EXPECT_EQ(FailureOf([&] { port.ReadRegister(address, &value); }), Failure());
        EXPECT_EQ(FailureOf([&] { port.ReadRegister(address, nullptr); }), Failure());
        EXPECT_EQ(FailureOf([&] { port.WriteRegister(address, 5); }), Failure());
    }
    EXPECT_EQ(value, 77U);
}

void ExpectNoRegisters(IPort& port) {
    ExpectNoSingleRegisters(port);
    char buffer[8] = "before";
    size_t size = 5;
    EXPECT_EQ(FailureOf([&] { port.Read(1, buffer, &size); }), Failure());
    EXPECT_EQ(FailureOf([&] { port.Write(1, buffer, &size); }), Failure());
    EXPECT_EQ(FailureOf([&] { port.Read(0, nullptr, nullptr); }), Failure());
    EXPECT_EQ(FailureOf([&] { port.Write(0, nullptr, nullptr); }), Failure());
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(size, 5U);
}

TEST(CommonBaseTest, AModulesOwnPortHasNoRegisters) {
    CPlainModule module;
    ExpectNoRegisters(module);
}

TEST(CommonBaseTest, AModuleHasOneUrl) {
    CPlainModule module;
    uint32_t count = 0;
    module.GetNumPortURLs(&count);
    EXPECT_EQ(count, 1U);
    EXPECT_THROWS(invalid_parameter_error, "Argument piNumURLs is a null pointer.",
                  module.GetNumPortURLs(nullptr));
}

TEST(CommonBaseTest, AModuleHasNoEvents) {
    CPlainModule module;
    IEventSrc& source = module;
    EVENT_HANDLE event = &module;
    EXPECT_THROWS(std::runtime_error, "Event ID 0 not implemented",
                  source.RegisterEvent(0, &event));
    EXPECT_THROWS(std::runtime_error, "Event ID 1000 not implemented",
                  source.RegisterEvent(1000, nullptr));
    EXPECT_THROWS(std::runtime_error, "Event ID -1 not implemented", source.UnregisterEvent(-1));
    EXPECT_EQ(event, &module);
}

TEST(CommonBaseTest, ABufferRefusesItsTwoEventOperationsInDifferentClasses) {
    CBufferInfo buffer(nullptr, 4, nullptr);
    IEventSrc& source = buffer;
    EVENT_HANDLE event = nullptr;
    EXPECT_THROWS(std::invalid_argument, "Event ID 1 not implemented",
                  source.RegisterEvent(1, &event));
    EXPECT_THROWS(std::runtime_error, "Event ID 1 not implemented", source.UnregisterEvent(1));
}

TEST(CommonBaseTest, AHandleIsCastToItsOwnClassAlone) {
    CPlainModule module;
    void* handle = HandleOf(&module);
    EXPECT_EQ(HandleCast<CPlainModule>(handle), &module);
    EXPECT_EQ(HandleCast<COtherModule>(handle), nullptr);
    EXPECT_EQ(HandleCast<CTL>(handle), nullptr);
    EXPECT_EQ(HandleCast<CBufferInfo>(handle), nullptr);
    EXPECT_EQ(HandleCast<CPlainModule>(nullptr), nullptr);
}

TEST(CommonBaseTest, AHandleMeansSomethingFromTheEndOfTheConstructionUntilItIsRetired) {
    CPlainModule module;
    EXPECT_FALSE(module.m_knownTooSoon);
    EXPECT_TRUE(IsModule(HandleOf(&module)));
    module.RetireHandle();
    EXPECT_FALSE(IsModule(HandleOf(&module)));
    EXPECT_EQ(HandleCast<CPlainModule>(HandleOf(&module)), nullptr);
}

// Calls reach the port through its device, and the new-buffer event through its stream.
TEST(CommonBaseTest, WhatAnotherModuleOwnsMeansSomethingOnlyFromItsOwnersWordOn) {
    CDevicePort port(nullptr);
    EXPECT_FALSE(IsModule(HandleOf(&port)));
    port.Publish();
    EXPECT_TRUE(IsModule(HandleOf(&port)));
    const CLiveObjects& events = CLiveObjects::Events();
    CDataStreamEventNewBuffer newBuffer(nullptr);
    CEventDevice ofThePort;
    CEventError ofAStreamOrDevice;
    for (CEventObj* event :
         std::initializer_list<CEventObj*>{&newBuffer, &ofThePort, &ofAStreamOrDevice}) {
        EXPECT_FALSE(events.Contains(event));
        event->PublishHandle();
        EXPECT_TRUE(events.Contains(event));
    }
}

TEST_F(ModuleTest, TheSystemReadsASingleRegister) {
    uint32_t value = 0;
    tl->ReadRegister(0xD8, &value);
    EXPECT_EQ(value, 3U);
    tl->ReadRegister(0x4, &value);
    EXPECT_EQ(value, 2U);
    EXPECT_THROWS(std::out_of_range, "Register 0 is not available.", tl->ReadRegister(0, &value));
    EXPECT_THROWS(std::invalid_argument, "Address and/or uiSize have to be multiples of four.",
                  tl->ReadRegister(2, &value));
    EXPECT_EQ(value, 2U);
}

TEST_F(ModuleTest, TheSystemWritesASingleRegister) {
    EXPECT_EQ(Text(0x740), "GEV::eth0");
    tl->WriteRegister(0x8, 1);
    EXPECT_EQ(Text(0x740), "U3V::usb0");
    EXPECT_THROWS(access_error, "Register 44 is not writable.", tl->WriteRegister(0x44, 1));
    EXPECT_THROWS(std::out_of_range, "Register 0 is not available.", tl->WriteRegister(0, 1));
}

TEST_F(ModuleTest, NoOtherModuleHasSingleRegisters) {
    BUFFER_HANDLE buffer = nullptr;
    stream->AnnounceBuffer(nullptr, 16, nullptr, &buffer);
    for (ICommonBase* module :
         {static_cast<ICommonBase*>(interface), static_cast<ICommonBase*>(device),
          device->RemotePort(), static_cast<ICommonBase*>(stream),
          static_cast<ICommonBase*>(buffer)}) {
        ExpectNoSingleRegisters(*module);
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_WRITE_PORT), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_WRITE_PORT), 0U);
}

TEST_F(ModuleTest, DeviceStreamAndBufferHaveNoRegistersAtAll) {
    BUFFER_HANDLE buffer = nullptr;
    stream->AnnounceBuffer(nullptr, 16, nullptr, &buffer);
    ExpectNoRegisters(*device);
    ExpectNoRegisters(*stream);
    ExpectNoRegisters(*static_cast<ICommonBase*>(buffer));
}

TEST_F(ModuleTest, TheSystemKnowsTheFilesVersion) {
    EXPECT_EQ(tl->GetFileVersion(), 0x0004000000010000U);
    EXPECT_EQ(tl->GetVersionText(), std::string("4.0.1.0\0", 8));
}

TEST_F(ModuleTest, AnInterfaceHasACopyOfItsListRecord) {
    const auto info = interface->GetInterfaceInfo();
    EXPECT_EQ(info->GetID(), "GEV::eth0");
    EXPECT_EQ(info->GetDisplayName(), "Interface : eth0");
    EXPECT_EQ(interface->GetInterfaceInfo(), info);
    info->ParseID("ab::12345x::d");
    EXPECT_NE(info->GetID(), "GEV::eth0");
    std::string listed;
    tl->GetInterfaceID(listed, 0);
    EXPECT_EQ(listed, "GEV::eth0");
}

TEST_F(ModuleTest, AnInterfaceThatTheSystemDoesNotKnowIsNoneToForget) {
    tl->RemoveInterface(nullptr);
    EXPECT_EQ(tl->OpenInterface("GEV::eth0"), interface);
}

TEST_F(ModuleTest, ADeviceIsForgottenUnderItsVeryIdAlone) {
    for (const char* id : {"norvel-g640m-10001", "Norvel-G640M-1000", "SN->10001", ""}) {
        interface->RemoveDevice(id);
        EXPECT_THROWS(resource_in_use_error, "Device already open",
                      interface->OpenDevice("Norvel-G640M-10001", 3));
    }
}

TEST_F(ModuleTest, ADeviceKeepsTheFlagsItWasOpenedWith) {
    EXPECT_EQ(device->CameraIndex(), 3U);
}

TEST_F(ModuleTest, ADeviceKnowsItsStreamsByPosition) {
    CDataStream* second = device->OpenDataStream("DS1");
    EXPECT_EQ(device->GetStream(0), stream);
    EXPECT_EQ(device->GetStream(1), second);
    EXPECT_EQ(device->GetStream(2), nullptr);
    EXPECT_EQ(device->GetStream(0xFFFFFFFF), nullptr);
}

TEST_F(ModuleTest, RemovingAStreamForgetsItAndKeepsTheOthersInOrder) {
    CDataStream* second = device->OpenDataStream("DS1");
    CDataStream* third = device->OpenDataStream("DS2");
    device->RemoveStream(1);
    EXPECT_EQ(device->GetStream(0), stream);
    EXPECT_EQ(device->GetStream(1), third);
    EXPECT_EQ(device->GetStream(2), nullptr);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), 3U);
    delete second;
    EXPECT_EQ(device->GetStream(1), third);
}

TEST_F(ModuleTest, AStreamThatIsNotThereCannotBeRemoved) {
    EXPECT_THROWS(std::invalid_argument, "Invalid Stream Channel Index", device->RemoveStream(1));
    EXPECT_THROWS(std::invalid_argument, "Invalid Stream Channel Index",
                  device->RemoveStream(0xFFFFFFFF));
    EXPECT_EQ(device->GetStream(0), stream);
}

TEST_F(ModuleTest, ADevicesRecordIsShared) {
    const auto info = device->GetDeviceInfo();
    EXPECT_EQ(info->GetID(), "Norvel-G640M-10001");
    EXPECT_EQ(info->m_version, "");
    EXPECT_EQ(info->m_userDefinedName, "");
    EXPECT_EQ(info->m_marker1, 2U);
    EXPECT_EQ(info->m_marker2, 1U);
    EXPECT_EQ(info->m_reserved, 0U);
    EXPECT_EQ(device->GetDeviceInfo(), info);
}

TEST_F(ModuleTest, AStreamHasAnIdAndADisplayName) {
    EXPECT_EQ(stream->GetID(), "DS0");
    EXPECT_EQ(stream->GetDisplayName(), "Stream DS0");
}

TEST_F(ModuleTest, AllocatingABufferGivesItsMemory) {
    int context = 0;
    void* memory = nullptr;
    BUFFER_HANDLE handle = nullptr;
    stream->AllocAndAnnounceBuffer(&memory, 1000, &context, &handle);
    ASSERT_NE(memory, nullptr);
    const auto* buffer = HandleCast<CBufferInfo>(handle);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->Memory(), memory);
    EXPECT_EQ(buffer->Size(), 1000U);
    EXPECT_EQ(buffer->PrivateData(), &context);
    EXPECT_EQ(NumAnnounced(), 1U);
}

TEST_F(ModuleTest, ABufferThatGetsNoMemoryStaysAnnounced) {
    void* memory = this;
    BUFFER_HANDLE handle = this;
    EXPECT_THROWS(std::runtime_error, "Invalid Memory Buffer",
                  stream->AllocAndAnnounceBuffer(&memory, PTRDIFF_MAX, nullptr, &handle));
    EXPECT_EQ(memory, this);
    EXPECT_EQ(handle, this);
    EXPECT_EQ(NumAnnounced(), 1U);
}

TEST_F(ModuleTest, AllocatingABufferNeedsBothResults) {
    void* memory = nullptr;
    BUFFER_HANDLE handle = nullptr;
    EXPECT_NE(FailureOf([&] { stream->AllocAndAnnounceBuffer(nullptr, 8, nullptr, &handle); }),
              Failure());
    EXPECT_NE(FailureOf([&] { stream->AllocAndAnnounceBuffer(&memory, 8, nullptr, nullptr); }),
              Failure());
    EXPECT_EQ(NumAnnounced(), 0U);
}

} // namespace
