#include "Fixtures.h"

#include "Background.h"
#include "ChildProcess.h"
#include "Consumer.h"
#include "Process.h"
#include "Steering.h"

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

bool IsLoaded(const std::string& path) {
#if defined(_WIN32)
    return GetModuleHandleA(path.c_str()) != nullptr;
#else
    void* library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr) {
        dlclose(library);
    }
    return library != nullptr;
#endif
}

// A copy of the module is loaded, used and unloaded; the process goes on.
class UnloadTest : public testing::Test {
protected:
    void SetUp() override { PrepareWorld(); }

    void TearDown() override {
        EXPECT_EQ(alive.Systems(), 0U);
        EXPECT_EQ(alive.Interfaces(), 0U);
        EXPECT_EQ(alive.Devices(), 0U);
        EXPECT_EQ(alive.Streams(), 0U);
    }

    static int32_t Acquire(const Producer& producer) {
        Consumer consumer(producer);
        consumer.Open();
        consumer.RegisterDeviceEvent();
        OptivoSim_FireEvents(Consumer::CAMERA, 0x9001, 1, 10);
        consumer.Start();
        consumer.Take(5);
        consumer.Close();
        return producer.TLClose(nullptr) == -1002 ? 0 : 1;
    }

    static void ExpectUnloaded([[maybe_unused]] const std::string& path) {
#if defined(_WIN32)
        // Its run-time libraries could not give back what they took, so that it stays.
        EXPECT_TRUE(IsLoaded(path));
#elif !defined(UNDER_A_SANITIZER)
        EXPECT_FALSE(IsLoaded(path));
#endif
    }

    AliveCount alive;
};

TEST_F(UnloadTest, AfterClosingEverything) {
    for (int i = 0; i < 20; ++i) {
        auto producer = Producer::LoadCopy();
        const std::string path = producer->Path();
        ASSERT_TRUE(IsLoaded(path));
        ASSERT_EQ(Acquire(*producer), 0);
        producer.reset();
        ExpectUnloaded(path);
    }
}

// What the module keeps for a thread of the consumer must not outlive the module.
TEST_F(UnloadTest, BeforeTheThreadsEndThatUsedIt) {
    for (int i = 0; i < 5; ++i) {
        auto producer = Producer::LoadCopy();
        std::atomic<bool> isUnloaded = false;
        std::atomic<bool> isUsed = false;
        Background consumer([&] {
            const int32_t code = Acquire(*producer);
            isUsed = true;
            while (!isUnloaded) {
                std::this_thread::yield();
            }
            return code;
        });
        EXPECT_TRUE(Eventually([&] { return isUsed || consumer.IsDone(); }));
        producer.reset();
        isUnloaded = true;
        EXPECT_EQ(consumer.Finish(), 0);
    }
}

TEST_F(UnloadTest, WithoutAnyUse) {
    for (int i = 0; i < 5; ++i) {
        auto producer = Producer::LoadCopy();
        EXPECT_CODE(-1002, producer->TLClose(nullptr));
    }
}

// The consumer forgets to stop: a process of its own, as the thread stays for good.
TEST_F(UnloadTest, WhileAThreadAcquires) {
    if (ChildRole() == "unload") {
        auto producer = Producer::LoadCopy();
        Consumer consumer(*producer);
        consumer.Open();
        consumer.Start();
        consumer.Take(5);
        producer.reset();
        const uint64_t before = NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        const bool goesOn =
            Eventually([&] { return NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > before + 5; });
        std::exit(goesOn ? 0 : 4);
    }
    EXPECT_EQ(RunChild("unload"), 0);
}

// The consumer forgets to close a camera, which goes on to report.
TEST_F(UnloadTest, WhileACameraReportsEvents) {
    if (ChildRole() == "unload") {
        auto producer = Producer::LoadCopy();
        Consumer consumer(*producer);
        consumer.Open();
        consumer.RegisterDeviceEvent();
        producer.reset();
        std::exit(OptivoSim_FireEvent(Consumer::CAMERA, 0x9001, 1) == 1 ? 0 : 4);
    }
    EXPECT_EQ(RunChild("unload"), 0);
}

// A callback that the camera library would not remove is gone with its camera.
TEST_F(UnloadTest, AfterACallbackThatCouldNotBeRemoved) {
    auto producer = Producer::LoadCopy();
    const std::string path = producer->Path();
    const OptivoFault refuseToRemove = {OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK,
                                        OPTIVO_FAULT_RESULT,
                                        -1001,
                                        OPTIVO_ANY_SELECTOR,
                                        1,
                                        OPTIVO_FOREVER};
    OptivoSim_AddFault(&refuseToRemove);
    ASSERT_EQ(Acquire(*producer), 0);
    producer.reset();
    ExpectUnloaded(path);
}

// What is loaded again is ready to use, whether or not it had stayed.
TEST_F(UnloadTest, AndLoadingAgain) {
    for (int i = 0; i < 5; ++i) {
        const auto producer = Producer::Load();
        ASSERT_EQ(Acquire(*producer), 0);
    }
}

// Two modules in one process share nothing but the camera library.
TEST_F(UnloadTest, WhileAnotherCopyAcquires) {
    Consumer consumer(TheProducer());
    consumer.Open();
    consumer.Start();
    consumer.Take(5);
    for (int i = 0; i < 5; ++i) {
        auto producer = Producer::LoadCopy();
        EXPECT_CODE(-1008, producer->GCGetLastError(nullptr, nullptr, nullptr));
        EXPECT_OK(producer->GCInitLib());
        TL_HANDLE system = nullptr;
        EXPECT_OK(producer->TLOpen(&system));
        uint32_t count = 0;
        EXPECT_OK(producer->TLGetNumInterfaces(system, &count));
        EXPECT_EQ(count, 2U);
        EXPECT_OK(producer->TLClose(system));
        EXPECT_OK(producer->GCCloseLib());
        producer.reset();
        consumer.Take(5);
    }
    consumer.Close();
}

} // namespace
