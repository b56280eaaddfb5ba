#include "core/ModuleIdentity.h"
#include "Thrown.h"
#include "modules/TL.h"
#include "platform/Platform.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace GenICam::Client;

TEST(ModuleIdentityTest, AVersionIsFourNumbersOfSixteenBits) {
    EXPECT_EQ(VersionText(0x0001FFFF00030004), "1.65535.3.4");
    EXPECT_EQ(VersionText(0xFFFF000000000000), "65535.0.0.0");
    EXPECT_EQ(VersionText(0x000000000000FFFF), "0.0.0.65535");
}

TEST(ModuleIdentityTest, WithoutAVersionAllNumbersAreZero) {
    EXPECT_EQ(VersionText(0), "0.0.0.0");
}

TEST(ModuleIdentityTest, AFileNameFollowsTheLastSeparator) {
    const std::string separator(1, Platform::kPathSeparator);
    EXPECT_EQ(FileNameOf("a" + separator + "b"), "b");
    EXPECT_EQ(FileNameOf(separator + "a" + separator + "b.c"), "b.c");
    EXPECT_EQ(FileNameOf("a" + separator), "");
}

TEST(ModuleIdentityTest, APathWithoutSeparatorHasNoFileName) {
    EXPECT_EQ(FileNameOf(""), std::nullopt);
    EXPECT_EQ(FileNameOf("name"), std::nullopt);
    EXPECT_THROWS(std::runtime_error, "Invalid Module Name", RequireFileName(""));
    EXPECT_THROWS(std::runtime_error, "Invalid Module Name", RequireFileName("name"));
}

// The description of the system module happens to need only one of the two.
TEST(TextBlockTest, EndsInWholeRegistersAndAZero) {
    EXPECT_EQ(TextBlockSize(4), 8U);
    EXPECT_EQ(TextBlockSize(5), 8U);
    EXPECT_EQ(TextBlockSize(7), 8U);
    EXPECT_EQ(TextBlockSize(8), 12U);
    EXPECT_EQ(TextBlockSize(0), 4U);
}

} // namespace
