#include "Trouble.h"

#include "OptivoSim.h"

#include <chrono>
#include <string>

namespace {

constexpr unsigned EVENTS_OF_A_BURST = 25;

bool AddOnce(OptivoOperation operation, OptivoFaultKind kind, int32_t result,
             const std::string& camera) {
    const OptivoFault fault = {operation, kind, result, OPTIVO_ANY_SELECTOR, 0, 1};
    const OptivoFaultCondition condition = {camera.c_str(), 0, 0};
    OptivoSim_AddFaultWhere(&fault, &condition);
    return true;
}

} // namespace

Trouble::Trouble(EventSources& sources, unsigned seed) : m_sources(sources), m_chance(seed) {
    m_thread = std::thread([this] { Run(); });
}

Trouble::~Trouble() {
    m_stop = true;
    m_thread.join();
    for (const EventSource& source : m_sources) {
        OptivoSim_Plug(source.Camera().c_str());
    }
}

void Trouble::Run() {
    while (!m_stop) {
        m_numMade += Make() ? 1 : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + m_chance.Below(40)));
    }
}

bool Trouble::Make() {
    EventSource& source = m_sources[m_chance.Below(static_cast<unsigned>(m_sources.size()))];
    const std::string& camera = source.Camera();
    switch (m_chance.Below(10)) {
    case 0:
        return AddOnce(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, -3, camera);
    case 1:
        return AddOnce(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, -2, camera);
    case 2:
        return AddOnce(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, -4711, camera);
    case 3:
        return AddOnce(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_GENERIC_EXCEPTION, 0, camera);
    case 4:
        return AddOnce(OPTIVO_STREAM_START_ACQUISITION, OPTIVO_FAULT_RESULT, -1001, camera);
    case 5:
        return AddOnce(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_RESULT, -1005, camera);
    case 6:
        return AddOnce(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_DELAY, 15, camera);
    case 7: {
        const OptivoImageFault fault = {OPTIVO_IMAGE_LOST, 0, 0, 1 + m_chance.Below(5), 0, 0};
        return OptivoSim_AddImageFault(camera.c_str(), &fault) == 1;
    }
    case 8:
        // A closed camera hears nothing of it.
        return source.Fire(EVENTS_OF_A_BURST) > 0;
    default:
        OptivoSim_Unplug(camera.c_str());
        std::this_thread::sleep_for(std::chrono::milliseconds(m_chance.Below(50)));
        return OptivoSim_Plug(camera.c_str()) == 1;
    }
}
