#include "modules/DeviceInfo.h"
#include "Thrown.h"

#include <string>
#include <unordered_map>
#include <utility>

namespace {

using GenICam::Client::CDeviceInfo;
using GenICam::Client::SIdEqual;
using GenICam::Client::SIdHash;

// A record in which every text and number is another.
void Fill(CDeviceInfo& info) {
    info.m_marker1 = 11;
    info.m_marker2 = 12;
    info.m_reserved = 13;
    info.m_status = 14;
    info.m_vendor = "vendor";
    info.m_model = "M1";
    info.m_version = "1.2.3";
    info.m_unused = "unused";
    info.m_serialNumber = "12345";
    info.m_userName = "User";
    info.m_id = "Cam-1";
    info.m_tlType = "GEV";
    info.m_userDefinedName = "Left";
    info.m_custom14 = "fourteen";
    info.m_custom15 = "fifteen";
}

class DeviceInfoTest : public testing::Test {
protected:
    void SetUp() override {
        info.m_model = "M1";
        info.m_serialNumber = "12345";
        info.m_id = "Norvel-Cam:1";
    }

    CDeviceInfo info;
};

TEST_F(DeviceInfoTest, ANewRecordHasItsMarkersAndNothingElse) {
    const CDeviceInfo fresh;
    EXPECT_EQ(fresh.m_marker1, 2U);
    EXPECT_EQ(fresh.m_marker2, 1U);
    EXPECT_EQ(fresh.m_reserved, 0U);
    EXPECT_EQ(fresh.m_status, 0U);
    for (const std::string* text :
         {&fresh.m_vendor, &fresh.m_model, &fresh.m_version, &fresh.m_unused, &fresh.m_serialNumber,
          &fresh.m_userName, &fresh.m_id, &fresh.m_tlType, &fresh.m_userDefinedName,
          &fresh.m_custom14, &fresh.m_custom15}) {
        EXPECT_EQ(*text, "");
    }
}

TEST_F(DeviceInfoTest, AnOpenedDevicesRecordTakesOverPartOfItsListRecord) {
    Fill(info);
    const CDeviceInfo opened(info);
    EXPECT_EQ(opened.m_marker1, 11U);
    EXPECT_EQ(opened.m_marker2, 12U);
    EXPECT_EQ(opened.m_reserved, 13U);
    EXPECT_EQ(opened.m_status, 14U);
    EXPECT_EQ(opened.m_vendor, "vendor");
    EXPECT_EQ(opened.m_model, "M1");
    EXPECT_EQ(opened.m_serialNumber, "12345");
    EXPECT_EQ(opened.m_userName, "User");
    EXPECT_EQ(opened.m_id, "Cam-1");
    EXPECT_EQ(opened.m_tlType, "GEV");
}

TEST_F(DeviceInfoTest, AnOpenedDevicesRecordLosesTheOtherTexts) {
    Fill(info);
    const CDeviceInfo opened(info);
    EXPECT_EQ(opened.m_version, "");
    EXPECT_EQ(opened.m_unused, "");
    EXPECT_EQ(opened.m_userDefinedName, "");
    EXPECT_EQ(opened.m_custom14, "");
    EXPECT_EQ(opened.m_custom15, "");
    EXPECT_EQ(info.m_version, "1.2.3");
    EXPECT_EQ(info.m_userDefinedName, "Left");
}

TEST_F(DeviceInfoTest, TheMembersStandInTheirOrder) {
    const void* const members[] = {&info.m_marker1,         &info.m_marker2,  &info.m_reserved,
                                   &info.m_status,          &info.m_vendor,   &info.m_model,
                                   &info.m_version,         &info.m_unused,   &info.m_serialNumber,
                                   &info.m_userName,        &info.m_id,       &info.m_tlType,
                                   &info.m_userDefinedName, &info.m_custom14, &info.m_custom15};
    const void* before = &info;
    for (const void* member : members) {
        EXPECT_LT(before, member);
        before = member;
    }
}

TEST_F(DeviceInfoTest, TheIdEndsAtItsFirstZero) {
    EXPECT_EQ(info.GetID(), "Norvel-Cam:1");
    info.m_id = std::string("ab\0cd", 5);
    EXPECT_EQ(info.GetID(), "ab");
    info.m_id = std::string("\0cd", 3);
    EXPECT_EQ(info.GetID(), "");
}

TEST_F(DeviceInfoTest, TheDisplayNameHasABlankBeforeItsLastParenthesis) {
    info.m_serialNumber = "S9";
    EXPECT_EQ(info.GetDisplayName(), "M1 (S9 )");
    EXPECT_EQ(CDeviceInfo().GetDisplayName(), " ( )");
}

TEST_F(DeviceInfoTest, IsMeantByItsIdInAnyLetterCase) {
    for (const char* name : {"Norvel-Cam:1", "NORVEL-CAM:1", "norvel-cam:1", "GEV::norvel-cam:1",
                             "::Norvel-Cam:1", "any prefix::Norvel-Cam:1", "GEV::Norvel-Cam:1::",
                             "GEV::Norvel-Cam:1::suffix", "::Norvel-Cam:1::a::b"}) {
        EXPECT_TRUE(info.MatchName(name)) << name;
    }
}

TEST_F(DeviceInfoTest, IsNotMeantByOtherIds) {
    for (const char* name : {"Norvel-Cam:2", "Norvel-Cam:", "Norvel-Cam:11", " Norvel-Cam:1",
                             "Norvel-Cam:1::suffix", "a::b::Norvel-Cam:1", "M1", "12345"}) {
        EXPECT_FALSE(info.MatchName(name)) << name;
    }
}

TEST_F(DeviceInfoTest, TheTableOfIdsDoesNotTellLetterCasesApart) {
    const std::unordered_map<std::string, int, SIdHash, SIdEqual> places{
        {"Norvel-Cam:1", 1}, {"", 2}, {"\xC4@[`{", 3}};
    for (const auto& [id, place] : {std::pair("norvel-cam:1", 1), std::pair("NORVEL-CAM:1", 1),
                                    std::pair("", 2), std::pair("\xC4@[`{", 3)}) {
        const auto found = places.find(id);
        ASSERT_NE(found, places.end()) << id;
        EXPECT_EQ(found->second, place);
    }
    for (const char* id : {"Morvel-Cam:1", "Norvel-Cam:2", "Norvel-Cam:", "orvel-Cam:1", "\xE4@[`{",
                           "\xC4`[`{", "\xC4@{`{"}) {
        EXPECT_EQ(places.count(id), 0U) << id;
    }
}

TEST_F(DeviceInfoTest, OnlyAsciiLettersHaveTwoCases) {
    info.m_id = "\xC4@[`{";
    EXPECT_TRUE(info.MatchName("\xC4@[`{"));
    EXPECT_FALSE(info.MatchName("\xE4@[`{"));
    EXPECT_FALSE(info.MatchName("\xC4`[`{"));
    EXPECT_FALSE(info.MatchName("\xC4@{`{"));
    info.m_id = "AZaz";
    EXPECT_TRUE(info.MatchName("azAZ"));
}

TEST_F(DeviceInfoTest, IsMeantByItsSerialNumber) {
    for (const char* name : {"SN->12345", "GEV::SN->12345", "::SN->12345::", "x::SN->12345::y"}) {
        EXPECT_TRUE(info.MatchName(name)) << name;
    }
}

TEST_F(DeviceInfoTest, TheSerialNumberMustBeExact) {
    for (const char* name : {"SN->1234", "SN->123456", "SN->012345", "SN->", "SN-> 12345",
                             "sn->12345", "Sn->12345", " SN->12345", "SN-12345"}) {
        EXPECT_FALSE(info.MatchName(name)) << name;
    }
    info.m_serialNumber = "012345";
    EXPECT_FALSE(info.MatchName("SN->12345"));
    info.m_serialNumber = "AbC";
    EXPECT_TRUE(info.MatchName("SN->AbC"));
    EXPECT_FALSE(info.MatchName("SN->abc"));
}

TEST_F(DeviceInfoTest, AnEmptySerialNumberIsMeantByTheBareTag) {
    EXPECT_TRUE(CDeviceInfo().MatchName("SN->"));
}

TEST_F(DeviceInfoTest, ALowerCaseSerialNumberTagIsAnId) {
    info.m_id = "SN->777";
    EXPECT_TRUE(info.MatchName("sn->777"));
    EXPECT_FALSE(info.MatchName("SN->777"));
}

TEST_F(DeviceInfoTest, TheBareUserNameTagMeansEveryCamera) {
    info.m_userDefinedName = "Left";
    EXPECT_TRUE(info.MatchName("USERNAME->"));
    EXPECT_TRUE(info.MatchName("GEV::USERNAME->::x"));
    EXPECT_TRUE(CDeviceInfo().MatchName("USERNAME->"));
}

TEST_F(DeviceInfoTest, AUserNameMeansNoCamera) {
    info.m_userDefinedName = "Left";
    for (const char* name : {"USERNAME->Left", "USERNAME-> ", "GEV::USERNAME->Left"}) {
        EXPECT_FALSE(info.MatchName(name)) << name;
    }
}

TEST_F(DeviceInfoTest, AUserNameWouldHaveToBeExact) {
    info.m_userName = "Left";
    EXPECT_TRUE(info.MatchName("USERNAME->Left"));
    for (const char* name :
         {"USERNAME->left", "USERNAME->Lef", "USERNAME->Left1", "USERNAME->", "username->Left"}) {
        EXPECT_FALSE(info.MatchName(name)) << name;
    }
}

TEST_F(DeviceInfoTest, ANameWithNothingToCompareIsRefused) {
    for (const char* name : {"", "::", "GEV::", "::::", "GEV::::Norvel-Cam:1", "::::x"}) {
        SCOPED_TRACE(name);
        EXPECT_THROWS(std::invalid_argument, "Invalid Device Name", info.MatchName(name));
    }
}

TEST_F(DeviceInfoTest, ANameOfAnyLengthIsCompared) {
    const std::string tail(10'000, 'x');
    EXPECT_FALSE(info.MatchName(tail.c_str()));
    EXPECT_TRUE(info.MatchName((tail + "::Norvel-Cam:1::" + tail).c_str()));
    EXPECT_FALSE(info.MatchName(("SN->12345" + tail).c_str()));
}

} // namespace
