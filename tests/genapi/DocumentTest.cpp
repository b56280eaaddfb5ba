// The XML text itself, and how much of it is borne.
#include "Fixture.h"

#include "genapi/Document.h"

using GenApi::ParseXml;

namespace {

std::string DocumentRefusal(const std::string& xml) {
    return ErrorOf([&] { ParseXml(xml); });
}

TEST(DocumentTest, ElementsAttributesAndTexts) {
    const GenApi::Tree tree =
        ParseXml("\xEF\xBB\xBF<?xml version='1.0'?><!DOCTYPE a><!-- <b> -->\n"
                 "<a one='>' two = \"'/>\"><b>x &lt; y</b><![CDATA[</a>]]></a>");
    EXPECT_EQ(tree.get<std::string>("a.<xmlattr>.one"), ">");
    EXPECT_EQ(tree.get<std::string>("a.<xmlattr>.two"), "'/>");
    EXPECT_EQ(tree.get<std::string>("a.b"), "x < y");
    EXPECT_EQ(tree.get<std::string>("a"), "</a>");
}

TEST(DocumentTest, MalformedXmlIsToldWithItsLine) {
    EXPECT_EQ(DocumentRefusal("<a>\n<b>\n</a"),
              "the camera's XML is malformed in line 3: expected >");
    EXPECT_EQ(DocumentRefusal("<a>\n<b x=1/></a>"),
              "the camera's XML is malformed in line 2: expected ' or \"");
    EXPECT_EQ(DocumentRefusal("<a"), "the camera's XML is malformed in line 1: expected >");
    EXPECT_EQ(DocumentRefusal("<a><!-- </a>"),
              "the camera's XML is malformed in line 1: unexpected end of data");
    EXPECT_EQ(DocumentRefusal("no XML"), "the camera's XML is malformed in line 1: expected <");
}

TEST(DocumentTest, AHundredElementsWithinEachOther) {
    EXPECT_EQ(DocumentRefusal(Repeated("<a>", 100) + Repeated("</a>", 100)), "nothing");
    EXPECT_EQ(DocumentRefusal(Repeated("<a>", 101) + Repeated("</a>", 101)),
              "the camera's XML is nested too deeply");
}

TEST(DocumentTest, WhatNestsNoneDoesNotCount) {
    EXPECT_EQ(DocumentRefusal(
                  "<a>" + Repeated("<b/><c></c><!--<d>--><?e <f>?><![CDATA[<g>]]>", 200) + "</a>"),
              "nothing");
}

// Each would end the process if it were followed.
TEST(DocumentTest, NestingCannotHide) {
    const std::string deep = Repeated("<a>", 1'000'000);
    const std::string tooDeep = "the camera's XML is nested too deeply";
    for (const char* before :
         {"", "<!-- -->", "<!---->", "<![CDATA[<!--]]>", "<?x <!-- ?>", "<!DOCTYPE x>",
          "<x y='<!--'/>", "<x y=\"'\"/>", "<x/>", "</x>", "<x y='/>'>"}) {
        EXPECT_EQ(DocumentRefusal("<r>" + (before + deep)), tooDeep) << before;
    }
    for (const char* before :
         {"<!DOCTYPE x [ <!-- ]>", "<x\">", "<x'>", "<x y\"='1'>", "<x y=z>", "<=>", "<>", "<x<y>",
          "<x / >", "<x y='1'\"'>", "<x y>", "<x y =>"}) {
        EXPECT_NE(DocumentRefusal("<r>" + (before + deep))
                      .find("the camera's XML is malformed in line 1: "),
                  std::string::npos)
            << before;
    }
    for (const char* tag : {"<a\">", "<a '>", "<a b=\"'\">", "<a b='\">'>"}) {
        EXPECT_NE(DocumentRefusal(Repeated(tag, 1'000'000)), "nothing") << tag;
    }
}

TEST(DocumentTest, HalfAMillionElementsAndAttributes) {
    const std::string half = "<a>" + Repeated("<b c='' d=''/>", 166'000);
    EXPECT_EQ(DocumentRefusal(half + "</a>"), "nothing");
    EXPECT_EQ(DocumentRefusal(half + Repeated("<b/>", 3'000) + "</a>"),
              "the camera's XML has too many elements");
}

} // namespace
