// The text of PATH and its like, into which the installer writes its folder and out of which it
// takes it.
#include "FolderList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using environment::CFolderList;
using environment::IsSameFolder;

constexpr const wchar_t* OURS = LR"(C:\Program Files\NorvelTL\bin)";

std::wstring Added(const std::wstring& text) {
    CFolderList list{text};
    list.Add(OURS);
    return list.Text();
}

std::wstring Removed(const std::wstring& text) {
    CFolderList list{text};
    list.Remove(OURS);
    return list.Text();
}

std::wstring Long(std::size_t length) {
    std::wstring text;
    for (int i = 0; text.size() < length; ++i) {
        text += LR"(%ProgramFiles%\Maker )" + std::to_wstring(i) + LR"(\bin\;)";
    }
    return text + LR"(C:\last)";
}

TEST(FolderList, AppendsBehindEverythingElse) {
    EXPECT_EQ(Added(LR"(%SystemRoot%;C:\b)"),
              LR"(%SystemRoot%;C:\b;C:\Program Files\NorvelTL\bin)");
    EXPECT_EQ(Added(LR"(C:\a;;C:\a)"), LR"(C:\a;;C:\a;C:\Program Files\NorvelTL\bin)");
}

TEST(FolderList, AppendsNoEmptyEntry) {
    EXPECT_EQ(Added(LR"(C:\a;)"), LR"(C:\a;C:\Program Files\NorvelTL\bin;)");
    EXPECT_EQ(Added(L""), LR"(C:\Program Files\NorvelTL\bin;)");
}

TEST(FolderList, LeavesATextThatHasTheFolderInAnySpelling) {
    for (const std::wstring text :
         {LR"(C:\Program Files\NorvelTL\bin)", LR"(c:\PROGRAM FILES\norveltl\BIN;C:\b)",
          LR"(C:\a;C:\Program Files\NorvelTL\bin\;C:\b)", LR"("C:\Program Files\NorvelTL\bin")",
          LR"(C:\a;"C:\Program Files\NorvelTL\bin\")", LR"(C:\"Program Files"\NorvelTL\bin)"}) {
        EXPECT_EQ(Added(text), text);
    }
}

TEST(FolderList, KnowsFoldersThatOnlyBeginOrEndAlike) {
    EXPECT_FALSE(IsSameFolder(LR"(C:\Program Files\NorvelTL\bin2)", OURS));
    EXPECT_FALSE(IsSameFolder(LR"(D:\C:\Program Files\NorvelTL\bin)", OURS));
    EXPECT_FALSE(IsSameFolder(LR"(C:\Program Files\NorvelTL)", OURS));
    EXPECT_FALSE(IsSameFolder(L"", OURS));
}

TEST(FolderList, RemovesTheFolderAndNothingElse) {
    EXPECT_EQ(Removed(LR"(C:\a;C:\Program Files\NorvelTL\bin;C:\a)"), LR"(C:\a;C:\a)");
    EXPECT_EQ(Removed(LR"(C:\Program Files\NorvelTL\bin;C:\a)"), LR"(C:\a)");
    EXPECT_EQ(Removed(LR"(C:\a;C:\Program Files\NorvelTL\bin)"), LR"(C:\a)");
    EXPECT_EQ(Removed(LR"(;;C:\Program Files\NorvelTL\bin;;C:\a;;)"), LR"(;;;C:\a;;)");
    EXPECT_EQ(Removed(OURS), L"");
    EXPECT_EQ(Removed(LR"(C:\a\;"C:\b;c";%X%;c:\program files\NORVELTL\bin\)"),
              LR"(C:\a\;"C:\b;c";%X%)");
}

TEST(FolderList, RemovesItHoweverOftenItStands) {
    EXPECT_EQ(Removed(LR"("C:\Program Files\NorvelTL\bin";C:\a;C:\Program Files\NorvelTL\bin)"),
              LR"(C:\a)");
}

TEST(FolderList, LeavesATextWithoutTheFolder) {
    for (const std::wstring text :
         {LR"()", LR"(;)", LR"(C:\a;;)", LR"("C:\a;C:\b)",
          LR"(C:\Program Files\NorvelTL\bin2;C:\Program Files\NorvelTL)"}) {
        EXPECT_EQ(Removed(text), text);
    }
}

TEST(FolderList, DoesNotLookIntoQuotes) {
    const std::wstring text = LR"("C:\a;C:\Program Files\NorvelTL\bin;C:\b")";
    EXPECT_EQ(Removed(text), text);
    EXPECT_EQ(Added(text), text + LR"(;C:\Program Files\NorvelTL\bin)");
}

TEST(FolderList, TakesAQuoteThatIsNeverClosedForACharacter) {
    const std::wstring added = LR"("C:\a;C:\b;C:\Program Files\NorvelTL\bin)";
    EXPECT_EQ(Added(LR"("C:\a;C:\b)"), added);
    EXPECT_EQ(Added(added), added);
    EXPECT_EQ(Removed(added), LR"("C:\a;C:\b)");
}

TEST(FolderList, ComesBackToWhatItWas) {
    for (const std::wstring& text :
         {std::wstring{}, std::wstring{L";"}, std::wstring{LR"(C:\a)"}, std::wstring{LR"(C:\a;)"},
          std::wstring{LR"(C:\a;;)"}, std::wstring{LR"(;C:\a)"}, Long(1024), Long(8000),
          Long(32000)}) {
        EXPECT_EQ(Removed(Added(text)), text);
    }
}

TEST(FolderList, ListsItsEntriesAsTheyStand) {
    const CFolderList list{LR"(C:\a;;"C:\b;c"\d;%X%\;)"};
    EXPECT_EQ(list.Entries(),
              (std::vector<std::wstring_view>{LR"(C:\a)", L"", LR"("C:\b;c"\d)", LR"(%X%\)", L""}));
}

} // namespace
