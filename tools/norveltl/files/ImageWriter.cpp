#include "files/ImageWriter.h"

#include <algorithm>
#include <utility>

namespace norveltl {

namespace {

constexpr unsigned kMaxThreads = 8;

} // namespace

CImageWriter::CImageWriter(Sinks sinks, size_t capacity)
    : m_sinks(std::move(sinks)), m_capacity(capacity) {
    PreparePng();
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1U, kMaxThreads);
    for (unsigned i = 0; i < count; ++i) {
        m_threads.emplace_back(&CImageWriter::Run, this);
    }
}

CImageWriter::~CImageWriter() {
    Join();
}

// A first image always has room, however large it is.
bool CImageWriter::HasRoom(size_t size) {
    const std::lock_guard lock(m_mutex);
    if (m_failure) {
        m_isThrown = true;
        std::rethrow_exception(m_failure);
    }
    const bool hasRoom = m_queue.empty() || m_numBytes + size <= m_capacity;
    if (!hasRoom) {
        ++m_numLeftOut;
    }
    return hasRoom;
}

void CImageWriter::Add(SImage image) {
    const std::lock_guard lock(m_mutex);
    m_numBytes += image.bytes.size();
    m_queue.push_back(std::move(image));
    m_changed.notify_one();
}

void CImageWriter::Finish() {
    Join();
    for (const auto& sink : m_sinks) {
        try {
            sink->Finish();
        } catch (...) {
            m_failure = m_failure ? m_failure : std::current_exception();
        }
    }
    if (m_failure && !std::exchange(m_isThrown, true)) {
        std::rethrow_exception(m_failure);
    }
}

size_t CImageWriter::NumQueued() const {
    const std::lock_guard lock(m_mutex);
    return m_queue.size();
}

uint64_t CImageWriter::NumLeftOut() const {
    const std::lock_guard lock(m_mutex);
    return m_numLeftOut;
}

void CImageWriter::Join() {
    {
        const std::lock_guard lock(m_mutex);
        m_finishing = true;
        m_changed.notify_all();
    }
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void CImageWriter::Run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_queue.empty() || m_finishing || m_failure; });
        if (m_queue.empty() || m_failure) {
            return;
        }
        const SImage image = std::move(m_queue.front());
        m_queue.pop_front();
        const uint64_t turn = m_numTaken++;
        lock.unlock();
        std::exception_ptr failure;
        try {
            Write(image, turn);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        m_numBytes -= image.bytes.size();
        if (failure) {
            m_failure = m_failure ? m_failure : failure;
            m_changed.notify_all();
            return;
        }
    }
}

// Each image has its turn, also one that failed, so that those behind it come to theirs.
void CImageWriter::Write(const SImage& image, uint64_t turn) {
    std::vector<std::function<void()>> rest;
    std::exception_ptr failure;
    const auto attempt = [&failure](auto work) {
        try {
            work();
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    };
    for (const auto& sink : m_sinks) {
        attempt([&] { rest.push_back(sink->Write(image)); });
    }
    std::unique_lock lock(m_mutex);
    m_nextTurn.wait(lock, [&] { return m_turn == turn; });
    lock.unlock();
    for (const auto& work : rest) {
        attempt(work);
    }
    lock.lock();
    ++m_turn;
    m_nextTurn.notify_all();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace norveltl
