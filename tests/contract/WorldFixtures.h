// What the tests of worlds that come from a text share.
#pragma once

#include "Fixtures.h"

#include <set>

// The System module is open as tl; the tests load worlds of their own.
class WorldTest : public SystemTest {
protected:
    using Names = std::set<std::string>;

    static void Load(const std::string& json) {
        char error[2048] = {};
        ASSERT_EQ(OptivoSim_LoadWorld(json.c_str(), error, sizeof error), 1) << error;
    }

    // A world with one interface, net0, that has these cameras.
    static void LoadCameras(const std::string& cameras) {
        Load(R"({"interfaces": [{"cameras": [)" + cameras + "]}]}");
    }

    // The IDs that one more update finds.
    Names UpdatedInterfaces() {
        EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT));
        Names ids;
        for (uint32_t i = 0; i < NumInterfaces(); ++i) {
            ids.insert(InterfaceId(i));
        }
        return ids;
    }

    Names UpdatedDevices() {
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
        Names ids;
        for (uint32_t i = 0; i < NumDevices(); ++i) {
            ids.insert(DeviceId(i));
        }
        return ids;
    }

    // Opens the interface as iface, without looking for devices.
    void Open(const std::string& id) {
        ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, LONG_WAIT));
        ASSERT_OK(gentl.TLOpenInterface(tl, id.c_str(), &iface));
    }

    Names DevicesOf(const std::string& id) {
        Open(id);
        Names ids = UpdatedDevices();
        CloseInterface();
        return ids;
    }

    Info DeviceInfo(const std::string& id, DEVICE_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, id.c_str(), command, out...); });
    }
};
