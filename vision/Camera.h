// An open camera: its registers and memory, its description, and whether it is still there. Knows
// nothing of images.
#pragma once

#include "Glib.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OptivoVision {

// Thread-safe.
class CCamera {
public:
    // place is let go of when the camera is closed.
    CCamera(ObjectPtr<ArvDevice> device, std::shared_ptr<void> place);
    ~CCamera();
    CCamera(const CCamera&) = delete;
    CCamera& operator=(const CCamera&) = delete;

    // For good: the camera does not answer any more, or somebody else controls it.
    bool IsGone() const { return m_isGone; }
    Int32 Read(UInt64 address, void* destination, Size length);
    Int32 Write(UInt64 address, const void* source, Size length);
    const std::string& XmlUrl() const { return m_xmlUrl; }

    Int32 PayloadSize(UInt64& size);
    // Images in a second, or 0 where the camera does not tell.
    double FrameRate();
    // Opens the way on which images come. Null, with the code, when there is none.
    ObjectPtr<ArvStream> CreateStream(UInt64 payloadSize, ArvStreamCallback callback, void* context,
                                      Int32& code);
    UInt32 PacketSize();

private:
    bool IsOnWire(UInt64 address, Size length) const;
    Int32 ReadXml(UInt64 offset, void* destination, Size length) const;
    Int32 ReadWire(UInt64 address, void* destination, Size length);
    Int32 WriteWire(UInt64 address, const void* source, Size length);

    const std::shared_ptr<void> m_place; // outlives the device
    const ObjectPtr<ArvDevice> m_device;
    const bool m_isGigE;
    std::mutex m_features; // of Aravis' own view of the description, which is not thread-safe
    std::string m_xml;
    std::string m_xmlUrl;
    gulong m_signal = 0;
    std::atomic<bool> m_isGone{false};
};

} // namespace OptivoVision
