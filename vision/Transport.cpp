#include "Transport.h"

#include "Bootstrap.h"

#include <algorithm>
#include <utility>

namespace OptivoVision {

CTransport::CTransport(const char* name, const char* type, ArvInterface* (*instance)())
    : m_name(name), m_type(type), m_instance(instance) {}

std::shared_ptr<const FoundList> CTransport::Update(std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_lock);
    if (!m_isRunning) {
        if (m_worker.joinable()) {
            m_worker.join();
        }
        m_worker = std::thread(&CTransport::Discover, this);
        m_isRunning = true;
    }
    if (m_newest == nullptr) {
        m_ended.wait(lock, [this] { return m_newest != nullptr; });
    } else {
        m_ended.wait_for(lock, timeout, [this] { return !m_isRunning; });
    }
    return m_newest;
}

std::shared_ptr<const FoundList> CTransport::Newest() {
    const std::lock_guard lock(m_lock);
    return m_newest != nullptr ? m_newest : std::make_shared<const FoundList>();
}

void CTransport::Rest() {
    std::unique_lock lock(m_lock);
    m_ended.wait(lock, [this] { return !m_isRunning; });
    if (m_worker.joinable()) {
        m_worker.join();
    }
}

// Without memory the list stays what it was.
void CTransport::Discover() noexcept {
    std::shared_ptr<const FoundList> found;
    try {
        found = std::make_shared<const FoundList>(Find());
    } catch (...) { // NOLINT(bugprone-empty-catch): see above
    }
    const std::lock_guard lock(m_lock);
    if (found == nullptr && m_newest == nullptr) {
        static const FoundList s_nothing;
        found = {std::shared_ptr<const FoundList>(), &s_nothing};
    }
    if (found != nullptr) {
        m_newest = std::move(found);
    }
    m_isRunning = false;
    m_ended.notify_all();
}

// Aravis' discovery leaves out the version and the user's name.
FoundList CTransport::Find() {
    FoundList found = FindByAravis();
    if (m_instance == arv_gv_interface_get_instance) {
        for (SFound& camera : found) {
            const SBootstrap read = ReadBootstrap(camera.address);
            camera.version = read.version;
            camera.userName = read.userName;
        }
    }
    return found;
}

FoundList CTransport::FindByAravis() {
    const std::lock_guard access(m_access);
    ArvInterface* const aravis = m_instance();
    arv_interface_update_device_list(aravis);
    FoundList found(arv_interface_get_n_devices(aravis));
    for (unsigned i = 0; i < found.size(); ++i) {
        found[i] = {.name = TextOf(arv_interface_get_device_id(aravis, i)),
                    .vendor = TextOf(arv_interface_get_device_vendor(aravis, i)),
                    .model = TextOf(arv_interface_get_device_model(aravis, i)),
                    .serialNumber = TextOf(arv_interface_get_device_serial_nbr(aravis, i)),
                    .version = {},
                    .userName = {},
                    .address = TextOf(arv_interface_get_device_address(aravis, i)),
                    .physicalId = TextOf(arv_interface_get_device_physical_id(aravis, i))};
    }
    return found;
}

bool CTransport::IsOpen(const std::string& name) {
    const std::lock_guard lock(m_lock);
    return m_open.contains(name);
}

void CTransport::Free(const std::string& name) {
    const std::lock_guard lock(m_lock);
    m_open.erase(name);
}

Int32 CTransport::Open(const std::string& name, std::shared_ptr<CCamera>& camera) {
    const auto found = Newest();
    if (std::none_of(found->begin(), found->end(),
                     [&](const SFound& known) { return known.name == name; })) {
        return kError;
    }
    {
        const std::lock_guard lock(m_lock);
        if (!m_open.insert(name).second) {
            return kAccessDenied;
        }
    }
    // Frees the name, whoever drops the last hold on the camera.
    const std::shared_ptr<void> place(nullptr, [this, name](void*) { Free(name); });
    ObjectPtr<ArvDevice> device;
    const Int32 result = Connect(name, device);
    if (result == kSuccess) {
        camera = std::make_shared<CCamera>(std::move(device), place);
    }
    return result;
}

// Aravis opens a camera that somebody else controls too, only to read.
Int32 CTransport::Connect(const std::string& name, ObjectPtr<ArvDevice>& device) {
    RequireThread();
    const std::lock_guard access(m_access);
    CError error;
    device.reset(arv_interface_open_device(m_instance(), name.c_str(), error.Receive()));
    if (error.Is(ARV_DEVICE_ERROR_GENICAM_NOT_FOUND)) {
        return kNotInitialized;
    }
    if (device == nullptr || error) {
        const Int32 code = error.Code();
        return code == kAccessDenied || code == kResourceInUse ? kAccessDenied : kError;
    }
    if (ARV_IS_GV_DEVICE(device.get()) &&
        !arv_gv_device_is_controller(ARV_GV_DEVICE(device.get()))) {
        return kAccessDenied;
    }
    return kSuccess;
}

} // namespace OptivoVision
