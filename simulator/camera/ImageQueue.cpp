#include "camera/ImageQueue.h"

#include <algorithm>
#include <utility>

namespace OptivoSim {

namespace {

constexpr UInt32 kNoLimit = 0xFFFFFFFF;
constexpr std::uint64_t kUnbounded = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kNumInternalBuffers = 16;
constexpr std::chrono::milliseconds kReadyWait(20);
constexpr std::chrono::milliseconds kIdleWait(2);
constexpr std::chrono::milliseconds kLossPause(1);
constexpr double kMostImages = 1e18;
constexpr double kLongestWaitSeconds = 1e9;

SImageBatch::Duration Seconds(double seconds) {
    return std::chrono::ceil<SImageBatch::Duration>(
        std::chrono::duration<double>(std::min(seconds, kLongestWaitSeconds)));
}

} // namespace

void CImageQueue::Start(UInt32 count, const SImageMaking& making,
                        std::shared_ptr<const CTestPattern> pattern) {
    const std::lock_guard lock(m_lock);
    m_isStarted = !m_isEnded;
    m_making = making;
    m_pattern = std::move(pattern);
    m_allowance = count == kNoLimit ? kUnbounded : count;
    m_next = 0;
    m_pending = 0;
    m_lost = 0;
    m_untaken = 0;
    m_numBatches = 0;
    m_isJudged = false;
    m_hasLast = false;
    RestartClock();
    ++m_run;
    m_changed.notify_all();
}

void CImageQueue::Stop() {
    const std::lock_guard lock(m_lock);
    DropPending();
    ++m_run;
    m_changed.notify_all();
}

void CImageQueue::DropPending() {
    AdvanceClock(Clock::now());
    m_isStarted = false;
    m_next += m_pending;
    m_untaken += m_pending;
    m_pending = 0;
    m_numBatches = 0;
    m_isJudged = false;
}

bool CImageQueue::IsStarted() const {
    const std::lock_guard lock(m_lock);
    return m_isStarted;
}

void CImageQueue::End() {
    const std::lock_guard lock(m_lock);
    DropPending();
    m_isEnded = true;
    m_changed.notify_all();
}

void CImageQueue::SetRate(double rate) {
    const std::lock_guard lock(m_lock);
    if (m_making.rate != rate) {
        AdvanceClock(Clock::now());
        m_making.rate = rate;
        RestartClock();
        m_changed.notify_all();
    }
}

void CImageQueue::SetBudget(std::uint64_t budget) {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    if (m_making.budget != budget) {
        m_making.budget = budget;
        RestartClock();
        m_changed.notify_all();
    }
}

void CImageQueue::SetPattern(std::shared_ptr<const CTestPattern> pattern) {
    const std::lock_guard lock(m_lock);
    m_pattern = std::move(pattern);
}

void CImageQueue::Trigger() {
    const std::lock_guard lock(m_lock);
    if (m_isStarted) {
        BookWithinBudget({.count = 1, .time = Clock::now()}, kUnbounded);
        m_changed.notify_all();
    }
}

void CImageQueue::Produce(std::uint64_t count) {
    const std::lock_guard lock(m_lock);
    if (m_isStarted) {
        Book({.count = count, .time = Clock::now()}, kUnbounded);
        m_changed.notify_all();
    }
}

Int32 CImageQueue::Grab(void* destination, UInt32 timeoutMs) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (!m_isEnded && !WaitForImage(lock, std::chrono::milliseconds(timeoutMs))) {
        return m_isEnded ? Optivo::kGrabEnded : Optivo::kGrabNothingYet;
    }
    if (m_isEnded) {
        return Optivo::kGrabEnded;
    }
    const SStamp stamp = TakeFront();
    if (destination != nullptr) {
        const std::shared_ptr<const CTestPattern> pattern = m_pattern;
        lock.unlock();
        const std::chrono::nanoseconds time = stamp.time - m_epoch;
        pattern->CopyImage(stamp.number, static_cast<std::uint64_t>(time.count()), destination);
    }
    return Optivo::kGrabDelivered;
}

bool CImageQueue::WaitReady() {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_isEnded) {
        return true;
    }
    if (!m_isStarted) {
        const std::uint64_t run = m_run;
        m_changed.wait_for(lock, kIdleWait, [&] { return m_run != run || m_isEnded; });
        return m_isEnded;
    }
    return WaitForImage(lock, kReadyWait) || m_isEnded;
}

std::uint64_t CImageQueue::NumStarted() {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    return m_next + m_pending;
}

std::uint64_t CImageQueue::NumLost() {
    const std::lock_guard lock(m_lock);
    AdvanceClock(Clock::now());
    return m_lost;
}

std::uint64_t CImageQueue::NumUntaken() const {
    const std::lock_guard lock(m_lock);
    return m_untaken;
}

void CImageQueue::RestartClock() {
    m_clockStart = Clock::now();
    m_clockImages = 0;
}

void CImageQueue::BookWithinBudget(SImageBatch images, std::uint64_t maxPending) {
    images.count = std::min(images.count, m_making.budget);
    if (m_making.budget != kUnbounded) {
        m_making.budget -= images.count;
    }
    Book(images, maxPending);
}

// A lost image is made up for, so that an acquisition of a given length still delivers all of it.
void CImageQueue::Book(const SImageBatch& images, std::uint64_t maxPending) {
    if (images.count == 0 || m_allowance == 0) {
        return;
    }
    SImageBatch made = images;
    made.first = m_next + m_pending;
    const std::uint64_t room = maxPending - std::min(maxPending, m_pending);
    const std::uint64_t kept = std::min({images.count, m_allowance, room});
    m_pending += kept;
    if (m_allowance != kUnbounded) {
        m_allowance -= kept;
    }
    if (m_allowance > 0) {
        // Whatever found no room pushed out as many of the oldest images.
        m_next += images.count - kept;
        m_lost += images.count - kept;
        m_isJudged = m_isJudged && images.count == kept;
    } else {
        made.count = kept;
    }
    Remember(made);
    m_listener.OnImages(made);
}

void CImageQueue::Remember(const SImageBatch& images) {
    // What is gone makes room.
    while (m_numBatches > 0 &&
           m_batches[m_firstBatch].first + m_batches[m_firstBatch].count <= m_next) {
        m_firstBatch = (m_firstBatch + 1) % kNumBatches;
        --m_numBatches;
    }
    if (m_numBatches == kNumBatches) {
        m_batches[(m_firstBatch + m_numBatches - 1) % kNumBatches].count += images.count;
        return;
    }
    m_batches[(m_firstBatch + m_numBatches) % kNumBatches] = images;
    ++m_numBatches;
}

CImageQueue::Clock::time_point CImageQueue::MadeAt(std::uint64_t number) {
    for (std::size_t i = 0; i < m_numBatches; ++i) {
        const SImageBatch& batch = m_batches[(m_firstBatch + i) % kNumBatches];
        if (number < batch.first + batch.count) {
            return batch.TimeOf(number);
        }
    }
    return m_clockStart;
}

void CImageQueue::AdvanceClock(Clock::time_point now) {
    if (!IsClocked()) {
        return;
    }
    const double seconds = std::chrono::duration<double>(now - m_clockStart).count();
    const auto due =
        static_cast<std::uint64_t>(std::clamp(seconds * m_making.rate, 0.0, kMostImages));
    if (due > m_clockImages) {
        const SImageBatch images{.count = due - m_clockImages,
                                 .time = NextDue(),
                                 .interval = Seconds(1 / m_making.rate)};
        m_clockImages = due;
        BookWithinBudget(images, kNumInternalBuffers);
    }
}

CImageQueue::Clock::time_point CImageQueue::NextDue() const {
    return m_clockStart + Seconds(static_cast<double>(m_clockImages + 1) / m_making.rate);
}

// Without a clock, an image is there as soon as it is asked for.
void CImageQueue::MakeOnDemand() {
    if (m_isStarted && m_making.rate == 0 && m_pending == 0) {
        BookWithinBudget({.count = 1, .time = Clock::now()}, kUnbounded);
    }
}

void CImageQueue::LoseFront() {
    ++m_next;
    --m_pending;
    ++m_lost;
    if (m_allowance != kUnbounded) {
        ++m_allowance;
    }
}

// Whether the image in front may be grabbed; images that a fault loses go here.
bool CImageQueue::FrontIsReady() {
    while (m_pending > 0) {
        if (!m_isJudged) {
            m_isRepeat = false;
            m_notBefore = {};
            if (const auto fault = m_faults.Take()) {
                if (fault->kind == OPTIVO_IMAGE_LOST) {
                    LoseFront();
                    continue;
                }
                m_isRepeat = fault->kind == OPTIVO_IMAGE_REPEATED;
                if (fault->kind == OPTIVO_IMAGE_LATE) {
                    m_notBefore = MadeAt(m_next) + std::chrono::milliseconds(fault->delayMs);
                }
            }
            m_isJudged = true;
        }
        return m_notBefore == Clock::time_point{} || Clock::now() >= m_notBefore;
    }
    return false;
}

// When an image may be ready that is not yet.
CImageQueue::Clock::time_point CImageQueue::NextChange(Clock::time_point now) const {
    if (m_pending > 0) {
        return m_notBefore;
    }
    if (IsClocked()) {
        return NextDue();
    }
    // Without a clock, a fault took the image that was made on demand.
    const bool isOnDemand = m_making.rate == 0 && m_making.budget > 0 && m_allowance > 0;
    return isOnDemand ? now + kLossPause : Clock::time_point::max();
}

bool CImageQueue::WaitForImage(std::unique_lock<std::mutex>& lock,
                               std::chrono::milliseconds timeout) {
    MakeOnDemand();
    if (!IsClocked() && FrontIsReady()) {
        return true;
    }
    const std::uint64_t run = m_run;
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;;) {
        const Clock::time_point now = Clock::now();
        AdvanceClock(now);
        MakeOnDemand();
        if (FrontIsReady()) {
            return true;
        }
        if (!m_isStarted || m_isEnded || m_run != run || now >= deadline) {
            return false;
        }
        m_changed.wait_until(lock, std::min(deadline, NextChange(now)));
    }
}

CImageQueue::SStamp CImageQueue::TakeFront() {
    const std::uint64_t number = m_next;
    if (!m_isRepeat || !m_hasLast) {
        m_last = {number, MadeAt(number)};
        m_hasLast = true;
    }
    ++m_next;
    --m_pending;
    m_isJudged = false;
    return m_last;
}

} // namespace OptivoSim
