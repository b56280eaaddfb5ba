// Descriptions in files of the machine.
#include "Archive.h"
#include "Fixture.h"

#include "genapi/Description.h"
#include "genapi/UrlFile.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr bool kIsWindows = fs::path::preferred_separator == '\\';

class UrlFileTest : public testing::Test {
protected:
    UrlFileTest() {
        fs::create_directories(folder);
        Write("Camera.xml", "<a/>");
    }
    ~UrlFileTest() override { fs::remove_all(folder); }

    void Write(const fs::path& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
    }
    std::string Read(const std::string& url) {
        return GenApi::ReadDescription(url, memory.Port(), folder);
    }
    std::string Refusal(const std::string& url) {
        const std::string text = ErrorOf([&] { Read(url); });
        const std::string begin = "the XML at \"" + url + "\" cannot be read: ";
        return text.starts_with(begin) ? text.substr(begin.size()) : "not expected: " + text;
    }

    const fs::path folder =
        fs::temp_directory_path() / ("norvel url " + std::to_string(std::random_device{}()));
    CMemory memory{16};
};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

TEST_F(UrlFileTest, ByItsWholePath) {
    const std::string path = Replaced(folder.generic_string(), " ", "%20") + "/Camera.xml";
    const std::string root = path.starts_with('/') ? path : "/" + path;
    for (const std::string& url : {"File://" + root, "file://localhost" + root, "FILE:" + root,
                                   "file://" + root + "?SchemaVersion=1.1.0"}) {
        EXPECT_EQ(Read(url), "<a/>") << url;
    }
    if (kIsWindows) {
        EXPECT_EQ(Read("File:///" + Replaced(path, ":", "|")), "<a/>");
        EXPECT_EQ(Read("File://" + path), "<a/>");
        EXPECT_EQ(Read("File:" + path), "<a/>");
        EXPECT_EQ(Read("File:" + Replaced(path, "/", "\\")), "<a/>");
    }
    EXPECT_EQ(memory.numReads, 0U);
}

TEST_F(UrlFileTest, InTheFolderWhenItNamesNone) {
    EXPECT_EQ(Read("File:Camera.xml"), "<a/>");
    EXPECT_EQ(Read("file:%43amera.xml?SchemaVersion=1.1.0"), "<a/>");
    EXPECT_EQ(ErrorOf([&] { GenApi::ReadDescription("File:a.xml", memory.Port()); }),
              "the XML at \"File:a.xml\" cannot be read: it names no folder");
}

TEST_F(UrlFileTest, OfAnyName) {
    Write(u8"Größe; 100%.xml", "<b/>");
    EXPECT_EQ(Read("File:Gr%C3%B6%c3%9fe;%20100%25.xml"), "<b/>");
}

TEST_F(UrlFileTest, Zipped) {
    Write("Camera.zip", SArchive{.text = "<c/>"}.Bytes());
    EXPECT_EQ(Read("File:Camera.zip?SchemaVersion=1.1.0"), "<c/>");
}

TEST_F(UrlFileTest, WhatIsRefused) {
    Write("empty.xml", "");
    EXPECT_EQ(Refusal("File:"), "it names no file");
    for (const char* url : {"File:///", "File:none.xml"}) {
        EXPECT_TRUE(Refusal(url).starts_with("there is no file ")) << Refusal(url);
    }
    EXPECT_EQ(Refusal("File:empty.xml"), "a length of 0 bytes is not plausible");
    for (const char* wrong : {"%", "%4", "%4g", "%00", "%+1"}) {
        EXPECT_EQ(Refusal(std::string("File:a") + wrong),
                  std::string("\"") + wrong + "\" stands for no character");
    }
    for (const char* url : {"File://server/share/a.xml", "file:////server/share/a.xml",
                            "file:///%5C%5cserver/share/a.xml", "file:\\\\server\\share\\a.xml"}) {
        EXPECT_EQ(Refusal(url), "it is on another machine, from which nothing is read");
    }
}

} // namespace
