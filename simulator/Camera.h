// One camera: its description, registers, pictures and event callback, and the streams that deliver
// its images. Knows nothing of the operation tables, faults or the world around it.
#pragma once

#include "CameraModel.h"
#include "EventSlot.h"
#include "ImageQueue.h"
#include "Registers.h"
#include "ResultCodes.h"
#include "TestPattern.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OptivoSim {

// Thread-safe.
class CCamera {
public:
    explicit CCamera(const CameraModel& model);

    const std::string& Name() const { return m_name; }
    // The single owner that the camera may have; false when it has one already.
    bool Acquire() { return !m_isOwned.exchange(true); }
    void Release() { m_isOwned = false; }

    Int32 GetInfo(UInt32 key, void* buffer, Size* size) const;
    bool SetText(UInt32 key, const std::string& text);
    void SetStatus(UInt32 status) { m_status = status; }
    UInt32 NumStreams() const { return m_numStreams; }
    void SetNumStreams(UInt32 count) { m_numStreams = count; }

    Int32 ReadPort(UInt64 address, void* destination, Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

    CEventSlot& Events() { return m_events; }

    // An attached queue must be detached before it goes.
    void Attach(CImageQueue& queue);
    void Detach(CImageQueue& queue);
    Int32 Start(CImageQueue& queue, UInt32 count);
    bool SetFrameRate(double rate);
    void Produce(std::uint64_t count);
    // False while a stream is started, or for a size that is 0 or beyond 16384.
    bool SetImageSize(UInt32 width, UInt32 height);
    std::uint64_t PayloadSize() const;

    // The values that a test gives the stream info commands 5, 6, 7, 8 and 11.
    bool SetStreamValue(UInt32 command, std::uint64_t value);
    std::uint64_t StreamValue(UInt32 command) const;

private:
    void DefineRegisters(const std::string& xml);
    void PublishFormat();
    void SetHalted(bool isHalted);

    const std::string m_name;
    std::atomic<bool> m_isOwned{false};
    std::atomic<UInt32> m_status{1};
    std::atomic<UInt32> m_numStreams{1};
    CRegisters m_registers;
    CEventSlot m_events;
    std::array<std::atomic<std::uint64_t>, Optivo::kStreamNumLost + 1> m_streamValues{};

    mutable std::mutex m_textLock;
    std::map<UInt32, std::string> m_texts; // by DeviceInfoKey

    mutable std::mutex m_imageLock; // guards what follows; a queue's own lock comes after it
    ImageFormat m_format;
    double m_frameRate;
    std::shared_ptr<const CTestPattern> m_pattern; // rendered by the first start
    std::vector<CImageQueue*> m_queues;            // not owned
};

} // namespace OptivoSim
