#include "Trouble.h"

#include "OptivoSim.h"

#include <chrono>
#include <utility>

namespace {

void AddOnce(OptivoOperation operation, OptivoFaultKind kind, int32_t result,
             const std::string& camera) {
    const OptivoFault fault = {operation, kind, result, OPTIVO_ANY_SELECTOR, 0, 1};
    const OptivoFaultCondition condition = {camera.c_str(), 0, 0};
    OptivoSim_AddFaultWhere(&fault, &condition);
}

} // namespace

Trouble::Trouble(std::vector<std::string> cameras, unsigned seed)
    : m_cameras(std::move(cameras)), m_chance(seed) {
    m_thread = std::thread([this] { Run(); });
}

Trouble::~Trouble() {
    m_stop = true;
    m_thread.join();
    for (const std::string& camera : m_cameras) {
        OptivoSim_Plug(camera.c_str());
    }
}

void Trouble::Run() {
    while (!m_stop) {
        Make();
        ++m_numMade;
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + m_chance.Below(40)));
    }
}

void Trouble::Make() {
    const std::string& camera = m_cameras[m_chance.Below(static_cast<unsigned>(m_cameras.size()))];
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
        OptivoSim_AddImageFault(camera.c_str(), &fault);
        return;
    }
    case 8:
        OptivoSim_FireEvents(camera.c_str(), 0x9001, 1, 100);
        return;
    default:
        OptivoSim_Unplug(camera.c_str());
        std::this_thread::sleep_for(std::chrono::milliseconds(m_chance.Below(50)));
        OptivoSim_Plug(camera.c_str());
    }
}
