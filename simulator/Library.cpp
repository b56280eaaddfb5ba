#include "Library.h"

#include "CamDevice.h"
#include "CamInterface.h"
#include "CamStream.h"
#include "CamSystem.h"

namespace OptivoSim {

CLibrary::CLibrary() = default;

CLibrary& CLibrary::Get() {
    static CLibrary* const library = new CLibrary;
    return *library;
}

Int32 CLibrary::NoteDoubleClose() {
    ++m_numDoubleCloses;
    return kInvalidHandle;
}

Int32 CLibrary::NoteUseAfterClose() {
    ++m_numUsesAfterClose;
    return kInvalidHandle;
}

void CLibrary::Reset() {
    m_faults.Clear();
    m_faults.Release();
    m_world.MakeDefault();
    m_systems.RecycleClosed();
    m_interfaces.RecycleClosed();
    m_devices.RecycleClosed();
    m_streams.RecycleClosed();
    m_calls.Reset();
    m_numDoubleCloses = 0;
    m_numUsesAfterClose = 0;
}

} // namespace OptivoSim
