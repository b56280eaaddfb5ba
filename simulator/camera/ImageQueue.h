// The images of one stream: which are due by the clock or by request, which wait to be grabbed, and
// which were lost because nobody took them. Knows nothing of cameras or the operation tables.
#pragma once

#include "base/ResultCodes.h"
#include "base/Sync.h"
#include "camera/ImageFaults.h"
#include "camera/TestPattern.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>

namespace OptivoSim {

using namespace OptivoBase;

// Images with consecutive numbers, made at regular times.
struct SImageBatch {
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    std::uint64_t first = 0;
    std::uint64_t count = 0;
    TimePoint time; // of the first
    Duration interval{};

    TimePoint TimeOf(std::uint64_t number) const {
        return time + interval * static_cast<Duration::rep>(number - first);
    }
};

// Is told of every image that is made, with the queue locked.
class IImageListener {
public:
    virtual void OnImages(const SImageBatch& images) = 0;

protected:
    ~IImageListener() = default;
};

// What a camera does with a stream while it runs.
struct SImageMaking {
    double rate = 0; // as OptivoSim_SetFrameRate takes it
    // Images that may be made beside those of Produce; 0 while the camera is halted.
    std::uint64_t budget = std::numeric_limits<std::uint64_t>::max();
};

// Thread-safe. Starting and stopping end every wait that is under way.
class CImageQueue {
public:
    using Clock = std::chrono::steady_clock;

    // epoch is when the camera's clock showed 0.
    CImageQueue(IImageListener& listener, CImageFaults& faults, Clock::time_point epoch)
        : m_listener(listener), m_faults(faults), m_epoch(epoch) {}

    // Forgets what waits, and delivers from image 0 on. count is 0xFFFFFFFF for no limit.
    void Start(UInt32 count, const SImageMaking& making,
               std::shared_ptr<const CTestPattern> pattern);
    void Stop();
    bool IsStarted() const;
    // The camera is gone, for good: no image is made any more. There is one to grab, so to say, but
    // every grab ends.
    void End();

    void SetRate(double rate);
    // A clock that runs on the same budget already goes on as it does.
    void SetBudget(std::uint64_t budget);
    void SetPattern(std::shared_ptr<const CTestPattern> pattern);
    // Makes an image as far as the budget goes.
    void Trigger();
    // Makes images beside the clock and the budget; none of them is lost.
    void Produce(std::uint64_t count);

    // Copies the next image, or drops it when destination is null. Answers a GrabResult.
    Int32 Grab(void* destination, UInt32 timeoutMs);
    // True when an image waits; an answer of false takes a while, so that a poll needs little time.
    bool WaitReady();

    // Images made since the start, lost ones included.
    std::uint64_t NumStarted();
    std::uint64_t NumLost();
    // Images that waited to be grabbed when the stream stopped or the camera went.
    std::uint64_t NumUntaken() const;

private:
    static constexpr std::size_t kNumBatches = 32;

    struct SStamp {
        std::uint64_t number = 0;
        Clock::time_point time;
    };

    bool IsClocked() const { return m_isStarted && m_making.budget > 0 && m_making.rate > 0; }
    void DropPending();
    void RestartClock();
    void Book(const SImageBatch& images, std::uint64_t maxPending);
    void BookWithinBudget(SImageBatch images, std::uint64_t maxPending);
    void Remember(const SImageBatch& images);
    Clock::time_point MadeAt(std::uint64_t number);
    void AdvanceClock(Clock::time_point now);
    Clock::time_point NextDue() const;
    Clock::time_point NextChange(Clock::time_point now) const;
    void MakeOnDemand();
    bool FrontIsReady();
    void LoseFront();
    bool WaitForImage(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout);
    SStamp TakeFront();

    IImageListener& m_listener;
    CImageFaults& m_faults;
    const Clock::time_point m_epoch;

    mutable CMutex m_lock;
    CCondition m_changed;
    bool m_isStarted = false;
    bool m_isEnded = false;
    SImageMaking m_making;
    std::uint64_t m_run = 0; // counts starts and stops
    std::shared_ptr<const CTestPattern> m_pattern;

    Clock::time_point m_clockStart;
    std::uint64_t m_clockImages = 0; // images that the clock made since m_clockStart
    std::uint64_t m_allowance = 0;   // images that may still be made
    std::uint64_t m_next = 0;        // number of the image that is grabbed next
    std::uint64_t m_pending = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_untaken = 0;
    // When the pending images were made, a ring that begins at m_firstBatch.
    std::array<SImageBatch, kNumBatches> m_batches;
    std::size_t m_firstBatch = 0;
    std::size_t m_numBatches = 0;

    bool m_isJudged = false; // whether the front image's fault is known
    bool m_isRepeat = false; // the front image is replaced by the one before
    Clock::time_point m_notBefore;
    bool m_hasLast = false;
    SStamp m_last; // the image that was grabbed last
};

} // namespace OptivoSim
