// A call that another thread of the consumer makes while the test goes on.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

class Background {
public:
    // call answers a code. It must not use the test framework's checks.
    explicit Background(std::function<int32_t()> call);
    ~Background();
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    // Returns when the thread waits in its call, or has ended.
    void AwaitSleep();
    bool IsDone() const { return m_isDone; }
    // Waits for the end of the call and answers its code. A call that hangs ends the process, as
    // nothing that it uses can be cleaned up.
    int32_t Finish();

private:
    bool IsAsleep() const;

    std::function<int32_t()> m_call;
    std::atomic<bool> m_isDone{false};
    std::atomic<long> m_threadId{0};
    int32_t m_code = 0;
    std::thread m_thread;
};

// Runs each call on a thread of its own and answers their codes when all have ended.
std::vector<int32_t> RunTogether(const std::vector<std::function<int32_t()>>& calls);
