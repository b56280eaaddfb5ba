// What a camera keeps and guards: its user's name, its clock, sets of settings, and the lock on
// what an image's size depends on.
#include "CameraFeatureFixtures.h"

#include <set>

namespace {

struct StateRow {
    const char* name;
    uint64_t address;
};

constexpr StateRow LOCKED[] = {{"Width", 0x400},          {"Height", 0x404},
                               {"PixelFormat", 0x408},    {"OffsetX", 0x418},
                               {"OffsetY", 0x41C},        {"BinningHorizontal", 0x420},
                               {"BinningVertical", 0x424}};

class CameraFeatureStateTest : public CameraFeatureTest {
protected:
    // Their present values are refused too.
    void ExpectLocked() {
        for (const StateRow& row : LOCKED) {
            EXPECT_REFUSED(-1005, DeniedText(row.address),
                           feature->SetInt(row.name, feature->Int(row.name)))
                << row.name;
        }
        EXPECT_REFUSED(-1005, "Register 0x5D4 is not readable.", feature->Execute("UserSetLoad"));
    }

    void ExpectUnlocked() {
        for (const StateRow& row : LOCKED) {
            EXPECT_NO_THROW(feature->SetInt(row.name, feature->Int(row.name))) << row.name;
        }
        EXPECT_NO_THROW(feature->Execute("UserSetLoad"));
    }

    // Of the listed camera.
    std::string UserName() {
        return Ask([&](auto... out) {
                   return gentl.IFGetDeviceInfo(iface, MONO_CAMERA, 6, out...);
               })
            .Text();
    }

    void ChangeEverySetting() {
        feature->SetInt("BinningHorizontal", 2);
        feature->SetInt("BinningVertical", 3);
        feature->SetInt("Width", 20);
        feature->SetInt("Height", 10);
        feature->SetInt("OffsetX", 4);
        feature->SetInt("OffsetY", 2);
        feature->SetEntry("PixelFormat", "Mono16");
        feature->SetEntry("TestPattern", "White");
        feature->SetEntry("AcquisitionMode", "MultiFrame");
        feature->SetInt("AcquisitionFrameCount", 7);
        feature->SetBool("AcquisitionFrameRateEnable", false);
        feature->SetFloat("AcquisitionFrameRate", 12.5);
        feature->SetFloat("ExposureTime", 20);
        feature->SetFloat("Gain", 3);
        feature->SetEntry("TriggerMode", "On");
        feature->SetEntry("TriggerSource", "Line0");
        feature->SetEntry("TriggerActivation", "FallingEdge");
        feature->SetEntry("EventNotification", "On");
    }

    std::map<std::string, std::string> Settings() {
        std::map<std::string, std::string> values;
        for (const char* name :
             {"BinningHorizontal", "BinningVertical", "Width", "Height", "OffsetX", "OffsetY",
              "PixelFormat", "TestPattern", "AcquisitionMode", "AcquisitionFrameCount",
              "AcquisitionFrameRateEnable", "AcquisitionFrameRate", "ExposureTime", "Gain",
              "TriggerMode", "TriggerSource", "TriggerActivation", "EventNotification"}) {
            values[name] = Show(*feature, name);
        }
        return values;
    }
};

TEST_F(CameraFeatureStateTest, UserIdIsTheNameInTheNextList) {
    feature->SetText("DeviceUserID", "Above the belt");
    EXPECT_EQ(feature->Text("DeviceUserID"), "Above the belt");
    CloseDevice();
    EXPECT_EQ(UserName(), "Left");
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_EQ(UserName(), "Above the belt");
}

TEST_F(CameraFeatureStateTest, UserIdHas63Characters) {
    feature->SetText("DeviceUserID", std::string(63, 'u'));
    EXPECT_EQ(feature->Bytes("DeviceUserID"), std::string(63, 'u') + '\0');
    feature->SetText("DeviceUserID", std::string(64, 'v'));
    EXPECT_EQ(feature->Bytes("DeviceUserID"), std::string(63, 'v') + '\0');
    CloseDevice();
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    EXPECT_EQ(UserName(), std::string(63, 'v'));
}

TEST_F(CameraFeatureStateTest, UserIdIsWrittenFromItsFirstCharacter) {
    size_t size = 2;
    EXPECT_OK(gentl.GCWritePort(remote, 0x200, "no", &size));
    EXPECT_EQ(feature->Bytes("DeviceUserID"), "no" + std::string(62, '\0'));
    EXPECT_FAILS(-1009, "Invalid parameter", gentl.GCWritePort(remote, 0x201, "ew", &size));
    EXPECT_FAILS(-1015, "Invalid Address", gentl.GCWritePort(remote, 0x23F, "ew", &size));
    EXPECT_EQ(feature->Text("DeviceUserID"), "no");
    feature->SetText("DeviceUserID", "");
    EXPECT_EQ(feature->Text("DeviceUserID"), "");
}

TEST_F(CameraFeatureStateTest, UserMemoryKeepsBytes) {
    std::string bytes(256, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i);
    }
    feature->SetBytes("UserMemory", bytes);
    EXPECT_EQ(feature->Bytes("UserMemory"), bytes);
    CloseDevice();
    OpenDevice(1);
    EXPECT_EQ(GenApi(gentl, remote).Bytes("UserMemory"), bytes);
}

TEST_F(CameraFeatureStateTest, LatchedTimeIsThatOfTheImages) {
    StartWith(2);
    int64_t last = 0;
    for (int i = 0; i < 20; ++i) {
        feature->Execute("TimestampLatch");
        const int64_t before = feature->Int("TimestampLatchValue");
        EXPECT_GT(before, last);
        EXPECT_EQ(feature->Int("TimestampLatchValue"), before) << "it changes without a latch";
        Produce(1);
        const auto made = static_cast<int64_t>(NextStamp().nanoseconds);
        feature->Execute("TimestampLatch");
        last = feature->Int("TimestampLatchValue");
        EXPECT_LE(before, made);
        EXPECT_LE(made, last);
    }
}

TEST_F(CameraFeatureStateTest, WhatIsLockedIsInTheXml) {
    std::set<std::string> expected = {"UserSetLoad"};
    for (const StateRow& row : LOCKED) {
        expected.insert(row.name);
        EXPECT_EQ(feature->Place(row.name).address, row.address);
    }
    std::set<std::string> locked;
    for (const std::string& name : feature->Features()) {
        if (feature->Properties(name, "pIsLocked") == std::vector<std::string>{"TLParamsLocked"}) {
            locked.insert(name);
        }
    }
    EXPECT_EQ(locked, expected);
}

TEST_F(CameraFeatureStateTest, LockGuardsThePayload) {
    feature->SetInt("TLParamsLocked", 1);
    for (const StateRow& row : LOCKED) {
        EXPECT_EQ(feature->Access(row.name), "RO") << row.name;
    }
    ExpectLocked();
    EXPECT_EQ(feature->Access("TestPattern"), "RW");
    feature->SetEntry("TestPattern", "Black");
    feature->SetFloat("ExposureTime", 50);
    feature->SetFloat("AcquisitionFrameRate", 5);
    feature->SetEntry("AcquisitionMode", "SingleFrame");
    feature->SetInt("TLParamsLocked", 0);
    EXPECT_EQ(feature->Access("Width"), "RW");
    ExpectUnlocked();
}

TEST_F(CameraFeatureStateTest, RunningStreamGuardsThePayload) {
    Start();
    EXPECT_EQ(feature->Int("TLParamsLocked"), 0);
    ExpectLocked();
    feature->SetEntry("TestPattern", "Black");
    Stop();
    ExpectUnlocked();
}

TEST_F(CameraFeatureStateTest, LockEndsWithItsOwner) {
    feature->SetInt("TLParamsLocked", 1);
    CloseDevice();
    OpenDevice(1);
    feature.emplace(gentl, remote);
    EXPECT_EQ(feature->Int("TLParamsLocked"), 0);
    ExpectUnlocked();
}

TEST_F(CameraFeatureStateTest, UserSetBringsEverySettingBack) {
    const auto first = Settings();
    ChangeEverySetting();
    const auto changed = Settings();
    for (const auto& [name, value] : changed) {
        EXPECT_NE(value, first.at(name)) << name;
    }
    Select("UserSetSelector", "UserSet1");
    feature->Execute("UserSetSave");
    EXPECT_EQ(Settings(), changed);
    Select("UserSetSelector", "Default");
    feature->Execute("UserSetLoad");
    EXPECT_EQ(Settings().at("AcquisitionFrameRateEnable"), "true");
    EXPECT_EQ(Settings().at("AcquisitionFrameRate"), "60");
    EXPECT_EQ(Settings(), first);
    EXPECT_EQ(PayloadSize(), IMAGE_SIZE);
    Select("UserSetSelector", "UserSet1");
    feature->Execute("UserSetLoad");
    EXPECT_EQ(Settings(), changed);
    EXPECT_EQ(PayloadSize(), 400U);
}

TEST_F(CameraFeatureStateTest, UserSetIsTheDefaultAtFirst) {
    const auto first = Settings();
    ChangeEverySetting();
    Select("UserSetSelector", "UserSet1");
    feature->Execute("UserSetLoad");
    EXPECT_EQ(Settings(), first);
}

TEST_F(CameraFeatureStateTest, DefaultSetCannotBeChanged) {
    feature->SetFloat("Gain", 1);
    EXPECT_REFUSED(-1005, "Register 0x5D8 is not readable.", feature->Execute("UserSetSave"));
    feature->Execute("UserSetLoad");
    EXPECT_EQ(feature->Float("Gain"), 0);
}

TEST_F(CameraFeatureStateTest, UserSetLeavesWhatIsNoSetting) {
    feature->SetText("DeviceUserID", "Mine");
    Select("TriggerSelector", "FrameStart");
    Select("EventSelector", "ExposureEnd");
    feature->Execute("TimestampLatch");
    const int64_t latched = feature->Int("TimestampLatchValue");
    feature->Execute("UserSetLoad");
    EXPECT_EQ(feature->Text("DeviceUserID"), "Mine");
    EXPECT_EQ(feature->Entry("TriggerSelector"), "FrameStart");
    EXPECT_EQ(feature->Entry("EventSelector"), "ExposureEnd");
    EXPECT_EQ(feature->Int("TimestampLatchValue"), latched);
}

} // namespace
