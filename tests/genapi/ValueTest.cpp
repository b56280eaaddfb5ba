// The values of nodes of every kind, and how values reach the registers.
#include "Fixture.h"

#include <array>

namespace {

using Bytes = std::vector<uint8_t>;

class ValueTest : public NodesTest {
protected:
    void Put(size_t address, const Bytes& values) {
        for (size_t i = 0; i < values.size(); ++i) {
            memory.bytes.at(address + i) = values[i];
        }
    }
    Bytes Get(size_t address, size_t size) const {
        const auto begin = memory.bytes.begin() + static_cast<std::ptrdiff_t>(address);
        return {begin, begin + static_cast<std::ptrdiff_t>(size)};
    }
};

TEST_F(ValueTest, AnIntegerIsWhatItRefersTo) {
    const auto nodes = Nodes("<Integer Name='Width'><pValue>WidthReg</pValue></Integer>" +
                             Register("WidthReg", 8) +
                             "<Integer Name='Fixed'><Value> 0x10 </Value></Integer>"
                             "<Integer Name='Below'><Value>-3</Value></Integer>");
    Put(8, {0x80, 2, 0, 0});
    EXPECT_EQ(nodes.Integer("Width"), 640);
    EXPECT_EQ(nodes.Float("Width"), 640.0);
    EXPECT_EQ(nodes.Integer("Fixed"), 16);
    EXPECT_EQ(nodes.Integer("Below"), -3);
    nodes.SetInteger("Width", 0x01020304);
    EXPECT_EQ(Get(8, 4), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("Fixed", 1); }), "node Fixed has a fixed value");
}

TEST_F(ValueTest, ValuesAreReadAnewEachTime) {
    const auto nodes = Nodes(Register("Reg", 0));
    EXPECT_EQ(nodes.Integer("Reg"), 0);
    Put(0, {1});
    EXPECT_EQ(nodes.Integer("Reg"), 1);
    EXPECT_EQ(memory.numReads, 2U);
}

TEST_F(ValueTest, CopiesAreWrittenBeforeTheValue) {
    const auto nodes = Nodes("<Integer Name='Both'><pValue>A</pValue><pValueCopy>B</pValueCopy>"
                             "<pValueCopy>C</pValueCopy></Integer>" +
                             Register("A", 0) + Register("B", 4) + Register("C", 8));
    nodes.SetInteger("Both", 5);
    EXPECT_EQ(Get(0, 12), (Bytes{5, 0, 0, 0, 5, 0, 0, 0, 5, 0, 0, 0}));
}

TEST_F(ValueTest, AnIndexChoosesTheValue) {
    const auto nodes = Nodes(
        "<Integer Name='Chosen'><pIndex>Selector</pIndex>"
        "<pValueIndexed Index='1'>One</pValueIndexed><pValueIndexed Index='0x2'>Two</pValueIndexed>"
        "<pValueDefault>Other</pValueDefault></Integer>"
        "<Integer Name='Strict'><pIndex>Selector</pIndex>"
        "<pValueIndexed Index='1'>One</pValueIndexed></Integer>" +
        Register("Selector", 0) + Register("One", 4) + Register("Two", 8) + Register("Other", 12));
    Put(4, {11, 0, 0, 0, 22, 0, 0, 0, 33});
    EXPECT_EQ(nodes.Integer("Chosen"), 33);
    nodes.SetInteger("Selector", 1);
    EXPECT_EQ(nodes.Integer("Chosen"), 11);
    nodes.SetInteger("Selector", 2);
    EXPECT_EQ(nodes.Integer("Chosen"), 22);
    nodes.SetInteger("Chosen", 44);
    EXPECT_EQ(memory.bytes[8], 44);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Strict"); }),
              "node Strict has no value node for the index 2");
}

TEST_F(ValueTest, AnEnumerationIsTheNumberOfItsEntry) {
    const auto nodes = Nodes("<Enumeration Name='PixelFormat'>"
                             "<EnumEntry Name='Mono8'><Value>0x01080001</Value></EnumEntry>"
                             "<pValue>Reg</pValue></Enumeration>" +
                             Register("Reg", 0));
    Put(0, {1, 0, 8, 1});
    EXPECT_EQ(nodes.Integer("PixelFormat"), 0x01080001);
    EXPECT_FALSE(nodes.Has("Mono8"));
}

TEST_F(ValueTest, Booleans) {
    const auto nodes = Nodes("<Boolean Name='Plain'><pValue>A</pValue></Boolean>"
                             "<Boolean Name='Odd'><pValue>A</pValue><OnValue>6</OnValue>"
                             "<OffValue>9</OffValue></Boolean>"
                             "<Boolean Name='True'><Value>true</Value></Boolean>"
                             "<Boolean Name='False'><Value>false</Value></Boolean>" +
                             Register("A", 0));
    nodes.SetInteger("Plain", 1);
    EXPECT_EQ(memory.bytes[0], 1);
    EXPECT_EQ(nodes.Integer("Plain"), 1);
    EXPECT_EQ(nodes.Integer("Odd"), 0);
    nodes.SetInteger("Odd", 1);
    EXPECT_EQ(memory.bytes[0], 6);
    EXPECT_EQ(nodes.Integer("Odd"), 1);
    EXPECT_EQ(nodes.Integer("Plain"), 0);
    nodes.SetInteger("Odd", 0);
    EXPECT_EQ(memory.bytes[0], 9);
    EXPECT_EQ(nodes.Integer("True"), 1);
    EXPECT_EQ(nodes.Integer("False"), 0);
}

TEST_F(ValueTest, FloatRegisters) {
    const auto nodes =
        Nodes("<FloatReg Name='Single'><Address>0</Address><Length>4</Length></FloatReg>"
              "<FloatReg Name='Double'><Address>8</Address><Length>8</Length></FloatReg>"
              "<FloatReg Name='Big'><Address>16</Address><Length>4</Length>"
              "<Endianess>BigEndian</Endianess></FloatReg>"
              "<Float Name='Gain'><pValue>Double</pValue></Float>"
              "<Float Name='Fixed'><Value>2.5</Value></Float>");
    nodes.SetFloat("Single", 1.5);
    EXPECT_EQ(Get(0, 4), (Bytes{0, 0, 0xC0, 0x3F}));
    EXPECT_EQ(nodes.Float("Single"), 1.5);
    nodes.SetFloat("Gain", -2.0);
    EXPECT_EQ(Get(8, 8), (Bytes{0, 0, 0, 0, 0, 0, 0, 0xC0}));
    EXPECT_EQ(nodes.Float("Gain"), -2.0);
    nodes.SetFloat("Big", 1.5);
    EXPECT_EQ(Get(16, 4), (Bytes{0x3F, 0xC0, 0, 0}));
    EXPECT_EQ(nodes.Float("Big"), 1.5);
    EXPECT_EQ(nodes.Float("Fixed"), 2.5);
    EXPECT_EQ(ErrorOf([&] { nodes.SetFloat("Fixed", 1); }), "node Fixed has a fixed value");
}

TEST_F(ValueTest, FloatsAndIntegersOfEachOther) {
    const auto nodes =
        Nodes("<Float Name='OfWhole'><pValue>Whole</pValue></Float>"
              "<Integer Name='OfReal'><pValue>Real</pValue></Integer>"
              "<FloatReg Name='Real'><Address>8</Address><Length>8</Length></FloatReg>" +
              Register("Whole", 0));
    nodes.SetFloat("OfWhole", 2.6);
    EXPECT_EQ(memory.bytes[0], 3);
    EXPECT_EQ(nodes.Float("OfWhole"), 3.0);
    nodes.SetFloat("Real", 7.5);
    EXPECT_EQ(nodes.Integer("OfReal"), 8);
    nodes.SetInteger("OfReal", 4);
    EXPECT_EQ(nodes.Float("Real"), 4.0);
    nodes.SetFloat("Real", 1e19);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Real"); }), "node Real is beyond 64 bits");
}

TEST_F(ValueTest, SwissKnives) {
    const auto nodes =
        Nodes("<IntSwissKnife Name='Payload'><pVariable Name='W'>Width</pVariable>"
              "<Constant Name='H'>4</Constant><Expression Name='AREA'>W * H</Expression>"
              "<Formula>AREA + 1</Formula></IntSwissKnife>"
              "<SwissKnife Name='Half'><pVariable Name='W'>Width</pVariable>"
              "<Formula>W / 2</Formula></SwissKnife>"
              "<SwissKnife Name='Broken'><Formula>W / 2</Formula></SwissKnife>" +
              Register("Width", 0));
    Put(0, {5});
    EXPECT_EQ(nodes.Integer("Payload"), 21);
    EXPECT_EQ(nodes.Float("Half"), 2.5);
    EXPECT_EQ(nodes.Integer("Half"), 3);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Float("Broken"); }),
              "node Broken: the variable W is not defined");
    EXPECT_EQ(ErrorOf([&] { nodes.SetFloat("Half", 1); }), "node Half cannot be written");
}

TEST_F(ValueTest, VariablesMayBeLimits) {
    const auto nodes =
        Nodes("<IntSwissKnife Name='Room'><pVariable Name='W.Value'>Width</pVariable>"
              "<pVariable Name='W.Max'>Width</pVariable><pVariable Name='W.Min'>Width</pVariable>"
              "<pVariable Name='W.Inc'>Width</pVariable>"
              "<Formula>W.Max * 100 + W.Value * 10 + W.Min</Formula></IntSwissKnife>"
              "<IntSwissKnife Name='Step'><pVariable Name='W.Inc'>Width</pVariable>"
              "<Formula>W.Inc</Formula></IntSwissKnife>"
              "<IntSwissKnife Name='Odd'><pVariable Name='W.Color'>Width</pVariable>"
              "<Formula>W.Color</Formula></IntSwissKnife>"
              "<Integer Name='Width'><pValue>Reg</pValue><Min>2</Min><pMax>Max</pMax></Integer>" +
              Register("Reg", 0) + Register("Max", 4));
    Put(0, {3, 0, 0, 0, 9});
    EXPECT_EQ(nodes.Integer("Room"), 932);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Step"); }),
              "node Step: the variable W.Inc cannot be resolved");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Odd"); }),
              "node Odd: the variable W.Color cannot be resolved");
    const GenApi::SNode& width = nodes.Node("Width");
    EXPECT_EQ(nodes.IntegerLimit(width, "Min"), 2);
    EXPECT_EQ(nodes.IntegerLimit(width, "Max"), 9);
    EXPECT_EQ(nodes.FloatLimit(width, "Max"), 9.0);
    EXPECT_EQ(nodes.IntegerLimit(width, "Inc"), std::nullopt);
}

TEST_F(ValueTest, Converters) {
    const auto nodes = Nodes("<Converter Name='Gain'><pVariable Name='S'>Scale</pVariable>"
                             "<FormulaTo>FROM * S</FormulaTo><FormulaFrom>TO / S</FormulaFrom>"
                             "<pValue>Reg</pValue></Converter>"
                             "<IntConverter Name='Lines'><FormulaTo>FROM - 1</FormulaTo>"
                             "<FormulaFrom>TO + 1</FormulaFrom><pValue>Reg</pValue></IntConverter>"
                             "<Integer Name='Scale'><Value>10</Value></Integer>" +
                             Register("Reg", 0));
    nodes.SetFloat("Gain", 2.5);
    EXPECT_EQ(memory.bytes[0], 25);
    EXPECT_EQ(nodes.Float("Gain"), 2.5);
    EXPECT_EQ(nodes.Integer("Lines"), 26);
    nodes.SetInteger("Lines", 8);
    EXPECT_EQ(memory.bytes[0], 7);
}

TEST_F(ValueTest, Texts) {
    const auto nodes =
        Nodes("<StringReg Name='Reg'><Address>4</Address><Length>8</Length></StringReg>"
              "<String Name='Name'><pValue>Reg</pValue></String>"
              "<String Name='Fixed'><Value>for ever</Value></String>" +
              Register("Number", 0));
    nodes.SetText("Name", "camera");
    EXPECT_EQ(Get(4, 8), (Bytes{'c', 'a', 'm', 'e', 'r', 'a', 0, 0}));
    EXPECT_EQ(nodes.Text("Name"), "camera");
    nodes.SetText("Name", "12345678");
    EXPECT_EQ(nodes.Text("Reg"), "12345678");
    EXPECT_EQ(ErrorOf([&] { nodes.SetText("Name", "123456789"); }),
              "Reg takes at most 8 characters");
    EXPECT_EQ(nodes.Text("Fixed"), "for ever");
    EXPECT_EQ(ErrorOf([&] { nodes.SetText("Fixed", "x"); }), "node Fixed has a fixed value");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Text("Number"); }),
              "node Number is of the kind IntReg, which cannot be resolved");
    EXPECT_EQ(nodes.Bytes(nodes.Node("Reg")), (Bytes{'1', '2', '3', '4', '5', '6', '7', '8'}));
}

TEST_F(ValueTest, WhatHasNoNumber) {
    const auto nodes = Nodes("<Category Name='Root'/><Integer Name='Empty'/>"
                             "<Integer Name='Word'><Value>many</Value></Integer>"
                             "<Float Name='WordToo'><Value>1,5</Value></Float>");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Root"); }),
              "node Root is of the kind Category, which cannot be resolved");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Empty"); }),
              "node Empty has neither a Value nor a pValue");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("Word"); }),
              "node Word: \"many\" is no whole number");
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Float("WordToo"); }), "node WordToo: \"1,5\" is no number");
}

} // namespace
