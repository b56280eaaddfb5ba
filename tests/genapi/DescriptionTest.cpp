// The way from a URL to the XML text.
#include "Fixture.h"

#include "genapi/Description.h"

#include <algorithm>

using GenApi::ReadDescription;

namespace {

class DescriptionTest : public testing::Test {
protected:
    void Put(size_t address, const std::string& text) {
        std::copy(text.begin(), text.end(),
                  memory.bytes.begin() + static_cast<std::ptrdiff_t>(address));
    }
    std::string Read(const std::string& url) { return ReadDescription(url, memory.Port()); }
    std::string Refusal(const std::string& url) {
        return ErrorOf([&] { Read(url); });
    }

    CMemory memory{4096};
};

TEST_F(DescriptionTest, AddressAndLengthAreHexadecimal) {
    Put(0x1A, "<a/>");
    EXPECT_EQ(Read("Local:Camera.xml;1A;4"), "<a/>");
    EXPECT_EQ(Read("Local:Camera.xml;1a;4"), "<a/>");
    EXPECT_EQ(Read("Local:Camera.xml;0x1A;0X4"), "<a/>");
    EXPECT_EQ(Read("Local:Camera.xml; 1A ; 4 "), "<a/>");
}

TEST_F(DescriptionTest, TheSchemeIsOfAnyCaseAndAQueryBelongsToNothing) {
    Put(0, "<a/>");
    EXPECT_EQ(Read("LOCAL:Camera.xml;0;4"), "<a/>");
    EXPECT_EQ(Read("local:Camera.xml;0;4?SchemaVersion=1.1.0"), "<a/>");
}

TEST_F(DescriptionTest, NamesMayHoldSemicolons) {
    Put(8, "<a/>");
    EXPECT_EQ(Read("Local:Cam;era.xml;8;4"), "<a/>");
}

TEST_F(DescriptionTest, ZerosBehindTheTextAreCutOff) {
    Put(0, "<a/>");
    EXPECT_EQ(Read("Local:Camera.xml;0;40"), "<a/>");
}

TEST_F(DescriptionTest, WhatIsRefused) {
    const std::string zero = "Local:TLDataStreamRegs.xml;200;0";
    EXPECT_EQ(Refusal(zero),
              "the XML at \"" + zero + "\" cannot be read: a length of 0 bytes is not plausible");
    EXPECT_EQ(Refusal("Local:a.xml;0;4000001"),
              "the XML at \"Local:a.xml;0;4000001\" cannot be read: "
              "a length of 67108865 bytes is not plausible");
    for (const char* url :
         {"Local:a.xml;0;", "Local:a.xml;;4", "Local:a.xml;g;4", "Local:a.xml;0;-4",
          "Local:a.xml;0;10000000000000000", "Local:a.xml;0x;4"}) {
        EXPECT_EQ(Refusal(url),
                  std::string("the XML at \"") + url +
                      "\" cannot be read: its address or length is no hexadecimal number");
    }
    for (const char* url : {"Local:", "Local:a.xml", "Local:a.xml;0", "local:;", "Local:?a;0;4"}) {
        EXPECT_EQ(Refusal(url),
                  std::string("the XML at \"") + url +
                      "\" cannot be read: it does not have the form Local:name;address;length");
    }
    for (const char* url : {"", "a.xml;0;4", "gopher:a.xml", "Loca:a;0;4"}) {
        EXPECT_EQ(Refusal(url), std::string("the XML at \"") + url +
                                    "\" cannot be read: only descriptions in the camera "
                                    "(\"Local:\") or in a file (\"File:\") are read");
    }
    for (const char* url : {"http://a/b.xml", "HTTPS://a/b.zip?SchemaVersion=1.1.0", "ftp:a.xml"}) {
        EXPECT_EQ(Refusal(url), std::string("the XML at \"") + url +
                                    "\" cannot be read: it is on the network, from which nothing "
                                    "is read");
    }
    EXPECT_EQ(memory.numReads, 0U);
}

TEST_F(DescriptionTest, ControlCharactersOfAUrlAreNotShown) {
    EXPECT_EQ(Refusal("\x1B[31mred\n"),
              "the XML at \"?[31mred?\" cannot be read: only descriptions in the camera "
              "(\"Local:\") or in a file (\"File:\") are read");
}

TEST_F(DescriptionTest, APortMayGiveItOnlyInPieces) {
    Put(0, std::string(1000, 'x'));
    GenApi::SPort port = memory.Port();
    std::vector<size_t> sizes;
    port.read = [&, read = port.read](uint64_t address, void* buffer, size_t size) {
        sizes.push_back(size);
        if (size > 512) {
            throw std::runtime_error("too much at once");
        }
        read(address, buffer, size);
    };
    EXPECT_EQ(ReadDescription("Local:a.xml;0;3E8", port), std::string(1000, 'x'));
    EXPECT_EQ(sizes, (std::vector<size_t>{1000, 512, 488}));
}

TEST_F(DescriptionTest, WhatThePortThrowsPassesThrough) {
    try {
        Read("Local:a.xml;FFF;2");
        FAIL();
    } catch (const GenApi::CError&) {
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "no register at 4095");
    }
}

} // namespace
