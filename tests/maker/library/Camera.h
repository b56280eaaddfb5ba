// The cameras: what they are, what they tell of themselves, and the images that they make. All of
// it is touched with the guard held.
#pragma once

#include "Platform.h"

namespace Maker {

constexpr Int32 kSuccess = 0;
constexpr Int32 kError = -1001;
constexpr Int32 kAccessDenied = -1005;
constexpr Int32 kInvalidHandle = -1006;
constexpr Int32 kInvalidId = -1007;
constexpr Int32 kInvalidParameter = -1009;
constexpr Int32 kInvalidAddress = -1015;
constexpr Int32 kBufferTooSmall = -1016;

Int32 CopyText(const char* text, char* buffer, Size* size);
template <typename Number>
Int32 CopyNumber(Number number, void* buffer, Size* size) {
    if (buffer == nullptr || size == nullptr || *size < sizeof number) {
        return kInvalidParameter;
    }
    Copy(buffer, &number, sizeof number);
    *size = sizeof number;
    return kSuccess;
}

struct Description {
    const char* name;
    const char* model;
    const char* version;
    const char* serialNumber;
    const char* userDefinedName;
    const char* custom14;
    const char* custom15;
    const char* tlType;
    UInt32 number; // in the images
    UInt32 width;
    UInt32 height;
};

class CCamera {
public:
    explicit constexpr CCamera(const Description& description)
        : m_description(description), m_width(description.width), m_height(description.height) {}

    const char* Name() const { return m_description.name; }
    void Reset();

    Int32 GetInfo(UInt32 key, void* buffer, Size* size) const;
    Int32 ReadPort(UInt64 address, void* destination, const Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

    void Start(UInt32 count);
    void Stop();
    void SetRate(double rate);
    void Produce(UInt32 count);
    // Waits that long for an image; the guard is open meanwhile.
    bool WaitForImage(CGuard& guard, UInt32 milliseconds);
    // Of an image that is there.
    void TakeImage(void* destination);
    Int32 GetStreamInfo(UInt32 command, void* value, Size* size, CGuard& guard);

    bool isPlugged = true;
    const void* owner = nullptr;
    UInt32 numStreams = 1;
    UInt64 streamValues[Optivo::kStreamNumLost + 1] = {};

    Optivo::DeviceEventCallback callback = nullptr;
    void* context = nullptr;
    bool isCalling = false;

    void SetImageSize(UInt32 width, UInt32 height);

private:
    UInt32 ImageSize() const { return m_width * m_height; }

    Description m_description;
    UInt32 m_width;
    UInt32 m_height;
    UInt32 m_userMemory = 0;

    bool m_isStarted = false;
    UInt32 m_run = 0;
    UInt64 m_allowance = 0; // images that may still be made
    UInt64 m_next = 0;      // number of the next image that is taken
    UInt64 m_pending = 0;
    double m_rate = 0;
    double m_due = 0;
};

class CAdapter {
public:
    constexpr CAdapter(const char* name, const char* prefix, CCamera* cameras, UInt32 numCameras)
        : m_name(name), m_prefix(prefix), m_cameras(cameras), m_numCameras(numCameras) {}

    const char* Name() const { return m_name; }
    // The name, or the ID.
    bool IsCalled(const char* name) const;
    void Reset();

    UInt32 CountPlugged() const;
    // Of those that are plugged in.
    CCamera* At(UInt32 index) const;
    CCamera* Find(const char* name) const;

    Int32 ReadPort(UInt64 address, void* destination, Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

private:
    const char* m_name;
    const char* m_prefix;
    CCamera* m_cameras;
    UInt32 m_numCameras;
    UInt32 m_updateTimeout = 0;
};

constexpr UInt32 kNumAdapters = 2;
CAdapter& Adapter(UInt32 index);
CAdapter* FindAdapter(const char* name);
// Null when there is none of this name.
CCamera* FindCamera(const char* name);

} // namespace Maker
