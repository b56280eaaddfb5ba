#include "modules/InterfaceInfo.h"
#include "Thrown.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using GenICam::Client::CInterfaceInfo;

CInterfaceInfo Eth0() {
    return {"gev", "eth0", "GEV"};
}

TEST(InterfaceInfoTest, KeepsWhatItIsMadeOf) {
    const CInterfaceInfo info("GEV", "eth0", "GigE Vision");
    EXPECT_EQ(info.GetPrefix(), "GEV");
    EXPECT_EQ(info.GetName(), "eth0");
    EXPECT_EQ(info.GetDisplayName(), "Interface : eth0");
    EXPECT_EQ(info.GetTLType(), "GigE Vision");
    EXPECT_EQ(info.GetID(), "GEV::eth0");
}

TEST(InterfaceInfoTest, UpperCasesThePrefixAlone) {
    const CInterfaceInfo info("u3v-x", "usb Zero", "u3v");
    EXPECT_EQ(info.GetPrefix(), "U3V-X");
    EXPECT_EQ(info.GetName(), "usb Zero");
    EXPECT_EQ(info.GetTLType(), "u3v");
    EXPECT_EQ(info.GetID(), "U3V-X::usb Zero");
}

TEST(InterfaceInfoTest, MayBeMadeOfEmptyTexts) {
    const CInterfaceInfo info("", "", "");
    EXPECT_EQ(info.GetID(), "::");
    EXPECT_EQ(info.GetDisplayName(), "Interface : ");
    EXPECT_EQ(info.GetTLType(), "");
}

TEST(InterfaceInfoTest, CopiesItsTexts) {
    char name[] = "eth0";
    const CInterfaceInfo info("GEV", name, "GEV");
    name[0] = 'X';
    const CInterfaceInfo copy = info;
    EXPECT_EQ(copy.GetID(), "GEV::eth0");
    EXPECT_EQ(copy.GetDisplayName(), "Interface : eth0");
}

TEST(InterfaceInfoTest, AnswersItsThreeCommandsAsTexts) {
    const char* answers[] = {"GEV::eth0", "Interface : eth0", "GigE"};
    const CInterfaceInfo info("gev", "eth0", "GigE");
    for (int32_t command = 0; command < 3; ++command) {
        SCOPED_TRACE(command);
        const std::string expected = answers[command];
        int32_t type = 0;
        size_t size = 0;
        EXPECT_ANSWERS(info.GetInfo(command, &type, nullptr, &size));
        EXPECT_EQ(type, 1);
        EXPECT_EQ(size, expected.size() + 1);
        std::string text(size, '?');
        EXPECT_ANSWERS(info.GetInfo(command, nullptr, text.data(), &size));
        EXPECT_EQ(text, expected + '\0');
        EXPECT_EQ(size, expected.size() + 1);
    }
}

TEST(InterfaceInfoTest, CopiesOutByTheCommonRule) {
    const CInterfaceInfo info = Eth0();
    int32_t type = 0;
    EXPECT_REFUSES(std::invalid_argument, "Invalid Size", info.GetInfo(0, &type, nullptr, nullptr));
    EXPECT_EQ(type, 1);
    char text[16] = "before";
    size_t size = 9;
    EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size",
                   info.GetInfo(0, &type, text, &size));
    EXPECT_EQ(size, 9U);
    EXPECT_STREQ(text, "before");
    size = 0;
    EXPECT_ANSWERS(info.GetInfo(0, &type, text, &size));
    EXPECT_EQ(size, 10U);
    EXPECT_STREQ(text, "GEV::eth0");
}

TEST(InterfaceInfoTest, RefusesEveryOtherCommand) {
    const CInterfaceInfo info = Eth0();
    int32_t type = 99;
    char text[16] = "before";
    size_t size = sizeof text;
    EXPECT_REFUSES(std::invalid_argument, "Invalid InterfaceInfoID 3",
                   info.GetInfo(3, &type, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid InterfaceInfoID -1",
                   info.GetInfo(-1, &type, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid InterfaceInfoID 2147483647",
                   info.GetInfo(2147483647, nullptr, nullptr, nullptr));
    EXPECT_EQ(type, 99);
    EXPECT_EQ(size, sizeof text);
    EXPECT_STREQ(text, "before");
}

TEST(InterfaceInfoTest, IsMeantByItsNameAndByItsId) {
    for (const char* id : {
             "eth0",      // the name alone
             "GEV::eth0", // the ID
             "gev::ETH0", // letter case does not matter
             "Gev::Eth0",
             "ETH0",
             "::eth0", // no prefix to compare
             "::ETH0::usb0",
             "GEV::eth0::", // what follows is ignored
             "GEV::eth0::more",
             "GEV::eth0::more::and more",
         }) {
        EXPECT_TRUE(Eth0().Matches(id)) << id;
    }
}

TEST(InterfaceInfoTest, IsNotMeantByOtherNames) {
    for (const char* id : {
             "eth1",
             "eth",
             "eth00",
             " eth0",
             "eth0 ",
             "U3V::eth0", // another prefix
             "GE::eth0",
             "GEVX::eth0",
             " GEV::eth0",
             "GEV::eth1",
             "GEV::usb0::eth0",
             "GEV:eth0", // no separator, so a name
             "GEV::eth0:x",
             ":::eth0",   // the name is ":eth0"
             "eth0::GEV", // "eth0" is the prefix here
             "Interface : eth0",
         }) {
        EXPECT_FALSE(Eth0().Matches(id)) << id;
    }
}

TEST(InterfaceInfoTest, AnIdWithoutANameIsRefused) {
    for (const char* id : {"", "::", "GEV::", "gev::", "::::eth0", "GEV::::eth0", "GEV::::"}) {
        SCOPED_TRACE(id);
        EXPECT_THROWS(std::invalid_argument, "Invalid Device Name", Eth0().Matches(id));
    }
}

TEST(InterfaceInfoTest, AnotherPrefixDecidesBeforeTheNameIsLookedFor) {
    EXPECT_FALSE(Eth0().Matches("U3V::"));
    EXPECT_FALSE(Eth0().Matches("U3V::::eth0"));
}

TEST(InterfaceInfoTest, MatchesItsNameInAnyLetterCase) {
    const CInterfaceInfo info("U3V", "Usb Zero", "U3V");
    EXPECT_TRUE(info.Matches("USB ZERO"));
    EXPECT_TRUE(info.Matches("u3v::usb zero"));
}

TEST(InterfaceInfoTest, ALongIdGivesPrefixNameAndDisplayName) {
    CInterfaceInfo info = Eth0();
    info.ParseID("AB::12345name::what it is");
    EXPECT_EQ(info.GetPrefix(), "AB");
    EXPECT_EQ(info.GetName(), "name");
    EXPECT_EQ(info.GetDisplayName(), "what it is");
    EXPECT_EQ(info.GetID(), "AB::name");
    EXPECT_EQ(info.GetTLType(), "GEV");
}

TEST(InterfaceInfoTest, ALongIdsPrefixKeepsItsLetterCase) {
    CInterfaceInfo info = Eth0();
    info.ParseID("ab::12345name::text");
    EXPECT_EQ(info.GetID(), "ab::name");
    EXPECT_FALSE(info.Matches("ab::name"));
    EXPECT_TRUE(info.Matches("NAME"));
}

TEST(InterfaceInfoTest, ALongIdsNameStartsAtItsTenthCharacter) {
    const struct {
        const char* id;
        const char* name;
    } rows[] = {
        {"AB::12345name::text", "name"}, {"AB::a:b:cname::text", "name"},
        {"AB::     name::text", "name"}, {"AB::123456789::text", "6789"},
        {"AB::12345n::text", "n"},       {"AB::12345::text", ""},
        {"AB::12345name", "name"},       {"AB::12345na:me::text", "na:me"},
    };
    for (const auto& row : rows) {
        CInterfaceInfo info = Eth0();
        info.ParseID(row.id);
        EXPECT_EQ(info.GetName(), row.name) << row.id;
        EXPECT_EQ(info.GetPrefix(), "AB") << row.id;
    }
}

TEST(InterfaceInfoTest, ALongIdMayBeTooShortForAName) {
    for (const char* id : {"AB::1::text", "AB::1234::text", "AB::1", "AB::"}) {
        CInterfaceInfo info = Eth0();
        info.ParseID(id);
        EXPECT_EQ(info.GetName(), "") << id;
        EXPECT_EQ(info.GetPrefix(), "AB") << id;
    }
}

TEST(InterfaceInfoTest, ALongIdsDescriptionEndsAtTheNextSeparator) {
    const struct {
        const char* id;
        const char* displayName;
    } rows[] = {
        {"AB::12345name::text", "text"},   {"AB::12345name::text::more", "text"},
        {"AB::12345name::text::", "text"}, {"AB::12345name::te:xt", "te:xt"},
        {"AB::12345name::", ""},
    };
    for (const auto& row : rows) {
        CInterfaceInfo info = Eth0();
        info.ParseID(row.id);
        EXPECT_EQ(info.GetDisplayName(), row.displayName) << row.id;
        EXPECT_EQ(info.GetName(), "name") << row.id;
    }
}

TEST(InterfaceInfoTest, ALongIdNeedsItsPrefix) {
    for (const char* id : {"", "A", "AB", "AB:", "name", "::12345name::text", "A::12345name::text",
                           "ABC::12345name::text", "AB:12345name::text"}) {
        SCOPED_TRACE(id);
        CInterfaceInfo info = Eth0();
        EXPECT_THROWS(std::invalid_argument, "NI ID is missing Prefix entry", info.ParseID(id));
    }
}

TEST(InterfaceInfoTest, ALongIdNeedsItsMacEntry) {
    for (const char* id : {"AB::::text", "AB::::", "AB::::12345name::text"}) {
        SCOPED_TRACE(id);
        CInterfaceInfo info = Eth0();
        EXPECT_THROWS(std::invalid_argument, "NI ID is missing MAC entry", info.ParseID(id));
    }
}

TEST(InterfaceInfoTest, ALongIdNeedsItsDescription) {
    for (const char* id : {"AB::12345name::::", "AB::12345name::::text", "AB::12345::::"}) {
        SCOPED_TRACE(id);
        CInterfaceInfo info = Eth0();
        EXPECT_THROWS(std::invalid_argument, "NI ID is missing Description entry",
                      info.ParseID(id));
    }
}

} // namespace
