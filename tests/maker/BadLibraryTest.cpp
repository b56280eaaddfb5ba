// Modules with no camera library that they could use. This program lies beside a module alone, so
// that the system finds no other library for any of them.
#include "Checks.h"
#include "ChildProcess.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>

namespace {

namespace fs = std::filesystem;

class BadLibraryTest : public testing::Test {
protected:
    // The folder beside that of this program.
    static fs::path Folder(const std::string& name) {
        return fs::path(TheProducer().Path()).parent_path().parent_path() / name;
    }

    // A consumer is told the same each time, and whatever else it calls is answered as ever.
    static void ExpectRefused(const Producer& gentl, const std::string& text) {
        ASSERT_OK(gentl.GCInitLib());
        for (int i = 0; i < 3; ++i) {
            TL_HANDLE tl = nullptr;
            EXPECT_CODE(-1001, gentl.TLOpen(&tl));
            EXPECT_EQ(tl, nullptr);
            EXPECT_EQ(LastError(gentl), (ErrorRecord{-1001, text}));
            EXPECT_CODE(-1006, gentl.TLClose(tl));
        }
        EXPECT_OK(gentl.GCCloseLib());
    }

    static void ExpectRefused(const std::string& folder, const std::string& text) {
        const auto producer = Producer::LoadFile((Folder(folder) / "NorvelTL40.cti").string());
        ExpectRefused(*producer, text);
    }

    static std::string Library(const std::string& folder) {
        return (Folder(folder) / "Optivo40.dll").string();
    }
};

TEST_F(BadLibraryTest, ATextFile) {
    ExpectRefused("text", "The camera library " + Library("text") +
                              " is not a library for 64-bit Windows; put the maker's in its "
                              "place.");
}

TEST_F(BadLibraryTest, ALibraryFor32Bits) {
    ExpectRefused("32-bit", "The camera library " + Library("32-bit") +
                                " is not a library for 64-bit Windows; put the maker's in its "
                                "place.");
}

TEST_F(BadLibraryTest, ALibraryWithoutTheFactory) {
    ExpectRefused("nameless", "The camera library " + Library("nameless") +
                                  " has no function GetSystem; put the maker's library in its "
                                  "place.");
}

TEST_F(BadLibraryTest, ALibraryThatNeedsAnother) {
    ExpectRefused("dependent", "The camera library " + Library("dependent") +
                                   " needs a library that is missing; install the maker's "
                                   "software.");
}

TEST_F(BadLibraryTest, AFactoryThatThrows) {
    ExpectRefused("throwing", "Unspecified runtime error.");
}

TEST_F(BadLibraryTest, AFactoryThatThrowsOn) {
    ExpectRefused("raising", "Unspecified runtime error.");
}

TEST_F(BadLibraryTest, AFactoryThatGivesNothing) {
    ExpectRefused("null", "Unable to reach the camera library");
}

// A library that is loaded already is found by its name: these begin in a process without one.
class MissingLibraryTest : public BadLibraryTest {
protected:
    static void InNewProcess(const std::function<void()>& story) {
        if (ChildRole().empty()) {
            EXPECT_EQ(RunChild("consumer"), 0);
            return;
        }
        story();
        // Before the child would report its tests over those of the user's process.
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
};

TEST_F(MissingLibraryTest, IsToldWithThePlaceForIt) {
    InNewProcess([] {
        ExpectRefused(TheProducer(),
                      "The camera library Optivo40.dll is neither in " +
                          Folder("missing").string() +
                          " nor where Windows looks for libraries; install the maker's software, "
                          "or copy its library into that folder.");
    });
}

// Whoever puts the library where the text says goes on without starting again.
TEST_F(MissingLibraryTest, IsFoundWhenItHasCome) {
    InNewProcess([] {
        const fs::path folder = Folder("missing") / "later";
        fs::remove_all(folder);
        fs::create_directory(folder);
        fs::copy_file(TheProducer().Path(), folder / "NorvelTL40.cti");
        const auto producer = Producer::LoadFile((folder / "NorvelTL40.cti").string());
        ASSERT_OK(producer->GCInitLib());
        TL_HANDLE tl = nullptr;
        EXPECT_CODE(-1001, producer->TLOpen(&tl));
        fs::copy_file(Folder("Optivo40.dll"), folder / "Optivo40.dll");
        EXPECT_OK(producer->TLOpen(&tl));
        EXPECT_OK(producer->TLClose(tl));
        EXPECT_OK(producer->GCCloseLib());
    });
}

} // namespace
