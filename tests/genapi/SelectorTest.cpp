// Selectors that no register keeps: the description itself holds what is chosen.
#include "Fixture.h"

namespace {

using GenApi::EAccess;

const std::string kSelector = "<Enumeration Name='Selector'>"
                              "<EnumEntry Name='A'><Value>0</Value></EnumEntry>"
                              "<EnumEntry Name='B'><Value>1</Value></EnumEntry>"
                              "<pValue>Chosen</pValue></Enumeration>"
                              "<Integer Name='Chosen'><Value>0</Value></Integer>";

class SelectorTest : public NodesTest {};

TEST_F(SelectorTest, OfARegistersAddress) {
    const auto nodes = Nodes(kSelector + Register("Mode", 0, "<pIndex Offset='8'>Chosen</pIndex>"));
    EXPECT_EQ(nodes.Access("Selector"), EAccess::ReadWrite);
    memory.bytes[0] = 5;
    memory.bytes[8] = 6;
    EXPECT_EQ(nodes.Integer("Mode"), 5);
    nodes.SetInteger("Selector", 1);
    EXPECT_EQ(nodes.Integer("Selector"), 1);
    EXPECT_EQ(nodes.Integer("Mode"), 6);
    nodes.SetInteger("Mode", 7);
    EXPECT_EQ(memory.bytes[0], 5);
    EXPECT_EQ(memory.bytes[8], 7);
}

TEST_F(SelectorTest, ThatTheDescriptionCallsOne) {
    const auto nodes = Nodes("<Integer Name='Selector'><Value>3</Value>"
                             "<pSelected>Gain</pSelected></Integer>"
                             "<IntSwissKnife Name='Gain'><pVariable Name='S'>Selector</pVariable>"
                             "<Formula>S*10</Formula></IntSwissKnife>");
    EXPECT_EQ(nodes.Integer("Gain"), 30);
    nodes.SetInteger("Selector", 4);
    EXPECT_EQ(nodes.Integer("Gain"), 40);
    EXPECT_EQ(nodes.Float("Selector"), 4.0);
}

// What programs lock by it, descriptions may leave to the node map as well.
TEST_F(SelectorTest, TheLockOfAnAcquisition) {
    const auto nodes =
        Nodes("<Integer Name='TLParamsLocked'><Value>0</Value></Integer>"
              "<Integer Name='Always'><Value>1</Value></Integer>"
              "<Integer Name='Width'><pValue>W</pValue><pIsLocked>TLParamsLocked</pIsLocked>"
              "</Integer><Integer Name='Depth'><pValue>W</pValue><pIsLocked>Always</pIsLocked>"
              "</Integer>" +
              Register("W", 0, ""));
    EXPECT_EQ(nodes.Access("Width"), EAccess::ReadWrite);
    EXPECT_EQ(nodes.Access("TLParamsLocked"), EAccess::ReadWrite);
    nodes.SetInteger("TLParamsLocked", 1);
    EXPECT_EQ(nodes.Integer("TLParamsLocked"), 1);
    EXPECT_EQ(nodes.Access("Width"), EAccess::ReadOnly);
    nodes.SetInteger("TLParamsLocked", 0);
    EXPECT_EQ(nodes.Access("Width"), EAccess::ReadWrite);
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("Always", 0); }), "node Always has a fixed value");
}

TEST_F(SelectorTest, OtherValuesStayFixed) {
    const auto nodes = Nodes(kSelector + "<Integer Name='Version'><Value>2</Value></Integer>"
                                         "<Integer Name='Loop'><pValue>Loop</pValue>"
                                         "<pSelected>Version</pSelected></Integer>"
                                         "<Integer Name='Odd'><Value>x</Value>"
                                         "<pSelected>Version</pSelected></Integer>");
    for (const char* name : {"Version", "Selector"}) {
        EXPECT_EQ(nodes.Access(name), EAccess::ReadOnly);
    }
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("Version", 3); }), "node Version has a fixed value");
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("Loop", 3); }), "node Loop leads back to itself");
    EXPECT_EQ(ErrorOf([&] { nodes.Integer("Odd"); }), "node Odd: \"x\" is no whole number");
}

} // namespace
