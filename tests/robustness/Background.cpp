#include "Background.h"

#include "Fixtures.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#if defined(__linux__)
#include <fstream>

#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

long CurrentThreadId() {
#if defined(__linux__)
    return syscall(SYS_gettid);
#else
    return 1;
#endif
}

} // namespace

Background::Background(std::function<int32_t()> call) : m_call(std::move(call)) {
    m_thread = std::thread([this] {
        m_threadId = CurrentThreadId();
        m_code = m_call();
        m_isDone = true;
    });
}

Background::~Background() {
    if (m_thread.joinable()) {
        Finish();
    }
}

#if defined(__linux__)

bool Background::IsAsleep() const {
    std::ifstream file("/proc/self/task/" + std::to_string(m_threadId.load()) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t nameEnd = line.rfind(')');
    return nameEnd != std::string::npos && line.compare(nameEnd, 3, ") S") == 0;
}

#else

// Where no state can be asked, time must do.
bool Background::IsAsleep() const {
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    return true;
}

#endif

void Background::AwaitSleep() {
    constexpr int ENOUGH = 3;
    // A thread that polls for the end of its wait never sleeps for long.
    constexpr int TOO_MUCH = 50;
    ASSERT_TRUE(Eventually([this] { return m_threadId != 0; }));
    int numAsleep = 0;
    for (int i = 0; i < TOO_MUCH && numAsleep < ENOUGH && !m_isDone; ++i) {
        numAsleep = IsAsleep() ? numAsleep + 1 : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

int32_t Background::Finish() {
    if (!Eventually([this] { return IsDone(); })) {
        std::fprintf(stderr, "A call of another thread does not return.\n");
        std::abort();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_code;
}

std::vector<int32_t> RunTogether(const std::vector<std::function<int32_t()>>& calls) {
    std::atomic<size_t> numReady = 0;
    std::vector<std::unique_ptr<Background>> running;
    for (const auto& call : calls) {
        running.push_back(std::make_unique<Background>([&, call] {
            ++numReady;
            while (numReady < calls.size()) {
                std::this_thread::yield();
            }
            return call();
        }));
    }
    std::vector<int32_t> codes;
    for (const auto& one : running) {
        codes.push_back(one->Finish());
    }
    return codes;
}
