// A thread of the soak that updates and reads the lists of interfaces and cameras all the time,
// whatever the cameras do.
#pragma once

#include "Camera.h"
#include "Chance.h"
#include "Producer.h"
#include "Tally.h"

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

class Lists {
public:
    static constexpr size_t INTERFACES = 2;
    using Interfaces = std::array<SoakInterface, INTERFACES>;

    // The system has these interfaces and no others.
    Lists(Producer& gentl, TL_HANDLE system, Interfaces& interfaces, Tally& tally, unsigned seed);
    // Ends at once.
    ~Lists();
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;

private:
    using Ids = std::vector<std::string>;

    void Run();
    void ListInterfaces();
    void ListCameras(size_t index);
    Ids ReadCameras(IF_HANDLE iface);
    void Expect(bool holds, const char* what);

    Producer& m_gentl;
    TL_HANDLE m_system;
    Interfaces& m_interfaces;
    Tally& m_tally;
    Chance m_chance;
    std::array<Ids, INTERFACES> m_cameras; // as they were listed last
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
