#include "Process.h"

#if defined(_WIN32)

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

double ResidentKibibytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize) / 1024;
}

unsigned NumThreads() {
    unsigned count = 0;
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL found = Thread32First(snapshot, &entry); found != FALSE;
         found = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) {
            ++count;
        }
    }
    CloseHandle(snapshot);
    return count;
}

unsigned NumHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

#else

#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

double ResidentKibibytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

static unsigned NumEntries(const char* folder) {
    const auto count = std::distance(std::filesystem::directory_iterator(folder), {});
    return static_cast<unsigned>(count);
}

unsigned NumThreads() {
    return NumEntries("/proc/self/task");
}

unsigned NumHandles() {
    return NumEntries("/proc/self/fd");
}

#endif
