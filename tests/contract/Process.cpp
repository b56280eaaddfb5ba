#include "Process.h"

#if defined(_WIN32)

#include <windows.h>

#include <cstdint>
#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <vector>

double ResidentKibibytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize) / 1024;
}

size_t AllocatedBytes() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    size_t sum = 0;
    for (const HANDLE heap : heaps) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heap);
        while (HeapWalk(heap, &entry) != FALSE) {
            sum += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
        HeapUnlock(heap);
    }
    return sum;
}

static double SecondsOf(const FILETIME& time) {
    const uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return static_cast<double>(ticks) / 1e7;
}

double ProcessorSeconds() {
    FILETIME begun, ended, inSystem, inUser;
    GetProcessTimes(GetCurrentProcess(), &begun, &ended, &inSystem, &inUser);
    return SecondsOf(inSystem) + SecondsOf(inUser);
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

// The handles of this process among those of all.
static unsigned CountListedHandles() {
    std::vector<unsigned char> list(1 << 16);
    ULONG needed = 0;
    while (NtQuerySystemInformation(SystemHandleInformation, list.data(),
                                    static_cast<ULONG>(list.size()), &needed) < 0) {
        list.resize(2 * list.size());
    }
    const auto* const handles = reinterpret_cast<const SYSTEM_HANDLE_INFORMATION*>(list.data());
    return static_cast<unsigned>(
        std::count_if(handles->Handle, handles->Handle + handles->Count,
                      [](const auto& handle) { return handle.OwnerPid == GetCurrentProcessId(); }));
}

unsigned NumHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    // Wine knows no count, but a list.
    return count != 0 ? count : CountListedHandles();
}

#else

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <malloc.h>
#include <unistd.h>

double ResidentKibibytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

size_t AllocatedBytes() {
#if defined(UNDER_A_SANITIZER)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
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
