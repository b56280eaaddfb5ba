// Zipped descriptions, as cameras keep them.
#include "Archive.h"
#include "Fixture.h"

#include "genapi/Description.h"
#include "genapi/Zip.h"

#include <algorithm>
#include <string>

namespace {

constexpr size_t kMost = 1 << 20;

std::string Unzipped(const SArchive& archive) {
    return GenApi::Unzip(archive.Bytes(), kMost);
}

std::string Refusal(const std::string& bytes) {
    return ErrorOf([&] { GenApi::Unzip(bytes, kMost); });
}

// 5,000 bytes of which deflate makes few.
std::string LongXml() {
    std::string xml = "<a>";
    while (xml.size() < 4996) {
        xml += static_cast<char>('a' + xml.size() % 7);
    }
    return xml + "</a>";
}

TEST(ZipTest, DeflatedAndStored) {
    EXPECT_EQ(Unzipped({.text = LongXml()}), LongXml());
    EXPECT_EQ(Unzipped({.text = LongXml(), .method = 0}), LongXml());
    EXPECT_LT(SArchive{.text = LongXml()}.Bytes().size(), 1000U);
}

TEST(ZipTest, NamesOfAnyCaseAndZerosBehindTheEnd) {
    EXPECT_EQ(Unzipped({.name = "folder/CAMERA.XML"}), "<a/>");
    EXPECT_EQ(Unzipped({.zerosBehind = 500}), "<a/>");
}

TEST(ZipTest, WhatIsNotUnderstood) {
    EXPECT_EQ(Refusal(SArchive{.name = "Camera.txt"}.Bytes()),
              "no file in its zip archive is named .xml");
    EXPECT_EQ(Refusal(SArchive{.flags = 1}.Bytes()), "its zip archive is encrypted");
    EXPECT_EQ(Refusal(SArchive{.method = 12}.Bytes()),
              "its zip archive is packed by the method 12, of which only 0 and 8 are understood");
}

TEST(ZipTest, WhatIsDamaged) {
    for (const unsigned method : {0U, 8U}) {
        EXPECT_EQ(Refusal(SArchive{.method = method, .crcError = 1}.Bytes()),
                  "its zip archive is damaged");
        EXPECT_EQ(Refusal(SArchive{.method = method, .lengthError = 1}.Bytes()),
                  "its zip archive is damaged");
    }
    EXPECT_EQ(Refusal("PK\x03\x04"), "its zip archive is cut off");
    EXPECT_EQ(Refusal("PK\x05\x06"), "its zip archive is damaged");
}

TEST(ZipTest, WhatWouldFillTheMemory) {
    EXPECT_EQ(Refusal(SArchive{.text = std::string(kMost + 1, ' ')}.Bytes()),
              "a length of 1048577 bytes, unpacked, is not plausible");
    EXPECT_EQ(Refusal(SArchive{.text = ""}.Bytes()),
              "a length of 0 bytes, unpacked, is not plausible");
    EXPECT_EQ(Refusal(SArchive{.lengthError = 1000000}.Bytes()), "its zip archive is damaged");
}

TEST(ZipTest, CutOffAnywhereAndWithAnyByteChangedItIsWholeOrRefused) {
    const std::string whole = SArchive{.text = LongXml()}.Bytes();
    size_t numRefused = 0;
    for (size_t i = 0; i < whole.size(); ++i) {
        EXPECT_NE(Refusal(whole.substr(0, i)), "") << i;
        for (const int change : {1, 0x80, 0xFF}) {
            std::string changed = whole;
            changed[i] = static_cast<char>(changed[i] ^ change);
            try {
                EXPECT_EQ(GenApi::Unzip(changed, kMost), LongXml()) << i;
            } catch (const GenApi::CError&) {
                ++numRefused;
            }
        }
    }
    EXPECT_GT(numRefused, whole.size());
}

TEST(ZipTest, ADescriptionIsUnzippedWhateverItsNameIs) {
    CMemory memory{4096};
    const std::string bytes = SArchive{.text = LongXml()}.Bytes();
    std::copy(bytes.begin(), bytes.end(), memory.bytes.begin());
    for (const char* name : {"Camera.zip", "CAMERA.ZIP", "Camera.xml"}) {
        EXPECT_EQ(GenApi::ReadDescription(std::string("Local:") + name + ";0;400", memory.Port()),
                  LongXml());
    }
    EXPECT_EQ(ErrorOf([&] { GenApi::ReadDescription("Local:a.zip;0;20", memory.Port()); }),
              "the XML at \"Local:a.zip;0;20\" cannot be read: its zip archive is cut off");
}

} // namespace
