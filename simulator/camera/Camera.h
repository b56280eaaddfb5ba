// One camera: its description, registers, settings and event callback, and the streams that deliver
// its images. Knows nothing of the operation tables, faults or the world around it.
#pragma once

#include "base/Registers.h"
#include "base/ResultCodes.h"
#include "base/Sync.h"
#include "camera/CameraModel.h"
#include "camera/CameraState.h"
#include "camera/EventSlot.h"
#include "camera/ImageFaults.h"
#include "camera/ImageQueue.h"
#include "camera/TestPattern.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace OptivoSim {

using namespace OptivoBase;

// Thread-safe.
class CCamera final : public std::enable_shared_from_this<CCamera>, public IImageListener {
public:
    explicit CCamera(const SCameraModel& model);

    const std::string& Name() const { return m_name; }
    // The single owner that the camera may have; false when it has one already. A new owner finds
    // the payload unlocked.
    bool Acquire() { return !m_isOwned.exchange(true); }
    // Does nothing for an owner whose connection was cut.
    void Release(unsigned connection);

    // An unplugged camera is not discovered and has no owner. What was opened before the plug was
    // pulled stays dead: it has another connection.
    void Unplug();
    void Plug() { m_isPlugged = true; }
    bool IsPlugged() const { return m_isPlugged; }
    // The same for an update of the list that holds it: some plug themselves in after a while.
    bool IsPluggedAtUpdate();
    unsigned Connection() const { return m_connection; }
    bool IsConnected(unsigned connection) const {
        return m_isPlugged && m_connection == connection;
    }

    Int32 GetInfo(UInt32 key, void* buffer, Size* size) const;
    bool SetText(UInt32 key, const std::string& text);
    void SetStatus(UInt32 status) { m_status = status; }
    UInt32 NumStreams() const { return m_numStreams; }
    void SetNumStreams(UInt32 count) { m_numStreams = count; }

    Int32 ReadPort(UInt64 address, void* destination, const Size* size) const;
    Int32 WritePort(UInt64 address, const void* source, const Size* size);

    CEventSlot& Events() { return m_events; }
    void AddImageFault(const OptivoImageFault& fault) { m_imageFaults.Add(fault); }

    // A queue for the images of one stream, which must be detached before it goes.
    std::unique_ptr<CImageQueue> Attach();
    void Detach(CImageQueue& queue);
    Int32 Start(CImageQueue& queue, UInt32 count);
    // As OptivoSim_SetFrameRate.
    bool SetFrameRate(double rate);
    void Produce(std::uint64_t count);
    // Of all streams, since they started.
    std::uint64_t NumUntaken() const;
    // An edge on the trigger line.
    void PulseLine(ETriggerActivation edge);
    // False while a stream is started, or for a size that is 0 or beyond 16384.
    bool SetImageSize(UInt32 width, UInt32 height);
    std::uint64_t PayloadSize() const;

    // The values that a test gives the stream info commands 5, 6, 7, 8 and 11.
    bool SetStreamValue(UInt32 command, std::uint64_t value);
    std::uint64_t StreamValue(UInt32 command) const;

private:
    void DefineRegisters(const SCameraModel& model);
    std::uint64_t Now() const;
    bool IsStarted() const;
    bool WaitsForTrigger(ETrigger trigger) const;
    double Rate() const;
    std::uint64_t Budget() const;
    Int32 WriteUserId(UInt64 offset, const void* source, Size size);
    Int32 Execute(UInt64 command);
    Int32 Change(UInt64 address, const void* source, Size size);
    void Apply(const SPicture& before);
    void SetBudgets(std::uint64_t budget);
    void GiveUp();
    void Fire(ETrigger trigger);
    void OnImages(const SImageBatch& images) override;
    void Report(EEvent event, const SImageBatch& images);
    void DoOnceMade(std::uint64_t before, std::uint64_t after);

    const std::string m_name;
    const SImageBatch::TimePoint m_epoch;
    std::atomic<bool> m_isOwned{false};
    std::atomic<bool> m_isPlugged{true};
    std::atomic<unsigned> m_connection{0};
    std::atomic<UInt32> m_status;
    std::atomic<UInt32> m_numStreams;
    CRegisters m_registers; // texts, memory and description; the numbers are in the state
    CEventSlot m_events;
    CImageFaults m_imageFaults;
    std::array<std::atomic<std::uint64_t>, Optivo::kStreamNumLost + 1> m_streamValues{};

    // Touched with a queue locked, so without this camera's locks.
    std::array<std::atomic<bool>, kNumEvents> m_isEventOn{};
    std::atomic<SImageBatch::Duration> m_exposure{};
    std::atomic<std::uint64_t> m_numMade{0};
    const std::vector<SEventBurst> m_bursts;
    const std::uint64_t m_unplugAfter;
    const std::uint32_t m_plugAfter;
    std::atomic<std::uint32_t> m_numMissed{0}; // updates, since the plug was pulled

    mutable CMutex m_textLock;
    std::map<UInt32, std::string> m_texts; // by DeviceInfoKey

    mutable CMutex m_lock; // guards what follows; a queue's own lock comes after it
    SCameraState m_state;
    bool m_isManual = false;                       // images come on request only
    std::shared_ptr<const CTestPattern> m_pattern; // rendered by the first start
    std::vector<CImageQueue*> m_queues;            // not owned
};

} // namespace OptivoSim
