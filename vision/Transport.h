// One way to cameras, GigE Vision or USB3 Vision: finds and opens them. Each is one interface to
// consumers, as Aravis' discovery asks all network adapters at once and tells of no camera through
// which it was found; so a camera keeps its place in the list whichever adapter it is plugged into.
// Knows nothing of the objects that the library hands out.
#pragma once

#include "Camera.h"
#include "Glib.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace OptivoVision {

struct SFound {
    std::string name; // unique, and the same whenever the camera is found
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string version;
    std::string userName;
    std::string address;
    std::string physicalId;
};
using FoundList = std::vector<SFound>;

// Thread-safe; lives as long as the process.
class CTransport {
public:
    CTransport(const char* name, const char* type, ArvInterface* (*instance)());
    ~CTransport() = delete;
    CTransport(const CTransport&) = delete;
    CTransport& operator=(const CTransport&) = delete;

    const std::string& Name() const { return m_name; }
    // The prefix of IDs and the type of transport layer.
    const std::string& Type() const { return m_type; }
    std::string Id() const { return m_type + "::" + m_name; }

    // Lets a discovery run, which takes a second, and answers what the newest one found that ended
    // within the time. The first answer waits for the first end.
    std::shared_ptr<const FoundList> Update(std::chrono::milliseconds timeout);
    std::shared_ptr<const FoundList> Newest();
    // Returns when no discovery runs and no thread is left.
    void Rest();

    bool IsOpen(const std::string& name);
    // Answers a result of ICamInterface::OpenDevice. The camera is free again when it is destroyed.
    Int32 Open(const std::string& name, std::shared_ptr<CCamera>& camera);

private:
    void Discover() noexcept;
    FoundList Find();
    FoundList FindByAravis();
    void Free(const std::string& name);
    Int32 Connect(const std::string& name, ObjectPtr<ArvDevice>& device);

    const std::string m_name;
    const std::string m_type;
    ArvInterface* (*const m_instance)();

    std::mutex m_access; // of Aravis' interface, which is not thread-safe
    std::mutex m_lock;   // of all below
    std::condition_variable m_ended;
    std::thread m_worker;
    bool m_isRunning = false;
    std::shared_ptr<const FoundList> m_newest; // null until the first discovery ends
    std::set<std::string> m_open;
};

} // namespace OptivoVision
