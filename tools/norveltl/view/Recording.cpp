#include "view/Recording.h"

#include "grabbing/ImageCopy.h"
#include "terminal/Console.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace norveltl {

namespace {

constexpr size_t kQueueBytes = size_t{256} << 20;
// Left on the disk, for the system's sake, and for what closes the files.
constexpr uint64_t kSpare = uint64_t{64} << 20;
constexpr std::chrono::milliseconds kWatch{100};

CImageWriter::Sinks SinksOf(const SRecordingPlan& plan, const std::shared_ptr<CImageFolder>& folder,
                            const SRecorded& camera) {
    if (folder) {
        return {folder};
    }
    return {
        std::make_shared<CAviSink>(plan.path, EExisting::Keep, plan.codec, camera.framesPerSecond)};
}

} // namespace

CRecording::CRecording(const SRecordingPlan& plan, SRecorded camera)
    : m_camera(std::move(camera)),
      m_folder(plan.isVideo
                   ? nullptr
                   : std::make_shared<CImageFolder>(plan.path, plan.format, EExisting::Keep)),
      m_path(m_folder ? m_folder->Path() : plan.path),
      m_writer(SinksOf(plan, m_folder, m_camera), kQueueBytes) {
    m_totals.begin = std::chrono::system_clock::now();
    m_thread = std::thread(&CRecording::WatchAndFinish, this);
}

CRecording::~CRecording() {
    End("");
    m_thread.join();
}

void CRecording::Take(CStream& stream, BUFFER_HANDLE buffer, std::optional<uint64_t> numLost) {
    const std::lock_guard lock(m_lock);
    if (m_isOver) {
        return;
    }
    try {
        const std::chrono::duration<double> arrival = Clock::now() - m_begin;
        const size_t size = stream.Bytes(buffer).size();
        ++m_totals.numDelivered;
        m_totals.duration = arrival;
        if (m_totals.numDelivered == 1) {
            m_numLostBefore = numLost;
        }
        if (numLost && m_numLostBefore) {
            m_totals.numLost = *numLost - *m_numLostBefore;
        }
        if (m_writer.HasRoom(size)) {
            m_writer.Add(
                CopyImage(stream, buffer, m_camera.format, m_totals.numDelivered, arrival));
            m_totals.numBytes += size;
        }
    } catch (const std::exception& error) {
        EndLocked(error.what());
        m_hasFailed = true;
    }
}

void CRecording::CountIncomplete() {
    const std::lock_guard lock(m_lock);
    m_totals.numIncomplete += m_isOver ? 0 : 1;
}

void CRecording::End(const std::string& trouble) {
    const std::lock_guard lock(m_lock);
    EndLocked(trouble);
}

void CRecording::EndLocked(const std::string& trouble) {
    if (!m_isOver) {
        m_isOver = true;
        m_trouble = trouble;
        m_changed.notify_all();
    }
}

SRecordingState CRecording::State() const {
    const std::lock_guard lock(m_lock);
    const uint64_t numLeftOut = m_writer.NumLeftOut();
    const std::chrono::duration<double> elapsed = Clock::now() - m_begin;
    return {!m_isOver,
            m_isOver && !m_isWritten,
            m_trouble,
            m_totals.numDelivered - std::min(numLeftOut, m_totals.numDelivered),
            m_totals.numBytes,
            numLeftOut,
            m_writer.NumQueued(),
            m_isOver ? m_totals.duration.count() : elapsed.count()};
}

// What waits will take its share; more than that is nobody's to use up.
bool CRecording::HasSpace() const {
    std::error_code error;
    const auto space = std::filesystem::space(m_folder ? m_path : m_path.parent_path(), error);
    const SRecordingState state = State();
    const uint64_t numTaken = state.numImages + state.numLeftOut;
    const uint64_t size = numTaken > 0 ? state.numBytes / numTaken : 0;
    return error || space.available > kSpare + state.numToWrite * size;
}

void CRecording::WatchAndFinish() {
    std::unique_lock lock(m_lock);
    while (!m_changed.wait_for(lock, kWatch, [this] { return m_isOver; })) {
        lock.unlock();
        const bool hasSpace = HasSpace();
        lock.lock();
        if (!hasSpace) {
            EndLocked("the disk is full but for what it needs itself");
        }
    }
    lock.unlock();
    Finish();
    lock.lock();
    m_isWritten = true;
}

void CRecording::Finish() {
    const auto attempt = [this](auto work) {
        try {
            work();
        } catch (const std::exception& error) {
            ReportError(error.what());
            const std::lock_guard lock(m_lock);
            m_trouble = m_trouble.empty() ? error.what() : m_trouble;
        }
    };
    if (m_hasFailed) {
        ReportError(m_trouble);
    }
    attempt([this] { m_writer.Finish(); });
    if (m_folder) {
        attempt([this] {
            const SRecordingState state = State();
            const SGrabFacts facts{m_totals, m_camera.settings, m_camera.format, state.numLeftOut,
                                   !state.trouble.empty()};
            WriteGrabReport(*m_folder, m_camera.origin, facts, EExisting::Keep);
        });
    }
}

} // namespace norveltl
