#include "Fixtures.h"

#include "Background.h"
#include "ChildProcess.h"
#include "Consumer.h"

#include <cstdio>
#include <cstdlib>

namespace {

// What a child process does after it was seen to acquire. It never comes back.
[[noreturn]] void EndProcess(const std::function<void(Consumer&)>& prepare) {
    try {
        PrepareWorld();
        auto* consumer = new Consumer(TheProducer());
        consumer->Open();
        consumer->Start();
        consumer->Take(10);
        prepare(*consumer);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        std::exit(3);
    }
    std::exit(0);
}

// A test of this class runs once as the user's process, and once as the child that it starts.
class ExitTest : public testing::Test {
protected:
    void ExpectGoodEnd(const std::function<void(Consumer&)>& prepare) {
        if (ChildRole() == "exit") {
            EndProcess(prepare);
        }
        EXPECT_EQ(RunChild("exit"), 0);
    }
};

TEST_F(ExitTest, ChildrenTellTheirFailures) {
    if (ChildRole() == "exit") {
        EndProcess([](Consumer& consumer) { consumer.Open(); });
    }
    EXPECT_EQ(RunChild("exit"), 3);
}

TEST_F(ExitTest, WhileAThreadAcquires) {
    ExpectGoodEnd([](Consumer&) {});
}

TEST_F(ExitTest, WhileAThreadAcquiresAndTheLibraryIsClosed) {
    ExpectGoodEnd([](Consumer&) { TheProducer().GCCloseLib(); });
}

TEST_F(ExitTest, WhileAThreadWaits) {
    ExpectGoodEnd([](Consumer& consumer) {
        OptivoSim_SetFrameRate(Consumer::CAMERA, -1);
        auto* waiting = new Background([&] {
            int32_t code = 0;
            while (code == 0) {
                code = consumer.WaitForEver();
            }
            return code;
        });
        waiting->AwaitSleep();
    });
}

TEST_F(ExitTest, WhileEventsAreReported) {
    ExpectGoodEnd([](Consumer& consumer) {
        consumer.RegisterDeviceEvent();
        OptivoSim_FireEvents(Consumer::CAMERA, 0x9001, 1, 100000);
    });
}

TEST_F(ExitTest, WhileThreadsFail) {
    ExpectGoodEnd([](Consumer&) {
        for (int i = 0; i < 2; ++i) {
            std::thread([] {
                for (;;) {
                    TheProducer().TLClose(nullptr);
                    TheProducer().GCReadPort(nullptr, 0, nullptr, nullptr);
                }
            }).detach();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
}

} // namespace
