// Everything that one input may call: an operation is one function of the module or a few that are
// alike, and takes its arguments from the input.
#pragma once

#include "Caller.h"

class CCalls : private CCaller {
public:
    explicit CCalls(Bytes& bytes) : CCaller(bytes) {}

    // As long as the input lasts; leaves nothing open.
    void Go();

private:
    void Steer();
    void LastError();
    void Library();
    void CloseLibrary();

    // ModuleCalls.cpp
    void OpenSystem();
    void OpenInterface();
    void OpenDevice();
    void OpenStream();
    void OpenThrough();
    void Close();
    void Lists();
    void UpdateList();
    void Names();
    void DescribeModule();
    void DescribePart();
    void Parents();

    // PortCalls.cpp
    void DescribePort();
    void AccessPort();
    void AccessStacked();
    void RegisterEvent();
    void UseEvent();
    void WaitEvent();

    // StreamCalls.cpp
    void Announce();
    void AnnounceAt(void* stream, std::size_t size);
    void AnnounceAbsurd();
    void Queue();
    void Revoke();
    void Flush();
    void Start();
    void Stop();
    void AskBuffer();
    void AskDelivered(void* stream, void* newBuffer);
    void FindBuffer();
    void NotThere();
};
