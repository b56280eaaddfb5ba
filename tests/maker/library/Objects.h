// The objects that the library hands out, over the cameras and adapters.
#pragma once

#include "Camera.h"
#include "Faults.h"
#include "Thrown.h"

namespace Maker {

// Closed objects stay for a while, so that whoever still calls them does no harm and is counted.
class CHandedOut {
public:
    bool isOpen = false;
    CHandedOut* nextClosed = nullptr;
};
void CountMisuse();

// Objects of one kind; touched with the guard held.
template <typename Object, MakerKind KIND>
class CPool {
public:
    Object* HandOut() {
        auto* object = static_cast<Object*>(m_oldest);
        if (m_numClosed > kMostClosed) {
            m_oldest = object->nextClosed;
            --m_numClosed;
        } else {
            object = new Object;
        }
        object->isOpen = true;
        CountMade(KIND);
        return object;
    }

    void TakeBack(Object* object) {
        object->isOpen = false;
        object->nextClosed = nullptr;
        if (m_numClosed++ == 0) {
            m_oldest = object;
        } else {
            m_newest->nextClosed = object;
        }
        m_newest = object;
        CountGone(KIND);
    }

private:
    static constexpr UInt32 kMostClosed = 8;

    CHandedOut* m_oldest = nullptr;
    CHandedOut* m_newest = nullptr;
    UInt32 m_numClosed = 0;
};

// One operation of an object. What a test has planned comes first.
template <typename Work>
Int32 Perform(const CHandedOut& object, MakerOperation operation, UInt64 selector, Work&& work) {
    const CLocal local;
    Int32 result = kSuccess;
    if (IsSpoilt(operation, selector, &result)) {
        return result;
    }
    CGuard guard;
    if (!object.isOpen) {
        CountMisuse();
        return kInvalidHandle;
    }
    return work(guard);
}

class CSystem final : public Optivo::ICamSystem, public CHandedOut {
public:
    void Unused1() override {}
    Int32 UpdateInterfaceList(UInt32* count, UInt32 timeout) override;
    Int32 GetInterfaceName(UInt32 index, char* buffer, Size* size) override;
    Int32 GetInterface(const char* name, Optivo::ICamInterface** interface_) override;
    Int32 OpenInterface(const char* name, Optivo::ICamInterface** interface_) override;
    void Unused6() override {}
    void Unused7() override {}
    Int32 Close() override;
};

class CInterface final : public Optivo::ICamInterface, public CHandedOut {
public:
    // With the guard held.
    static CInterface* HandOut(CAdapter& adapter);

    void Unused1() override {}
    Int32 UpdateDeviceList(UInt32* count, UInt32 timeout) override;
    Int32 GetDeviceName(UInt32 index, char* buffer, Size* size) override;
    Int32 GetDevice(const char* name, Optivo::ICamDevice** device) override;
    Int32 OpenDevice(const char* deviceId, Optivo::ICamDevice** device) override;
    Int32 WritePort(UInt64 address, const void* source, Size* size) override;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) override;
    void Unused8() override {}
    void Unused9() override {}
    Int32 Close() override;

private:
    CAdapter* m_adapter = nullptr;
};

class CDevice final : public Optivo::ICamDevice, public CHandedOut {
public:
    // With the guard held.
    static CDevice* HandOut(CCamera& camera);

    void Unused1() override {}
    Int32 GetNumDataStreams(UInt32* count) override;
    void Unused3() override {}
    void Unused4() override {}
    Int32 OpenDataStream(UInt32 index, Optivo::ICamStream** stream) override;
    Int32 WritePort(UInt64 address, const void* source, Size* size) override;
    Int32 ReadPort(UInt64 address, void* destination, Size* size) override;
    void Unused8() override {}
    void Unused9() override {}
    Int32 GetInfo(UInt32 key, void* buffer, Size* size) override;
    Int32 RegisterEventCallback(Optivo::DeviceEventCallback callback, void* context) override;
    Int32 Close() override;

private:
    CCamera* m_camera = nullptr;
};

class CStream final : public Optivo::ICamStream, public CHandedOut {
public:
    // With the guard held.
    static CStream* HandOut(CCamera& camera);

    void Unused1() override {}
    Int32 StartAcquisition(UInt32 reserved, UInt32 count) override;
    Int32 StopAcquisition(UInt32 reserved) override;
    Int32 GrabImage(void* destination, UInt32 timeout) override;
    Int32 SetStreamParameter(UInt32 command, UInt32* value, Size* size) override;
    Int32 GetStreamInfo(UInt32 command, void* value, Size* size) override;
    Int32 Close() override;

private:
    CCamera* m_camera = nullptr;
};

} // namespace Maker
