// What the module hands on to the camera library, on Windows alone. The simulated library comes
// from MinGW, so it has MinGW's names and none of Visual C++'s.
#if defined(_WIN32)
#include "Fixtures.h"

#include <fstream>
#include <windows.h>

namespace {

std::vector<std::string> NamesIn(const std::string& list) {
    std::ifstream file(EXPORT_LISTS "/" + list);
    std::vector<std::string> names;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            names.push_back(line);
        }
    }
    return names;
}

class ForwarderTest : public InterfaceTest {
protected:
    FARPROC AskModule(const std::string& name) const {
        return GetProcAddress(GetModuleHandleA(gentl.Path().c_str()), name.c_str());
    }
    static FARPROC AskLibrary(const std::string& name) {
        return GetProcAddress(GetModuleHandleA("Optivo40.dll"), name.c_str());
    }
};

TEST_F(ForwarderTest, LeadsToTheCameraLibrarysOwn) {
    const std::vector<std::string> names = NamesIn("reexports-mingw.txt");
    EXPECT_EQ(names.size(), 116U);
    for (const std::string& name : names) {
        EXPECT_NE(AskLibrary(name), nullptr) << name;
        EXPECT_EQ(AskModule(name), AskLibrary(name)) << name;
    }
}

TEST_F(ForwarderTest, ToANameThatTheCameraLibraryLacksHarmsNobody) {
    const std::vector<std::string> names = NamesIn("reexports-msvc.txt");
    EXPECT_EQ(names.size(), 61U);
    for (const std::string& name : names) {
        EXPECT_EQ(AskLibrary(name), nullptr) << name;
        EXPECT_EQ(AskModule(name), nullptr) << name;
    }
    OpenDevice();
}

} // namespace
#endif
