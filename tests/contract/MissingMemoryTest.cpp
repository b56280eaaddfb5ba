// A buffer whose memory could not be allocated ends the process when the acquisition comes to it.
#include "StreamFixtures.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>
#include <sys/wait.h>
#endif

#if defined(__SANITIZE_THREAD__)
// An allocation that fails answers null under this sanitizer too, as everywhere else.
extern "C" __attribute__((weak, visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

namespace {

class MissingMemoryDeathTest : public MonoStreamTest {
protected:
    // More memory than any machine has.
    void QueueWithoutMemory() {
        AnnounceBuffers(1, SIZE_MAX / 2);
        void* memory = nullptr;
        size_t size = sizeof memory;
        ASSERT_FAILS(-1001, "Invalid Memory Buffer",
                     gentl.DSGetBufferInfo(stream, buffers[0], 0, nullptr, &memory, &size));
        QueueAll();
    }

    void AcquireWithoutMemory() {
        ASSERT_NO_FATAL_FAILURE(QueueWithoutMemory());
        RegisterNewBuffer();
        Start();
        Produce(1);
        WaitBuffer();
    }
};

TEST_F(MissingMemoryDeathTest, SuchABufferIsQueuedLikeAnyOther) {
    QueueWithoutMemory();
    ExpectLengths(1, 0);
    ExpectFlags(buffers[0], true, false);
}

TEST_F(MissingMemoryDeathTest, SuchABufferWaitsForAnImage) {
    QueueWithoutMemory();
    Start();
    EXPECT_TRUE(
        Eventually([] { return OptivoSim_LastSelector(OPTIVO_STREAM_GET_STREAM_INFO) == 3; }));
    EXPECT_TRUE(IsGrabbing());
    ExpectLengths(1, 0);
}

#if defined(_WIN32)

constexpr wchar_t IS_CHILD[] = L"NORVELTL_TEST_MISSING_MEMORY";

// Runs this test alone in a process of its own, and answers its exit code.
DWORD ExitCodeOfChild() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    std::wstring command = L"\"" + path +
                           L"\" --gtest_filter=MissingMemoryDeathTest.EndsTheProcess"
                           L" --gtest_output= --gtest_brief=1";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    SetEnvironmentVariableW(IS_CHILD, L"1");
    const BOOL isStarted = CreateProcessW(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0,
                                          nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableW(IS_CHILD, nullptr);
    DWORD exitCode = 0;
    if (isStarted != 0) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    return exitCode;
}

TEST_F(MissingMemoryDeathTest, EndsTheProcess) {
    if (GetEnvironmentVariableW(IS_CHILD, nullptr, 0) != 0) {
        SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
        AcquireWithoutMemory();
        FAIL() << "the process goes on";
    }
    const DWORD exitCode = ExitCodeOfChild();
    // Neither a success nor a failed test.
    EXPECT_NE(exitCode, 0U);
    EXPECT_NE(exitCode, 1U);
}

#else

bool IsAborted(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

TEST_F(MissingMemoryDeathTest, EndsTheProcess) {
    EXPECT_EXIT(AcquireWithoutMemory(), IsAborted, "Invalid Memory Buffer");
}

#endif

} // namespace
