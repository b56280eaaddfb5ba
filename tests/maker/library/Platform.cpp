#include "Platform.h"

extern "C" {
void AcquireSRWLockExclusive(void** lock);
void ReleaseSRWLockExclusive(void** lock);
int SleepConditionVariableSRW(void** condition, void** lock, unsigned long milliseconds,
                              unsigned long flags);
void WakeAllConditionVariable(void** condition);
void* CreateThread(void* attributes, Optivo::Size stack, Optivo::UInt32 (*body)(void*),
                   void* context, unsigned long flags, unsigned long* id);
unsigned long WaitForSingleObject(void* handle, unsigned long milliseconds);
int CloseHandle(void* handle);
unsigned long GetCurrentThreadId();
int QueryPerformanceCounter(long long* ticks);
int QueryPerformanceFrequency(long long* ticks);

[[noreturn]] void abort();
void* malloc(Optivo::Size size);
void free(void* memory);
int strcmp(const char* left, const char* right);
Optivo::Size strlen(const char* text);
void* memcpy(void* destination, const void* source, Optivo::Size size);

// What the compiler asks of the runtime.
extern const int _fltused;
const int _fltused = 0x9875;
[[noreturn]] void __std_terminate() {
    abort();
}

int DllMain(void*, unsigned long, void*) {
    return 1;
}
}

void* operator new(Optivo::Size size) {
    return malloc(size);
}
void operator delete(void* memory) noexcept {
    free(memory);
}
void operator delete(void* memory, Optivo::Size) noexcept {
    free(memory);
}

namespace Maker {
namespace {

void* g_lock = nullptr;
void* g_changed = nullptr;

} // namespace

CGuard::CGuard() {
    AcquireSRWLockExclusive(&g_lock);
}

CGuard::~CGuard() {
    ReleaseSRWLockExclusive(&g_lock);
}

COpening::COpening() {
    ReleaseSRWLockExclusive(&g_lock);
}

COpening::~COpening() {
    AcquireSRWLockExclusive(&g_lock);
}

void CGuard::Wait(UInt32 milliseconds) {
    SleepConditionVariableSRW(&g_changed, &g_lock, milliseconds, 0);
}

void TellChange() {
    WakeAllConditionVariable(&g_changed);
}

void* StartThread(UInt32 (*body)(void*), void* context) {
    return CreateThread(nullptr, 0, body, context, 0, nullptr);
}

void JoinThread(void* thread) {
    WaitForSingleObject(thread, CGuard::kForever);
    CloseHandle(thread);
}

UInt32 ThisThread() {
    return GetCurrentThreadId();
}

double Seconds() {
    long long ticks = 0;
    long long perSecond = 1;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(ticks) / static_cast<double>(perSecond);
}

bool AreEqual(const char* left, const char* right) {
    return strcmp(left, right) == 0;
}

Size Length(const char* text) {
    return strlen(text);
}

void Copy(void* destination, const void* source, Size size) {
    memcpy(destination, source, size);
}

} // namespace Maker
