// The resources of the module's file on Windows, and what it does without them.
#if defined(_WIN32)

#include "Fixtures.h"

#include <filesystem>

#include <windows.h>

namespace {

constexpr WORD ENGLISH = 0x0409;

struct Resource {
    LPCSTR type;
    LPCSTR name;
};

const Resource DESCRIPTION = {MAKEINTRESOURCEA(103), "TLREGS"};
const Resource VERSION_BLOCK = {RT_VERSION, MAKEINTRESOURCEA(1)};

HRSRC FindIn(const std::string& path, const Resource& resource) {
    return FindResourceA(GetModuleHandleA(path.c_str()), resource.name, resource.type);
}

// A copy of the module whose file has no other resource than this one.
std::unique_ptr<Producer> LoadWithOnly(const Resource& kept) {
    const std::string original = TheProducer().Path();
    HMODULE module = GetModuleHandleA(original.c_str());
    HRSRC found = FindIn(original, kept);
    void* data = LockResource(LoadResource(module, found));
    const DWORD size = SizeofResource(module, found);
    EXPECT_GT(size, 0U);
    return Producer::LoadCopy([&](const std::string& path) {
        HANDLE update = BeginUpdateResourceA(path.c_str(), TRUE);
        EXPECT_NE(update, nullptr);
        EXPECT_TRUE(UpdateResourceA(update, kept.type, kept.name, ENGLISH, data, size));
        EXPECT_TRUE(EndUpdateResourceA(update, FALSE));
    });
}

TEST(ResourceTest, TheDescriptionIsTheFileThatItWasMadeFrom) {
    const auto root = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    const auto size = std::filesystem::file_size(root / "src" / "resources" / "TLRegs.xml");
    const std::string path = TheProducer().Path();
    HRSRC found = FindIn(path, DESCRIPTION);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SizeofResource(GetModuleHandleA(path.c_str()), found), size);
}

TEST(ResourceTest, WithoutTheDescriptionThereIsNoSystem) {
    const auto gentl = LoadWithOnly(VERSION_BLOCK);
    ASSERT_EQ(FindIn(gentl->Path(), DESCRIPTION), nullptr);
    ASSERT_NE(FindIn(gentl->Path(), VERSION_BLOCK), nullptr);
    const uint64_t numAlive = OptivoSim_NumAlive(OPTIVO_OBJECT_SYSTEM);
    ASSERT_EQ(gentl->GCInitLib(), 0);
    int marker = 0;
    TL_HANDLE system = &marker;
    EXPECT_EQ(gentl->TLOpen(&system), -1001);
    EXPECT_EQ(LastError(*gentl), (ErrorRecord{-1001, "Unspecified runtime error."}));
    EXPECT_EQ(system, &marker);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_SYSTEM), numAlive);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
}

TEST(ResourceTest, WithoutAVersionAllItsNumbersAreZero) {
    const auto gentl = LoadWithOnly(DESCRIPTION);
    ASSERT_EQ(FindIn(gentl->Path(), VERSION_BLOCK), nullptr);
    ASSERT_EQ(gentl->GCInitLib(), 0);
    EXPECT_EQ(Ask([&](auto... out) { return gentl->GCGetInfo(3, out...); }), TextInfo("0.0.0.0"));
    TL_HANDLE system = nullptr;
    ASSERT_EQ(gentl->TLOpen(&system), 0);
    EXPECT_EQ(Ask([&](auto... out) { return gentl->TLGetInfo(system, 3, out...); }),
              TextInfo(std::string_view("0.0.0.0\0", 8)));
    EXPECT_EQ(gentl->TLClose(system), 0);
    EXPECT_EQ(gentl->GCCloseLib(), 0);
}

} // namespace

#endif
