// Calls the module's functions in any order with any arguments, while its camera library fails in
// every way, and checks what holds for every answer.
#include "Calls.h"

#include "Faults.h"

#include "OptivoSim.h"

void CCalls::Go() {
    gentl.GCInitLib();
    gentl.GCGetInfo(99, nullptr, nullptr, nullptr); // there is an error to read
    for (int left = 120; left > 0 && m_bytes.remaining_bytes() > 0; --left) {
        static constexpr void (CCalls::*OPERATIONS[])() = {
            &CCalls::Steer,          &CCalls::Steer,         &CCalls::OpenSystem,
            &CCalls::OpenInterface,  &CCalls::OpenDevice,    &CCalls::OpenDevice,
            &CCalls::OpenStream,     &CCalls::OpenStream,    &CCalls::OpenThrough,
            &CCalls::OpenThrough,    &CCalls::OpenThrough,   &CCalls::Close,
            &CCalls::Lists,          &CCalls::UpdateList,    &CCalls::Names,
            &CCalls::DescribeModule, &CCalls::DescribePart,  &CCalls::DescribePort,
            &CCalls::AccessPort,     &CCalls::AccessPort,    &CCalls::AccessStacked,
            &CCalls::RegisterEvent,  &CCalls::RegisterEvent, &CCalls::UseEvent,
            &CCalls::UseEvent,       &CCalls::WaitEvent,     &CCalls::WaitEvent,
            &CCalls::Announce,       &CCalls::Announce,      &CCalls::AnnounceAbsurd,
            &CCalls::Queue,          &CCalls::Queue,         &CCalls::Revoke,
            &CCalls::Flush,          &CCalls::Start,         &CCalls::Start,
            &CCalls::Stop,           &CCalls::AskBuffer,     &CCalls::FindBuffer,
            &CCalls::Parents,        &CCalls::NotThere,      &CCalls::LastError,
            &CCalls::Library};
        (this->*m_bytes.PickValueInArray(OPERATIONS))();
    }
    m_handles.CloseAll();
    DemandAllIsClosed();
    Demand(OptivoSim_NumDoubleCloses() == 0, "nothing is closed twice");
    Demand(OptivoSim_NumUsesAfterClose() == 0, "nothing is used after its close");
}

void CCalls::Steer() {
    SteerCameraLibrary(m_bytes);
}

void CCalls::LastError() {
    COutput<int32_t> code(m_bytes);
    CBufferOutput out(m_bytes);
    const int32_t answer = gentl.GCGetLastError(code.Pointer(), out.Buffer(), out.Size());
    Demand(answer == 0 || answer == -1009 || answer == -1016, "the last error can be read");
}

void CCalls::Library() {
    if (m_bytes.ConsumeBool()) {
        DemandInitialisation(gentl);
    } else if (m_bytes.ConsumeIntegralInRange(0, 3) == 0) {
        CloseLibrary();
    }
}

// By the standard, everything that is open ends with the library.
void CCalls::CloseLibrary() {
    if (!Producer::IsStandard()) {
        Demand(gentl.GCCloseLib() == 0, "the library can always be closed");
        return;
    }
    m_handles.PrepareClosing();
    const int32_t code = gentl.GCCloseLib();
    Demand(code == 0 || code == -1002, "the library can be closed once");
    if (code == 0) {
        m_handles.RemoveAll();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OptivoSim_Reset();
    MakeImagesOnRequest();
    Bytes bytes(data, size);
    CCalls(bytes).Go();
    return 0;
}
