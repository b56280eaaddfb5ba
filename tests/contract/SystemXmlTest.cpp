// The System module's description: where it is served, and what it declares.
#include "Fixtures.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

// The text that the module was built from.
std::string SourceText() {
    const auto root = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    std::ifstream file(root / "src" / "resources" / "TLRegs.xml", std::ios::binary);
    EXPECT_TRUE(file.is_open()) << root;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The next multiple of four that leaves room for a zero.
size_t BlockLength(size_t textLength) {
    return textLength % 4 == 0 ? textLength + 4 : textLength + 4 - textLength % 4;
}

class SystemXmlTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        m_text = SourceText();
        ASSERT_GT(m_text.size(), 100U);
        m_length = BlockLength(m_text.size());
        std::ostringstream url;
        url << "Local:TLRegs.xml;940;" << std::hex << m_length;
        m_url = url.str();
    }

    std::string m_text;
    size_t m_length = 0;
    std::string m_url;
};

TEST_F(SystemXmlTest, IsServedWhereItsUrlSays) {
    char url[512] = {};
    size_t size = sizeof url;
    ASSERT_OK(gentl.GCGetPortURL(tl, url, &size));
    unsigned address = 0;
    unsigned length = 0;
    ASSERT_EQ(std::sscanf(url, "Local:TLRegs.xml;%x;%x", &address, &length), 2);
    std::string block(length, '#');
    size = length;
    ASSERT_OK(gentl.GCReadPort(tl, address, block.data(), &size));
    EXPECT_EQ(size, length);
    EXPECT_EQ(block.c_str(), m_text);
}

TEST_F(SystemXmlTest, IsFollowedByZeros) {
    std::string block(m_length, '#');
    size_t size = m_length;
    ASSERT_OK(gentl.GCReadPort(tl, 0x940, block.data(), &size));
    EXPECT_EQ(block, m_text + std::string(m_length - m_text.size(), '\0'));
    EXPECT_EQ(block.back(), '\0');

    uint32_t behind = 77;
    size = sizeof behind;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x940 + m_length, &behind, &size));
    EXPECT_EQ(behind, 77U);
}

TEST_F(SystemXmlTest, IsReadInPieces) {
    std::string read;
    for (size_t offset = 0; offset < m_length; offset += 512) {
        std::string piece(std::min<size_t>(512, m_length - offset), '#');
        size_t size = piece.size();
        ASSERT_OK(gentl.GCReadPort(tl, 0x940 + offset, piece.data(), &size));
        read += piece;
    }
    EXPECT_EQ(read.c_str(), m_text);
}

TEST_F(SystemXmlTest, UrlTellsStartAndLengthInHexadecimal) {
    char url[512] = {};
    size_t size = sizeof url;
    EXPECT_OK(gentl.GCGetPortURL(tl, url, &size));
    EXPECT_EQ(url, m_url);
    EXPECT_EQ(size, m_url.size() + 2);
}

TEST_F(SystemXmlTest, UrlNeedsOneByteMoreThanItsZero) {
    size_t needed = 0;
    EXPECT_OK(gentl.GCGetPortURL(tl, nullptr, &needed));
    EXPECT_EQ(needed, m_url.size() + 2);

    std::string exact(needed + 8, '#');
    size_t size = needed;
    EXPECT_OK(gentl.GCGetPortURL(tl, exact.data(), &size));
    EXPECT_EQ(size, needed);
    EXPECT_EQ(exact, m_url + std::string(2, '\0') + std::string(8, '#'));

    for (const size_t offered : {m_url.size() + 1, m_url.size(), size_t{1}, size_t{0}}) {
        SCOPED_TRACE(offered);
        std::string untouched(64, '#');
        size = offered;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(tl, untouched.data(), &size));
        EXPECT_EQ(size, needed);
        EXPECT_EQ(untouched, std::string(64, '#'));
    }
}

TEST_F(SystemXmlTest, UrlNeedsASize) {
    char url[512] = "before";
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(tl, url, nullptr));
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCGetPortURL(tl, nullptr, nullptr));
    EXPECT_STREQ(url, "before");
}

TEST_F(SystemXmlTest, UrlInfoHasTheTextsOwnSize) {
    ExpectCopyOut([&](auto... out) { return gentl.GCGetPortURLInfo(tl, 0, 0, out...); },
                  TextInfo(m_url));
    size_t size = 0;
    EXPECT_OK(gentl.GCGetPortURLInfo(tl, 0, 0, nullptr, nullptr, &size));
    EXPECT_EQ(size, m_url.size() + 1);
}

// What the description declares, by the texts of its elements.
class SystemXmlContentTest : public SystemTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        char url[512] = {};
        size_t size = sizeof url;
        ASSERT_OK(gentl.GCGetPortURL(tl, url, &size));
        std::string block(std::stoul(std::string(url).substr(21), nullptr, 16), '\0');
        size = block.size();
        ASSERT_OK(gentl.GCReadPort(tl, 0x940, block.data(), &size));
        m_xml = block.c_str();
    }

    // From the start of the element's name to its end tag.
    std::string Element(const std::string& tag, const std::string& name) const {
        const size_t first = m_xml.find('<' + tag + " Name=\"" + name + '"');
        const size_t last = m_xml.find("</" + tag + '>', first);
        EXPECT_NE(last, std::string::npos) << tag << ' ' << name;
        return last == std::string::npos ? "" : m_xml.substr(first, last - first);
    }

    static void ExpectHas(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << "no " << part << " in " << text;
    }

    static void ExpectLists(const std::string& category, const std::vector<std::string>& names) {
        size_t position = 0;
        for (const std::string& name : names) {
            const size_t found = category.find("<pFeature>" + name + "</pFeature>", position);
            EXPECT_NE(found, std::string::npos) << name;
            position = found == std::string::npos ? position : found + 1;
        }
        EXPECT_EQ(category.find("<pFeature>", position), std::string::npos);
    }

    std::string m_xml;
};

TEST_F(SystemXmlContentTest, RootElement) {
    const std::string root = m_xml.substr(0, m_xml.find("<Category"));
    for (const char* attribute :
         {"<RegisterDescription", "ModelName=\"TLSimulator\"", "VendorName=\"NORVEL\"",
          "StandardNameSpace=\"None\"", "SchemaMajorVersion=\"1\"", "SchemaMinorVersion=\"0\"",
          "SchemaSubMinorVersion=\"1\"", " MajorVersion=\"1\"", " MinorVersion=\"0\"",
          " SubMinorVersion=\"2\"", "ProductGuid=\"", "VersionGuid=\""}) {
        ExpectHas(root, attribute);
    }
    EXPECT_EQ(m_xml.find("<!--"), std::string::npos);
}

TEST_F(SystemXmlContentTest, Categories) {
    ExpectLists(Element("Category", "Root"), {"TLInfo", "InterfaceEnum"});
    ExpectLists(Element("Category", "TLInfo"),
                {"TLVendorName", "TLModelName", "TLVersion", "TLID", "TLPath", "TLType"});
    ExpectLists(Element("Category", "InterfaceEnum"),
                {"InterfaceCount", "InterfaceSelector", "InterfaceID", "InterfaceUpdateList"});
}

TEST_F(SystemXmlContentTest, Registers) {
    struct Row {
        const char* name;
        const char* address;
        const char* length;
        const char* access;
    };
    const Row rows[] = {{"InterfaceCount", "0x4", "4", "RO"},
                        {"r_InterfaceSelector", "0x8", "4", "RW"},
                        {"r_InterfaceUpdateList", "0x44", "4", "RW"},
                        {"TLVendorName", "0x48", "64", "RO"},
                        {"TLModelName", "0x88", "64", "RO"},
                        {"TLVersion", "0xC8", "16", "RO"},
                        {"GenTLVersionMinor", "0xD8", "4", "RO"},
                        {"GenTLVersionMajor", "0xDC", "4", "RO"},
                        {"TLID", "0x100", "256", "RO"},
                        {"TLPath", "0x200", "1024", "RO"},
                        {"InterfaceID", "0x740", "256", "RO"}};
    for (const Row& row : rows) {
        const std::string element = Element("IntReg", row.name);
        ExpectHas(element, std::string("<Address>") + row.address + "</Address>");
        ExpectHas(element, std::string("<Length>") + row.length + "</Length>");
        ExpectHas(element, std::string("<AccessMode>") + row.access + "</AccessMode>");
        ExpectHas(element, "<pPort>TLPort</pPort>");
        ExpectHas(element, "<Sign>Unsigned</Sign>");
        ExpectHas(element, "<Endianess>LittleEndian</Endianess>");
    }
    ExpectHas(m_xml, "<Port Name=\"TLPort\"");
}

TEST_F(SystemXmlContentTest, InterfaceSelector) {
    const std::string selector = Element("Integer", "InterfaceSelector");
    ExpectHas(selector, "<pValue>r_InterfaceSelector</pValue>");
    ExpectHas(selector, "<Min>0</Min>");
    ExpectHas(selector, "<pMax>MaxTLIndex</pMax>");
    ExpectHas(selector, "<pIsAvailable>TLIndexAvailable</pIsAvailable>");
    const std::string maximum = Element("IntSwissKnife", "MaxTLIndex");
    ExpectHas(maximum, "<pVariable Name=\"MAXINDEX\">InterfaceCount</pVariable>");
    ExpectHas(maximum, "<Formula>MAXINDEX - 1</Formula>");
    const std::string available = Element("IntSwissKnife", "TLIndexAvailable");
    ExpectHas(available, "<pVariable Name=\"MAXINDEX\">InterfaceCount</pVariable>");
    ExpectHas(available, "<Formula>((MAXINDEX - 1) &lt; 0) ? 0 : 1</Formula>");
}

TEST_F(SystemXmlContentTest, TypeAndUpdateCommand) {
    const std::string type = Element("Enumeration", "TLType");
    const size_t entry = type.find("<EnumEntry Name=\"Custom\">");
    ASSERT_NE(entry, std::string::npos);
    EXPECT_EQ(type.find("<EnumEntry", entry + 1), std::string::npos);
    const size_t entryEnd = type.find("</EnumEntry>", entry);
    ASSERT_NE(entryEnd, std::string::npos);
    ExpectHas(type.substr(entry, entryEnd - entry), "<Value>1</Value>");
    ExpectHas(type.substr(entryEnd), "<Value>1</Value>");

    const std::string update = Element("Command", "InterfaceUpdateList");
    ExpectHas(update, "<pValue>r_InterfaceUpdateList</pValue>");
    ExpectHas(update, "<CommandValue>1</CommandValue>");
}

} // namespace
