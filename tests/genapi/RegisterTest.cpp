// Registers: where they lie, how long they are, in which order their bytes and bits stand.
#include "Fixture.h"

#include <limits>
#include <typeinfo>

namespace {

using Bytes = std::vector<uint8_t>;

class RegisterTest : public NodesTest {
protected:
    RegisterTest() {
        for (size_t i = 0; i < memory.bytes.size(); ++i) {
            memory.bytes[i] = static_cast<uint8_t>(i);
        }
    }
    int64_t Read(const std::string& node) { return Nodes(node).Integer("R"); }
    std::string Refusal(const std::string& node) {
        return ErrorOf([&] { (void)Nodes(node).Integer("R"); });
    }
};

std::string IntReg(const std::string& parts) {
    return "<IntReg Name='R'>" + parts + "</IntReg>";
}

std::string Masked(const std::string& parts) {
    return "<MaskedIntReg Name='R'><Address>0</Address><Length>2</Length>" + parts +
           "</MaskedIntReg>";
}

TEST_F(RegisterTest, EveryLength) {
    EXPECT_EQ(Read(IntReg("<Address>1</Address><Length>1</Length>")), 1);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><Length>2</Length>")), 0x0201);
    EXPECT_EQ(Read(IntReg("<Address>0x1</Address><Length>3</Length>")), 0x030201);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><Length>8</Length>")), 0x0807060504030201);
    EXPECT_EQ(
        Read(IntReg("<Address>1</Address><Length>2</Length><Endianess>BigEndian</Endianess>")),
        0x0102);
    EXPECT_EQ(
        Read(IntReg("<Address>1</Address><Length>8</Length><Endianess>BigEndian</Endianess>")),
        0x0102030405060708);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><pLength>L</pLength>") +
                   "<Integer Name='L'><Value>2</Value></Integer>"),
              0x0201);
}

TEST_F(RegisterTest, WrongLengths) {
    for (const char* length : {"0", "-1", "9", "9223372036854775807"}) {
        EXPECT_EQ(
            Refusal(IntReg(std::string("<Address>0</Address><Length>") + length + "</Length>")),
            std::string("node R: a length of ") + length + " bytes cannot be resolved");
    }
    EXPECT_EQ(Refusal(IntReg("<Address>0</Address>")), "node R: \"\" is no whole number");
    EXPECT_EQ(Refusal(IntReg("<Address>0</Address><Length>four</Length>")),
              "node R: \"four\" is no whole number");
    EXPECT_EQ(Refusal("<FloatReg Name='R'><Address>0</Address><Length>2</Length></FloatReg>"),
              "node R: a length of 2 bytes cannot be resolved");
    const auto text =
        Nodes("<StringReg Name='R'><Address>0</Address><Length>1048577</Length></StringReg>");
    EXPECT_EQ(ErrorOf([&] { (void)text.Text("R"); }),
              "node R: a length of 1048577 bytes cannot be resolved");
    EXPECT_EQ(memory.numReads, 0U);
}

TEST_F(RegisterTest, TextsAndBlocksHoldNoNumber) {
    for (const std::string kind : {"StringReg", "Register"}) {
        const std::string is = "node R is of the kind " + kind + ", which holds no number";
        for (const char* length : {"4", "8", "9", "64"}) {
            auto nodes = Nodes("<Integer Name='I'><pValue>R</pValue></Integer><" + kind +
                               " Name='R'><Address>0</Address><LSB>0</LSB><MSB>7</MSB><Length>" +
                               length + "</Length></" + kind + ">");
            for (const char* name : {"R", "I"}) {
                EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer(name); }), is);
                EXPECT_EQ(ErrorOf([&] { (void)nodes.Float(name); }), is);
                EXPECT_EQ(ErrorOf([&] { nodes.SetInteger(name, 1); }), is);
                EXPECT_EQ(ErrorOf([&] { nodes.SetFloat(name, 1); }), is);
            }
        }
    }
    EXPECT_EQ(memory.numReads, 0U);
    EXPECT_EQ(memory.numWrites, 0U);
}

TEST_F(RegisterTest, AddressesAreSums) {
    const std::string length = "<Length>1</Length>";
    const std::string six = "<Integer Name='Six'><Value>6</Value></Integer>";
    EXPECT_EQ(Read(IntReg("<Address>2</Address><Address>3</Address>" + length)), 5);
    EXPECT_EQ(Read(IntReg("<Address>2</Address><pAddress>Six</pAddress>" + length) + six), 8);
    EXPECT_EQ(
        Read(IntReg("<IntSwissKnife><pVariable Name='X'>Six</pVariable><Formula>X * X</Formula>"
                    "</IntSwissKnife><Address>1</Address>" +
                    length) +
             six),
        37);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><pIndex Offset='4'>Six</pIndex>" + length) + six),
              25);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><pIndex pOffset='Six'>Six</pIndex>" + length) + six),
              37);
    EXPECT_EQ(Read(IntReg("<Address>10</Address><Address>-3</Address>" + length)), 7);
    EXPECT_EQ(Read(IntReg("<Address>1</Address><pIndex Offset='0x4000000000000000'>Six</pIndex>"
                          "<pIndex Offset='-0x4000000000000000'>Six</pIndex>" +
                          length) +
                   six),
              1);
    EXPECT_EQ(Refusal(IntReg("<Address>1</Address><pIndex>Six</pIndex>" + length) + six),
              "node R has an index without an offset");
    EXPECT_EQ(Refusal(IntReg(length)), "node R has no address");
}

TEST_F(RegisterTest, ThePortsFailurePassesThrough) {
    const auto nodes = Nodes(IntReg("<Address>0x40</Address><Length>4</Length>") +
                             "<IntSwissKnife Name='K'><pVariable Name='X'>R</pVariable>"
                             "<Formula>X</Formula></IntSwissKnife>");
    const auto read = [&] { (void)nodes.Integer("R"); };
    EXPECT_THROW(
        try { read(); } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "no register at 64");
            EXPECT_EQ(typeid(error), typeid(std::runtime_error));
            throw;
        },
        std::runtime_error);
    EXPECT_EQ(ErrorOf([&] { (void)nodes.Integer("K"); }), "node K: no register at 64");
}

TEST_F(RegisterTest, SignedNumbers) {
    memory.bytes[0] = 0xFE;
    memory.bytes[1] = 0xFF;
    const std::string place = "<Address>0</Address><Length>2</Length>";
    EXPECT_EQ(Read(IntReg(place)), 0xFFFE);
    EXPECT_EQ(Read(IntReg(place + "<Sign>Signed</Sign>")), -2);
    EXPECT_EQ(Read(IntReg(place + "<Sign>Unsigned</Sign>")), 0xFFFE);
    EXPECT_EQ(Read(Masked("<LSB>1</LSB><MSB>8</MSB><Sign>Signed</Sign>")), -1);
}

TEST_F(RegisterTest, WhatDoesNotFit) {
    const std::string place = "<Address>0</Address><Length>1</Length>";
    const auto unsigned8 = Nodes(IntReg(place));
    unsigned8.SetInteger("R", 255);
    EXPECT_EQ(memory.bytes[0], 255);
    EXPECT_EQ(ErrorOf([&] { unsigned8.SetInteger("R", 256); }),
              "256 does not fit into the 8 bits of R");
    EXPECT_EQ(ErrorOf([&] { unsigned8.SetInteger("R", -1); }),
              "-1 does not fit into the 8 bits of R");
    const auto signed8 = Nodes(IntReg(place + "<Sign>Signed</Sign>"));
    signed8.SetInteger("R", -128);
    EXPECT_EQ(memory.bytes[0], 0x80);
    EXPECT_EQ(ErrorOf([&] { signed8.SetInteger("R", 128); }),
              "128 does not fit into the 8 bits of R");
    EXPECT_EQ(ErrorOf([&] { signed8.SetInteger("R", -129); }),
              "-129 does not fit into the 8 bits of R");
    const auto whole = Nodes(IntReg("<Address>0</Address><Length>8</Length>"));
    whole.SetInteger("R", std::numeric_limits<int64_t>::min());
    EXPECT_EQ(whole.Integer("R"), std::numeric_limits<int64_t>::min());
}

TEST_F(RegisterTest, MasksKeepTheOtherBits) {
    memory.bytes[0] = 0xFF;
    memory.bytes[1] = 0xFF;
    const auto nodes = Nodes(Masked("<LSB>4</LSB><MSB>11</MSB>"));
    EXPECT_EQ(nodes.Integer("R"), 0xFF);
    nodes.SetInteger("R", 0xA5);
    EXPECT_EQ(memory.bytes[0], 0x5F);
    EXPECT_EQ(memory.bytes[1], 0xFA);
    EXPECT_EQ(ErrorOf([&] { nodes.SetInteger("R", 0x100); }),
              "256 does not fit into the 8 bits of R");
}

TEST_F(RegisterTest, InABigEndianRegisterBitZeroIsTheMostSignificant) {
    memory.bytes[0] = 0x80;
    memory.bytes[1] = 0x01;
    const std::string big = "<Endianess>BigEndian</Endianess>";
    EXPECT_EQ(Read(Masked("<Bit>0</Bit>" + big)), 1);
    EXPECT_EQ(Read(Masked("<Bit>1</Bit>" + big)), 0);
    EXPECT_EQ(Read(Masked("<Bit>15</Bit>" + big)), 1);
    EXPECT_EQ(Read(Masked("<LSB>7</LSB><MSB>0</MSB>" + big)), 0x80);
    EXPECT_EQ(Read(Masked("<Bit>0</Bit>")), 0);
    EXPECT_EQ(Read(Masked("<Bit>15</Bit>")), 0);
    EXPECT_EQ(Read(Masked("<Bit>8</Bit>")), 1);
    EXPECT_EQ(Read(Masked("<MSB>0</MSB><LSB>8</LSB>")), 0x180);
}

TEST_F(RegisterTest, BitsOutsideTheRegister) {
    for (const char* bits : {"<Bit>16</Bit>", "<Bit>-1</Bit>", "<LSB>0</LSB><MSB>16</MSB>",
                             "<Bit>-0x8000000000000000</Bit><Endianess>BigEndian</Endianess>",
                             "<Bit>16</Bit><Endianess>BigEndian</Endianess>"}) {
        EXPECT_EQ(Refusal(Masked(bits)), "node R: its bits lie outside its register") << bits;
    }
    EXPECT_EQ(Refusal(Masked("<LSB>0</LSB>")), "node R: \"\" is no whole number");
}

TEST_F(RegisterTest, EntriesOfAStructureShareItsRegister) {
    const auto nodes = Nodes("<StructReg Comment='Flags'><Address>4</Address><Length>4</Length>"
                             "<Endianess>LittleEndian</Endianess><AccessMode>RW</AccessMode>"
                             "<StructEntry Name='Low'><LSB>0</LSB><MSB>3</MSB></StructEntry>"
                             "<StructEntry Name='Flag'><Bit>8</Bit></StructEntry>"
                             "<StructEntry Name='Top'><Bit>31</Bit><Sign>Signed</Sign>"
                             "<AccessMode>RO</AccessMode></StructEntry></StructReg>");
    EXPECT_EQ(nodes.Integer("Low"), 4);
    EXPECT_EQ(nodes.Integer("Flag"), 1);
    nodes.SetInteger("Low", 9);
    nodes.SetInteger("Flag", 0);
    EXPECT_EQ(memory.bytes[4], 9);
    EXPECT_EQ(memory.bytes[5], 4);
    EXPECT_EQ(nodes.Access("Low"), GenApi::EAccess::ReadWrite);
    EXPECT_EQ(nodes.Access("Top"), GenApi::EAccess::ReadOnly);
    memory.bytes[7] = 0x80;
    EXPECT_EQ(nodes.Integer("Top"), -1);
}

TEST_F(RegisterTest, RegistersOfChunksAndEventsAreNotRead) {
    const std::string place = "<Address>0</Address><Length>4</Length><pPort>P</pPort>";
    EXPECT_EQ(Read(IntReg(place) + "<Port Name='P'/>"), 0x03020100);
    for (const char* id :
         {"<ChunkID>1</ChunkID>", "<pChunkID>X</pChunkID>", "<EventID>9</EventID>"}) {
        EXPECT_EQ(Refusal(IntReg(place) + "<Port Name='P'>" + id + "</Port>"),
                  "node R does not lie in the camera's registers");
    }
    EXPECT_EQ(Refusal(IntReg(place)), "the camera's XML has no node P");
}

} // namespace
