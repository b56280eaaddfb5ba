#include "library/Library.h"

#include "world/FirstWorld.h"

namespace OptivoSim {

CLibrary::CLibrary() : m_hadFirstWorld(ReadFirstWorld(m_firstWorld)) {
    MakeWorld(m_firstWorld, m_hadFirstWorld);
}

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

void CLibrary::MakeWorld(const SWorldPlan& plan, bool hasWorld) {
    const std::lock_guard lock(m_worldLock);
    m_world.Make(plan);
    m_faults.Replace(plan.faults);
    m_faults.Release();
    m_hasWorld = hasWorld;
}

bool CLibrary::LoadWorld(std::string_view text, STextError& error) {
    SWorldPlan plan;
    if (!ParseWorld(text, plan, error)) {
        return false;
    }
    MakeWorld(plan, true);
    return true;
}

void CLibrary::Reset() {
    MakeWorld(m_firstWorld, m_hadFirstWorld);
    m_calls.Reset();
    m_numDoubleCloses = 0;
    m_numUsesAfterClose = 0;
}

} // namespace OptivoSim
