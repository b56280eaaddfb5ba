// The objects that the maker's camera library Optivo40 hands out, as tables of virtual operations.
// The order of the operations is the library's binary interface: positions that the producer does
// not use are declared too, no two operations of a class share a name, and no standard-library
// header is included, so that every compiler lays the tables out alike.
// This file knows nothing of the producer.
#pragma once

namespace Optivo {

using Int32 = int;
using UInt32 = unsigned int;
using UInt64 = unsigned long long;
using Size = decltype(sizeof(0));

// Results are 0 for success, GenTL error codes, or the codes of the operation.
// Text and data results go into a buffer of the caller: *size is its capacity in bytes on entry
// and the number of bytes written on return. A text should be zero-terminated, but a caller must
// not rely on it. Every object is given back through its own Close and never deleted.

// Reports a device event on a thread of the library; low and high are the halves of its value.
using DeviceEventCallback = void (*)(UInt32 eventId, const void* ignored1, const void* ignored2,
                                     UInt32 low, UInt32 high, void* context);

// Selectors of ICamDevice::GetInfo.
enum DeviceInfoKey : UInt32 {
    kDeviceVersion = 0,
    kDeviceVendor = 3,
    kDeviceModel = 4,
    kDeviceSerialNumber = 7,
    kDeviceXmlUrl = 8,
    kDeviceStatus = 9, // a 32-bit number, all others are texts
    kDeviceTLType = 13,
    kDeviceCustom14 = 14,
    kDeviceCustom15 = 15,
    kDeviceUserDefinedName = 16
};

// Addresses of ICamInterface::ReadPort that answer texts.
enum InterfaceTextKey : UInt32 { kInterfacePrefix = 2, kInterfaceXmlUrl = 4, kInterfaceTLType = 5 };

// Selectors of ICamStream::GetStreamInfo. A value is 64 bits wide unless stated otherwise.
enum StreamInfoKey : UInt32 {
    kStreamNumStarted = 1,
    kStreamImageReady = 3, // 32 bits: 0 while no image waits to be grabbed
    kStreamPayloadSize = 4,
    kStreamCustom5 = 5,
    kStreamCustom6 = 6,
    kStreamCustom7 = 7, // 32 bits
    kStreamCustom8 = 8, // 32 bits
    kStreamNumLost = 11
};

// Commands of ICamStream::SetStreamParameter.
enum StreamParameter : UInt32 { kStreamTimeout = 2 }; // in milliseconds

// Results of ICamStream::GrabImage; every other one ends the acquisition.
enum GrabResult : Int32 {
    kGrabDelivered = 0,
    kGrabNothingYet = -1,
    kGrabEnded = -2,
    kGrabLost = -3
};

class ICamStream {
public:
    virtual void Unused1() = 0;
    // Starts delivering count images; 0xFFFFFFFF is without limit. reserved is 0.
    virtual Int32 StartAcquisition(UInt32 reserved, UInt32 count) = 0;
    virtual Int32 StopAcquisition(UInt32 reserved) = 0;
    // Writes one image of the payload size into destination, or takes and drops it when that is
    // null. Waits at most timeout milliseconds. Answers a GrabResult.
    virtual Int32 GrabImage(void* destination, UInt32 timeout) = 0;
    // Sets the value that a StreamParameter selects.
    virtual Int32 SetStreamParameter(UInt32 command, UInt32* value, Size* size) = 0;
    // Answers the value that a StreamInfoKey selects.
    virtual Int32 GetStreamInfo(UInt32 command, void* value, Size* size) = 0;
    virtual Int32 Close() = 0;

protected:
    ~ICamStream() = default;
};

class ICamDevice {
public:
    virtual void Unused1() = 0;
    virtual Int32 GetNumDataStreams(UInt32* count) = 0;
    virtual void Unused3() = 0;
    virtual void Unused4() = 0;
    // A negative result is a failure.
    virtual Int32 OpenDataStream(UInt32 index, ICamStream** stream) = 0;
    virtual Int32 WritePort(UInt64 address, const void* source, Size* size) = 0;
    virtual Int32 ReadPort(UInt64 address, void* destination, Size* size) = 0;
    virtual void Unused8() = 0;
    virtual void Unused9() = 0;
    // Answers the description value that a DeviceInfoKey selects.
    virtual Int32 GetInfo(UInt32 key, void* buffer, Size* size) = 0;
    // Installs the callback, or removes it when null; one is installed at a time.
    virtual Int32 RegisterEventCallback(DeviceEventCallback callback, void* context) = 0;
    virtual Int32 Close() = 0;

protected:
    ~ICamDevice() = default;
};

class ICamInterface {
public:
    virtual void Unused1() = 0;
    // Rediscovers the devices; timeout is in milliseconds.
    virtual Int32 UpdateDeviceList(UInt32* count, UInt32 timeout) = 0;
    virtual Int32 GetDeviceName(UInt32 index, char* buffer, Size* size) = 0;
    // An object that only serves GetInfo.
    virtual Int32 GetDevice(const char* name, ICamDevice** device) = 0;
    // -10003 link speed not supported, -1009 invalid parameter, -1005 already open, -1002 XML
    // schema error, -1001 cannot open; every other result is success.
    virtual Int32 OpenDevice(const char* deviceId, ICamDevice** device) = 0;
    virtual Int32 WritePort(UInt64 address, const void* source, Size* size) = 0;
    // Reads registers, and at an InterfaceTextKey a text.
    virtual Int32 ReadPort(UInt64 address, void* destination, Size* size) = 0;
    virtual void Unused8() = 0;
    virtual void Unused9() = 0;
    virtual Int32 Close() = 0;

protected:
    ~ICamInterface() = default;
};

class ICamSystem {
public:
    virtual void Unused1() = 0;
    // Rediscovers the interfaces; timeout is in milliseconds.
    virtual Int32 UpdateInterfaceList(UInt32* count, UInt32 timeout) = 0;
    virtual Int32 GetInterfaceName(UInt32 index, char* buffer, Size* size) = 0;
    // An object that only serves ReadPort at an InterfaceTextKey.
    virtual Int32 GetInterface(const char* name, ICamInterface** interface_) = 0;
    // name is an interface's name or its ID: the prefix in upper case, "::" and the name.
    virtual Int32 OpenInterface(const char* name, ICamInterface** interface_) = 0;
    virtual void Unused6() = 0;
    virtual void Unused7() = 0;
    virtual Int32 Close() = 0;

protected:
    ~ICamSystem() = default;
};

} // namespace Optivo

// The library's factory, exported under this plain name.
extern "C" Optivo::Int32 GetSystem(Optivo::ICamSystem** system);
