// Many cameras that one line of a world describes.
#include "WorldFixtures.h"

#include <algorithm>

namespace {

using Seconds = std::chrono::duration<double>;

// As many cameras at once as otherwise in ten parts, so that both take long enough to lose the
// processor to others alike; with the square of the number it would be ten times.
constexpr double MOST = 5;

class WorldCountTest : public WorldTest {
protected:
    static void LoadCounted(uint32_t count) {
        LoadCameras(R"({"frameRate": 0, "count": )" + std::to_string(count) + "}");
    }

    // Makes a world and lists it, describing every camera, so many times.
    Seconds TimeOf(uint32_t count, int times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < times; ++i) {
            LoadCounted(count);
            EXPECT_EQ(DevicesOf("GEV::net0").size(), count);
        }
        return std::chrono::steady_clock::now() - start;
    }
};

TEST_F(WorldCountTest, SerialNumbersCountUp) {
    LoadCameras(R"({"vendor": "V", "model": "M", "serialNumber": "0098", "count": 4,
                    "userDefinedName": "Line "})");
    Open("GEV::net0");
    EXPECT_EQ(UpdatedDevices(), (Names{"V-M-0098", "V-M-0099", "V-M-0100", "V-M-0101"}));
    EXPECT_EQ(DeviceInfo("V-M-0098", 7), TextInfo("0098"));
    EXPECT_EQ(DeviceInfo("V-M-0101", 7), TextInfo("0101"));
    EXPECT_EQ(DeviceInfo("V-M-0098", 6), TextInfo("Line 0098"));
    EXPECT_EQ(DeviceInfo("V-M-0101", 6), TextInfo("Line 0101"));
}

TEST_F(WorldCountTest, SerialNumbersGrowLonger) {
    LoadCameras(R"({"serialNumber": "999999999999999999", "count": 2})");
    EXPECT_EQ(DevicesOf("GEV::net0"),
              (Names{"Norvel-G640M-999999999999999999", "Norvel-G640M-1000000000000000000"}));
}

TEST_F(WorldCountTest, DefaultsGoOnBehindACount) {
    LoadCameras(R"({"count": 2}, {}, {"count": 1})");
    Open("GEV::net0");
    EXPECT_EQ(UpdatedDevices(), (Names{"Norvel-G640M-10001", "Norvel-G640M-10002",
                                       "Norvel-G640M-10003", "Norvel-G640M-10004"}));
    EXPECT_EQ(DeviceInfo("Norvel-G640M-10001", 6), TextInfo(""));
}

TEST_F(WorldCountTest, DiscoveryIsThatOfEach) {
    LoadCameras(R"({"count": 3, "discovery": [false, true]})");
    Open("GEV::net0");
    EXPECT_EQ(UpdatedDevices().size(), 0U);
    EXPECT_EQ(UpdatedDevices().size(), 3U);
}

TEST_F(WorldCountTest, TenThousandAreListedInLinearTime) {
    Seconds few = Seconds::max();
    for (int run = 0; run < 3; ++run) {
        few = std::min(few, TimeOf(1000, 10));
    }
    Seconds many = Seconds::max();
    for (int run = 0; run < 5 && many / few >= MOST; ++run) {
        many = std::min(many, TimeOf(10000, 1));
    }
    EXPECT_LT(many / few, MOST) << few.count() << " s and " << many.count() << " s";
}

TEST_F(WorldCountTest, TheLastOfTenThousandOpens) {
    LoadCounted(10000);
    Open("GEV::net0");
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_OK(gentl.IFOpenDevice(iface, "Norvel-G640M-20000", 4, &device));
}

} // namespace
