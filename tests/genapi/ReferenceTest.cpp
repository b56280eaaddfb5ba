// References that lead nowhere, in a circle, or to more work than anybody should do.
#include "Fixture.h"

namespace {

using ReferenceTest = NodesTest;

std::string Integer(const std::string& name, const std::string& target) {
    return "<Integer Name='" + name + "'><pValue>" + target + "</pValue></Integer>";
}

std::string Knife(const std::string& name, const std::string& target, const std::string& formula) {
    return "<IntSwissKnife Name='" + name + "'><pVariable Name='X'>" + target +
           "</pVariable><Formula>" + formula + "</Formula></IntSwissKnife>";
}

TEST_F(ReferenceTest, MissingNodes) {
    const auto nodes = Nodes(Integer("A", "Gone"));
    EXPECT_TRUE(nodes.Has("A"));
    EXPECT_FALSE(nodes.Has("Gone"));
    const std::string missing = "the camera's XML has no node Gone";
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("A"); }), missing);
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("A", 1); }), missing);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Access("A"); }), missing);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Text("Gone"); }), missing);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Node("Gone"); }), missing);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Float("\n"); }), "the camera's XML has no node ?");
}

TEST_F(ReferenceTest, OfTwoNodesOfOneNameTheFirstCounts) {
    const auto nodes = Nodes("<Integer Name='A'><Value>1</Value></Integer>"
                             "<Group><Integer Name='A'><Value>2</Value></Integer></Group>");
    EXPECT_EQ(nodes.Integer("A"), 1);
}

TEST_F(ReferenceTest, CirclesEnd) {
    const std::string back = " leads back to itself";
    const auto nodes = Nodes(Integer("A", "B") + Integer("B", "A") +
                             "<String Name='S'><pValue>S</pValue></String>"
                             "<Float Name='F'><pValue>I</pValue></Float>" +
                             Integer("I", "F") +
                             "<Integer Name='P'><pIndex>P</pIndex></Integer>"
                             "<Boolean Name='L'><Value>1</Value><pIsLocked>M</pIsLocked>"
                             "</Boolean>" +
                             Integer("M", "M") +
                             "<IntReg Name='R'><pAddress>R</pAddress><Length>4</Length></IntReg>");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("A"); }), "node B" + back);
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("A", 1); }), "node B" + back);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Access("A"); }), "node B" + back);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Text("S"); }), "node S" + back);
    EXPECT_EQ(ErrorOf([&] { nodes.SetText("S", ""); }), "node S" + back);
    EXPECT_NE(ErrorOf([&] { (void)nodes.Float("F"); }).find(back), std::string::npos);
    EXPECT_NE(ErrorOf([&] { nodes.SetFloat("F", 1); }).find(back), std::string::npos);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("P"); }), "node P" + back);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Access("L"); }), "node M" + back);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("R"); }), "node R" + back);
}

TEST_F(ReferenceTest, CirclesOfFormulasEnd) {
    const auto nodes = Nodes(Knife("A", "A", "X") +
                             "<IntSwissKnife Name='E'><Expression Name='X'>X</Expression>"
                             "<Formula>X</Formula></IntSwissKnife>"
                             "<Integer Name='M'><pMax>M2</pMax></Integer>"
                             "<IntSwissKnife Name='M2'><pVariable Name='X.Max'>M</pVariable>"
                             "<Formula>X.Max</Formula></IntSwissKnife>");
    for (const char* name : {"A", "E", "M2"}) {
        EXPECT_NE(ErrorOf([&] { (void)nodes.Integer(name); }).find(" leads back to itself"),
                  std::string::npos)
            << name;
    }
}

TEST_F(ReferenceTest, AChainOfThirtyThreeNodes) {
    std::string chain = "<Integer Name='N0'><Value>5</Value></Integer>";
    for (int i = 1; i <= 33; ++i) {
        chain += Integer("N" + std::to_string(i), "N" + std::to_string(i - 1));
    }
    const auto nodes = Nodes(chain);
    EXPECT_EQ(nodes.Integer("N32"), 5);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("N33"); }), "node N0 leads back to itself");
}

// A few nodes that ask for billions of steps.
TEST_F(ReferenceTest, WorkHasAnEnd) {
    const std::string tooMuch = "the camera's XML takes too much work to resolve";
    std::string knives = Knife("K0", "Reg", "X");
    std::string copies = Register("C0", 4);
    for (int i = 1; i <= 15; ++i) {
        const std::string name = std::to_string(i);
        const std::string before = std::to_string(i - 1);
        knives += Knife("K" + name, "K" + before, "X+X+X+X+X+X+X+X");
        copies += "<Integer Name='C" + name + "'><pValue>C" + before + "</pValue><pValueCopy>C" +
                  before + "</pValueCopy><pValueCopy>C" + before + "</pValueCopy></Integer>";
    }
    const auto nodes = Nodes(knives + copies + Register("Reg", 0));
    memory.bytes[0] = 1;
    EXPECT_EQ(nodes.Integer("K2"), 64);
    EXPECT_NE(ErrorOf([&] { (void)nodes.Integer("K15"); }).find(tooMuch), std::string::npos);
    EXPECT_LE(memory.numReads, 1064U);
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("C15", 1); }), tooMuch);
    EXPECT_LE(memory.numWrites, 1000U);
    // Each question has a limit of its own.
    EXPECT_EQ(nodes.Integer("K2"), 64);
}

TEST_F(ReferenceTest, FollowingReferencesIsWorkToo) {
    std::string chain = "<Integer Name='N0'><Value>3</Value></Integer>";
    for (int i = 1; i <= 16; ++i) {
        const std::string before = "N" + std::to_string(i - 1);
        chain += "<Integer Name='N" + std::to_string(i) + "'><pIndex>" + before +
                 "</pIndex><pValueDefault>" + before + "</pValueDefault></Integer>";
    }
    const auto nodes = Nodes(chain);
    EXPECT_EQ(nodes.Integer("N13"), 3);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("N16"); }),
              "the camera's XML takes too much work to resolve");
}

TEST_F(ReferenceTest, LongTextsAreWorkToo) {
    const std::string blanks(1'000'000, ' ');
    const auto nodes =
        Nodes(Knife("Long", "Two", blanks + "X") + Knife("More", "Long", "X+X+X+X+X+X+X+X+X+X+X") +
              "<Integer Name='Two'><Value>2</Value></Integer>");
    EXPECT_EQ(nodes.Integer("Long"), 2);
    EXPECT_NE(ErrorOf([&] { (void)nodes.Integer("More"); }).find("takes too much work to resolve"),
              std::string::npos);
}

// As deep as all limits together let it be, where the stack is small.
TEST_F(ReferenceTest, DeepFormulasOfDeepReferences) {
    std::string knives = Knife("K0", "K0", "X");
    const std::string deep = std::string(60, '(') + "X" + std::string(60, ')');
    for (int i = 1; i <= 15; ++i) {
        knives += Knife("K" + std::to_string(i), "K" + std::to_string(i - 1), deep);
    }
    const auto nodes = Nodes(knives);
    EXPECT_NE(ErrorOf([&] { (void)nodes.Integer("K15"); }).find("the formula is nested too deeply"),
              std::string::npos);
}

} // namespace
