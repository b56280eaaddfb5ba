#include "SlotOrder.h"

#include "camlib/CameraLibrary.h"
#include "core/LastError.h"
#include "core/RegisterMap.h"
#include "events/EventDevice.h"
#include "events/EventError.h"
#include "modules/BufferInfo.h"
#include "modules/DataStream.h"
#include "modules/Device.h"
#include "modules/DevicePort.h"
#include "modules/Interface.h"
#include "modules/NewBufferEvent.h"
#include "modules/TL.h"

#include <memory>

#ifndef _MSC_VER

namespace {

using namespace GenICam::Client;

// The port operations of a module's class, at the positions that all modules share.
template <typename Module>
std::vector<Slot> PortSlots() {
    return {{"Read", 1, &Module::Read},
            {"Write", 2, &Module::Write},
            {"ReadRegister", 3, &Module::ReadRegister},
            {"WriteRegister", 4, &Module::WriteRegister},
            {"GetPortURL", 5, &Module::GetPortURL},
            {"GetPortInfo", 6, &Module::GetPortInfo},
            {"GetNumPortURLs", 7, &Module::GetNumPortURLs},
            {"GetPortURLInfo", 8, &Module::GetPortURLInfo}};
}

// A class whose one operation comes behind those of Base.
template <typename Base>
struct Extended : Base {
    using Base::Base;
    virtual void Next() {}
};

TEST(SlotOrderTest, IPort) {
    ExpectSlots(NO_DESTRUCTOR, PortSlots<IPort>());
    struct Next : IPort {
        virtual void Operation() = 0;

    protected:
        ~Next() = default;
    };
    ExpectSlots(NO_DESTRUCTOR, {{"what follows", 9, &Next::Operation}});
}

TEST(SlotOrderTest, IEventSrc) {
    ExpectSlots(NO_DESTRUCTOR, {{"RegisterEvent", 1, &IEventSrc::RegisterEvent},
                                {"UnregisterEvent", 2, &IEventSrc::UnregisterEvent}});
    struct Next : IEventSrc {
        virtual void Operation() = 0;

    protected:
        ~Next() = default;
    };
    ExpectSlots(NO_DESTRUCTOR, {{"what follows", 3, &Next::Operation}});
}

TEST(SlotOrderTest, ICommonBase) {
    ExpectSlots(9, PortSlots<ICommonBase>());
    ExpectSlots(9, {{"what follows the destructor", 10, &Extended<ICommonBase>::Next}});
}

// A module without operations of its own, which knows when it is destroyed.
struct Module : ICommonBase {
    explicit Module(int& numDestroyed) : m_numDestroyed(numDestroyed) {}
    ~Module() override { ++m_numDestroyed; }
    COutcome GetPortURL(char*, size_t*) override { return {}; }
    COutcome GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override { return {}; }
    COutcome GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE*, void*, size_t*) override {
        return {};
    }

    int& m_numDestroyed;
};

TEST(SlotOrderTest, AModuleIsAPortFirstAndAnEventSourceSecond) {
    int numDestroyed = 0;
    auto* module = new Module(numDestroyed);
    ICommonBase* base = module;
    const auto* start = reinterpret_cast<const char*>(base);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<IPort*>(base)), start);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<IEventSrc*>(base)), start + sizeof(void*));
    delete base;
    EXPECT_EQ(numDestroyed, 1);
}

TEST(SlotOrderTest, CTL) {
    ExpectSlots(9, PortSlots<CTL>());
    ExpectSlots(9, {{"GetNumInterfaces", 10, &CTL::GetNumInterfaces},
                    {"GetInterfaceID", 11, &CTL::GetInterfaceID},
                    {"UpdateInterfaceList", 12, &CTL::UpdateInterfaceList},
                    {"GetInfo", 13, &CTL::GetInfo},
                    {"RemoveInterface", 14, &CTL::RemoveInterface},
                    {"OpenInterface", 15, &CTL::OpenInterface},
                    {"GetInterfaceInfo", 16, &CTL::GetInterfaceInfo},
                    {"GetFileVersion", 17, &CTL::GetFileVersion},
                    {"GetVersionText", 18, &CTL::GetVersionText}});
}

TEST(SlotOrderTest, CInterface) {
    ExpectSlots(9, PortSlots<CInterface>());
    ExpectSlots(9, {{"OpenDevice", 10, &CInterface::OpenDevice},
                    {"GetNumDevices", 11, &CInterface::GetNumDevices},
                    {"GetDeviceID", 12, &CInterface::GetDeviceID},
                    {"UpdateDeviceList", 13, &CInterface::UpdateDeviceList},
                    {"RemoveDevice", 14, &CInterface::RemoveDevice},
                    {"Close", 15, &CInterface::Close},
                    {"GetInterfaceInfo", 16, &CInterface::GetInterfaceInfo},
                    {"GetDeviceInfo", 17, &CInterface::GetDeviceInfo}});
}

TEST(SlotOrderTest, CDevice) {
    ExpectSlots(9, PortSlots<CDevice>());
    ExpectSlots(9, {{"GetDeviceInfo", 10, &CDevice::GetDeviceInfo},
                    {"GetStream", 11, &CDevice::GetStream},
                    {"RemoveStream", 12, &CDevice::RemoveStream}});
}

TEST(SlotOrderTest, CDevicePort) {
    ExpectSlots(9, PortSlots<CDevicePort>());
}

TEST(SlotOrderTest, CDataStream) {
    ExpectSlots(9, PortSlots<CDataStream>());
    ExpectSlots(9, {{"AnnounceBuffer", 10, &CDataStream::AnnounceBuffer},
                    {"AllocAndAnnounceBuffer", 11, &CDataStream::AllocAndAnnounceBuffer},
                    {"RevokeBuffer", 12, &CDataStream::RevokeBuffer},
                    {"QueueBuffer", 13, &CDataStream::QueueBuffer},
                    {"FlushQueue", 14, &CDataStream::FlushQueue},
                    {"StartAcquisition", 15, &CDataStream::StartAcquisition},
                    {"StopAcquisition", 16, &CDataStream::StopAcquisition},
                    {"GetInfo", 17, &CDataStream::GetInfo},
                    {"GetBufferInfo", 18, &CDataStream::GetBufferInfo},
                    {"GetBufferID", 19, &CDataStream::GetBufferID},
                    {"Close", 20, &CDataStream::Close},
                    {"WaitNewBuffer", 21, &CDataStream::WaitNewBuffer},
                    {"GetID", 22, &CDataStream::GetID},
                    {"GetDisplayName", 23, &CDataStream::GetDisplayName},
                    {"KillWait", 24, &CDataStream::KillWait}});
}

TEST(SlotOrderTest, CBufferInfo) {
    ExpectSlots(9, PortSlots<CBufferInfo>());
}

TEST(SlotOrderTest, CRegisterMap) {
    ExpectSlots(1, {{"ReadBlock", 2, &CRegisterMap::ReadBlock},
                    {"ReadRegister", 3, &CRegisterMap::ReadRegister},
                    {"WriteBlock", 4, &CRegisterMap::WriteBlock},
                    {"WriteRegister", 5, &CRegisterMap::WriteRegister},
                    {"Define", 6, &CRegisterMap::Define},
                    {"Define64", 7, &CRegisterMap::Define64},
                    {"DefineString", 8, &CRegisterMap::DefineString},
                    {"DefineBlock", 9, &CRegisterMap::DefineBlock},
                    {"AccessOf", 10, &CRegisterMap::AccessOf},
                    {"RawRead", 11, &CRegisterMap::RawRead},
                    {"ValueOf", 12, &CRegisterMap::ValueOf},
                    {"ValueOf64", 13, &CRegisterMap::ValueOf64},
                    {"MarkerOf", 14, &CRegisterMap::MarkerOf},
                    {"SetAccess", 15, &CRegisterMap::SetAccess},
                    {"SetCallbacks", 16, &CRegisterMap::SetCallbacks},
                    {"WriteString", 17, &CRegisterMap::WriteString},
                    {"RawWrite", 18, &CRegisterMap::RawWrite},
                    {"SetValue", 19, &CRegisterMap::SetValue},
                    {"SetValue64", 20, &CRegisterMap::SetValue64},
                    {"SetMarker", 21, &CRegisterMap::SetMarker},
                    {"what follows", 22, &Extended<CRegisterMap>::Next}});
}

TEST(SlotOrderTest, CInterfaceInfo) {
    ExpectSlots(1, {{"GetInfo", 2, &CInterfaceInfo::GetInfo},
                    {"GetID", 3, &CInterfaceInfo::GetID},
                    {"ParseID", 4, &CInterfaceInfo::ParseID},
                    {"Matches", 5, &CInterfaceInfo::Matches},
                    {"GetDisplayName", 6, &CInterfaceInfo::GetDisplayName},
                    {"GetName", 7, &CInterfaceInfo::GetName},
                    {"GetPrefix", 8, &CInterfaceInfo::GetPrefix},
                    {"GetTLType", 9, &CInterfaceInfo::GetTLType},
                    {"what follows", 10, &Extended<CInterfaceInfo>::Next}});
}

TEST(SlotOrderTest, CDeviceInfo) {
    ExpectSlots(1, {{"GetID", 2, &CDeviceInfo::GetID},
                    {"GetDisplayName", 3, &CDeviceInfo::GetDisplayName},
                    {"what follows", 4, &Extended<CDeviceInfo>::Next}});
}

TEST(SlotOrderTest, CTLIError) {
    ExpectSlots(1, {{"what follows the destructor", 2, &Extended<CTLIError>::Next}});
    const CTLIError error;
    EXPECT_LT(static_cast<const void*>(&error), static_cast<const void*>(&error.m_message));
    EXPECT_LT(static_cast<const void*>(&error.m_message), static_cast<const void*>(&error.m_code));
}

// The operations of an event, at the positions that all kinds share.
template <typename Event>
std::vector<Slot> EventSlots() {
    return {{"GetData", 2, &Event::GetData},
            {"GetInfo", 3, &Event::GetInfo},
            {"GetDataInfo", 4, &Event::GetDataInfo},
            {"Flush", 5, &Event::Flush},
            {"Kill", 6, &Event::Kill},
            {"Reserved", 7, &Event::Reserved}};
}

template <typename Event>
std::vector<Slot> KindSlots() {
    return {{"Push", 8, &Event::Push},
            {"Register", 9, &Event::Register},
            {"Unregister", 10, &Event::Unregister}};
}

TEST(SlotOrderTest, CEventObj) {
    ExpectSlots(1, EventSlots<CEventObj>());
    ExpectSlots(1, {{"what follows", 8, &Extended<CEventObj>::Next}});
}

TEST(SlotOrderTest, CEventDevice) {
    ExpectSlots(1, EventSlots<CEventDevice>());
    ExpectSlots(1, KindSlots<CEventDevice>());
    ExpectSlots(1, {{"Post", 11, &CEventDevice::Post}});
}

TEST(SlotOrderTest, CEventError) {
    ExpectSlots(1, EventSlots<CEventError>());
    ExpectSlots(1, KindSlots<CEventError>());
    ExpectSlots(1, {{"GetBlockInfo", 11, &CEventError::GetBlockInfo}});
}

TEST(SlotOrderTest, CDataStreamEventNewBuffer) {
    ExpectSlots(1, EventSlots<CDataStreamEventNewBuffer>());
    ExpectSlots(1, KindSlots<CDataStreamEventNewBuffer>());
}

TEST(SlotOrderTest, EntriesHaveAVirtualDestructor) {
    static_assert(std::has_virtual_destructor_v<DevEventEntry>);
    static_assert(std::has_virtual_destructor_v<ErrorEventEntry>);
}

TEST(SlotOrderTest, ICamSystem) {
    using Optivo::ICamSystem;
    ExpectSlots(NO_DESTRUCTOR, {{"Unused1", 1, &ICamSystem::Unused1},
                                {"UpdateInterfaceList", 2, &ICamSystem::UpdateInterfaceList},
                                {"GetInterfaceName", 3, &ICamSystem::GetInterfaceName},
                                {"GetInterface", 4, &ICamSystem::GetInterface},
                                {"OpenInterface", 5, &ICamSystem::OpenInterface},
                                {"Unused6", 6, &ICamSystem::Unused6},
                                {"Unused7", 7, &ICamSystem::Unused7},
                                {"Close", 8, &ICamSystem::Close}});
}

TEST(SlotOrderTest, ICamInterface) {
    using Optivo::ICamInterface;
    ExpectSlots(NO_DESTRUCTOR, {{"Unused1", 1, &ICamInterface::Unused1},
                                {"UpdateDeviceList", 2, &ICamInterface::UpdateDeviceList},
                                {"GetDeviceName", 3, &ICamInterface::GetDeviceName},
                                {"GetDevice", 4, &ICamInterface::GetDevice},
                                {"OpenDevice", 5, &ICamInterface::OpenDevice},
                                {"WritePort", 6, &ICamInterface::WritePort},
                                {"ReadPort", 7, &ICamInterface::ReadPort},
                                {"Unused8", 8, &ICamInterface::Unused8},
                                {"Unused9", 9, &ICamInterface::Unused9},
                                {"Close", 10, &ICamInterface::Close}});
}

TEST(SlotOrderTest, ICamDevice) {
    using Optivo::ICamDevice;
    ExpectSlots(NO_DESTRUCTOR, {{"Unused1", 1, &ICamDevice::Unused1},
                                {"GetNumDataStreams", 2, &ICamDevice::GetNumDataStreams},
                                {"Unused3", 3, &ICamDevice::Unused3},
                                {"Unused4", 4, &ICamDevice::Unused4},
                                {"OpenDataStream", 5, &ICamDevice::OpenDataStream},
                                {"WritePort", 6, &ICamDevice::WritePort},
                                {"ReadPort", 7, &ICamDevice::ReadPort},
                                {"Unused8", 8, &ICamDevice::Unused8},
                                {"Unused9", 9, &ICamDevice::Unused9},
                                {"GetInfo", 10, &ICamDevice::GetInfo},
                                {"RegisterEventCallback", 11, &ICamDevice::RegisterEventCallback},
                                {"Close", 12, &ICamDevice::Close}});
}

TEST(SlotOrderTest, ICamStream) {
    using Optivo::ICamStream;
    ExpectSlots(NO_DESTRUCTOR, {{"Unused1", 1, &ICamStream::Unused1},
                                {"StartAcquisition", 2, &ICamStream::StartAcquisition},
                                {"StopAcquisition", 3, &ICamStream::StopAcquisition},
                                {"GrabImage", 4, &ICamStream::GrabImage},
                                {"SetStreamParameter", 5, &ICamStream::SetStreamParameter},
                                {"GetStreamInfo", 6, &ICamStream::GetStreamInfo},
                                {"Close", 7, &ICamStream::Close}});
}

} // namespace

#endif
