#include "Modules.h"

#include "core/NeverDestroyed.h"

namespace Standard {
namespace {

using GenICam::Client::CLiveObjects;

// Room for the modules of 64 cameras with a hundred buffers each.
constexpr std::size_t kSlots = std::size_t{1} << 15;
constinit CLiveObjects::Slot s_slots[kSlots]{};
constinit CLiveObjects s_live(s_slots);

} // namespace

CModules& CModules::Instance() noexcept {
    static GenICam::Client::CNeverDestroyed<CModules> s_modules;
    return s_modules.m_value;
}

CLiveObjects& CModules::Live() noexcept {
    return s_live;
}

} // namespace Standard
