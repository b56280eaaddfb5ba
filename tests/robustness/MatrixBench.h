// The consumer of the fault matrix: it opens the modules one inside the other as far as a call
// wants them, and tells what a call wrote and what is there to be seen. Knows no expectations.
#pragma once

#include "Fixtures.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Matrix {

inline constexpr char CAMERA[] = "Norvel-G640M-10001";
inline constexpr char INTERFACE_ID[] = "GEV::eth0";

// How far the consumer has come; each state is reached from the one before.
enum class State {
    Library,        // initialised
    FreshSystem,    // tl is open and has no list
    System,         // its interfaces are listed
    FreshInterface, // iface is open and has no list
    Interface,      // its devices are listed
    Device,         // device and remote are open
    Listening,      // events of the camera are registered
    Stream          // stream is open, with two queued buffers and the new-buffer event
};

// Everything that an exported function can write to; a call uses what it needs.
struct Outputs {
    void* handle = &FILLING;
    uint32_t number = 0xA5A5A5A5;
    bool8_t changed = 77;
    INFO_DATATYPE type = TYPE_NOT_WRITTEN;
    size_t size = 512;
    std::string bytes = std::string(1024, FILLER);

    // What differs from before, as a text: "unchanged", or "type 1, size 4, bytes \"GEV\"".
    std::string Since(const Outputs& before) const;

    static constexpr char FILLER = '\x5A';
    static int FILLING;
};

// What a query of a handle's module tells of the handle.
inline std::string GoneOrThere(int32_t code) {
    return code == 0 ? "there" : "gone";
}

class Bench {
public:
    // Opens and closes modules until the state is this one.
    void Be(State state);
    // A call has left this state.
    void Left(State state) { m_state = state; }
    // Closes everything, and lets go of a world whose objects cannot be closed any more.
    void RenewWorld();

    // Stops the acquisition and queues both buffers, or none.
    void Requeue(bool isQueued = true);
    // Starts without limit and returns when the acquisition thread asks for images.
    void Start();
    // As Start, with images that come all the time.
    void StartStreaming();
    bool IsGrabbing() { return Number(8) != 0; }
    // Three images come; the grab after the one that is sound ends the acquisition.
    void GrabToTheEnd();
    // What DSGetInfo answers.
    uint64_t Number(STREAM_INFO_CMD command);

    // What a consumer sees: "GEV::eth0=GEV U3V::usb0=U3V"; the devices with all texts of the grey
    // camera; "delivered 1, lost 0, queued 1, waiting 1, grabbing 0".
    std::string Interfaces();
    std::string Devices();
    std::string Counters();
    // Whether the camera's callback is installed, and whether an event comes through it.
    std::string Events(EVENT_HANDLE event);

    Producer& gentl = TheProducer();
    TL_HANDLE tl = nullptr;
    IF_HANDLE iface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE stream = nullptr;
    EVENT_HANDLE deviceEvent = nullptr;
    EVENT_HANDLE newBuffer = nullptr;
    std::array<BUFFER_HANDLE, 2> buffers{}; // each with its own place as private pointer
    Outputs out;

private:
    void Climb();
    void Descend(State state);
    void OpenStream();
    std::string DeviceText(DEVICE_INFO_CMD command);

    State m_state = State::Library;
};

} // namespace Matrix
