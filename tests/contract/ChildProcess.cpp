#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#if defined(_WIN32)
#include <process.h>
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

const char* const ROLE = "NORVELTL_TEST_ROLE";

std::string OwnFilter() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string("--gtest_filter=") + test.test_suite_name() + "." + test.name();
}

#if defined(_WIN32)

int Run(const std::string& filter) {
    char program[2048] = {};
    GetModuleFileNameA(nullptr, program, sizeof(program) - 1);
    const std::string quoted = std::string("\"") + program + '"';
    return static_cast<int>(
        _spawnl(_P_WAIT, program, quoted.c_str(), filter.c_str(), static_cast<char*>(nullptr)));
}

#else

int Run(const std::string& filter) {
    std::string program = "/proc/self/exe";
    std::string option = filter;
    std::vector<char*> arguments = {program.data(), option.data(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) {
        return -1;
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

#endif

} // namespace

std::string ChildRole() {
    const char* role = std::getenv(ROLE);
    return role != nullptr ? role : "";
}

int RunChild(const std::string& role) {
    SetVariable(ROLE, role);
    const int code = Run(OwnFilter());
    SetVariable(ROLE, "");
    return code;
}

void SetVariable(const std::string& name, const std::string& value) {
#if defined(_WIN32)
    _putenv_s(name.c_str(), value.c_str());
#else
    if (value.empty()) {
        unsetenv(name.c_str());
    } else {
        setenv(name.c_str(), value.c_str(), 1);
    }
#endif
}
