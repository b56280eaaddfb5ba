// What may be read and written, and what follows from it.
#include "Fixture.h"

namespace {

using GenApi::EAccess;

class AccessTest : public NodesTest {
protected:
    EAccess Access(const std::string& nodes) { return Nodes(nodes).Access("N"); }
    static std::string Node(const std::string& parts) {
        return "<Integer Name='N'><pValue>Reg</pValue>" + parts + "</Integer>";
    }
    static std::string Reg(const std::string& mode) {
        return "<IntReg Name='Reg'><Address>0</Address><Length>4</Length>" + mode + "</IntReg>";
    }
    static std::string Constant(const std::string& name, const std::string& value) {
        return "<Integer Name='" + name + "'><Value>" + value + "</Value></Integer>";
    }

    const std::string m_readWrite = Reg("<AccessMode>RW</AccessMode>");
    const std::string m_yes = Constant("Yes", "1");
    const std::string m_no = Constant("No", "0");
};

TEST_F(AccessTest, ARegistersModeGoesUp) {
    EXPECT_EQ(Access(Node("") + m_readWrite), EAccess::ReadWrite);
    EXPECT_EQ(Access(Node("") + Reg("<AccessMode>RO</AccessMode>")), EAccess::ReadOnly);
    EXPECT_EQ(Access(Node("") + Reg("<AccessMode>WO</AccessMode>")), EAccess::WriteOnly);
    EXPECT_EQ(Access(Node("") + Reg("")), EAccess::ReadOnly);
}

TEST_F(AccessTest, WhatLeadsToNoRegisterIsRead) {
    EXPECT_EQ(Access("<Integer Name='N'><Value>1</Value></Integer>"), EAccess::ReadOnly);
    EXPECT_EQ(Access("<IntSwissKnife Name='N'><Formula>1</Formula></IntSwissKnife>"),
              EAccess::ReadOnly);
}

TEST_F(AccessTest, AnImposedModeTakesAway) {
    const auto imposed = [](const char* mode) {
        return Node(std::string("<ImposedAccessMode>") + mode + "</ImposedAccessMode>");
    };
    EXPECT_EQ(Access(imposed("RO") + m_readWrite), EAccess::ReadOnly);
    EXPECT_EQ(Access(imposed("WO") + m_readWrite), EAccess::WriteOnly);
    EXPECT_EQ(Access(imposed("RW") + Reg("<AccessMode>RO</AccessMode>")), EAccess::ReadOnly);
    EXPECT_EQ(Access(imposed("WO") + Reg("<AccessMode>RO</AccessMode>")), EAccess::NotAvailable);
}

TEST_F(AccessTest, LocksAndConditions) {
    EXPECT_EQ(Access(Node("<pIsLocked>Yes</pIsLocked>") + m_readWrite + m_yes), EAccess::ReadOnly);
    EXPECT_EQ(Access(Node("<pIsLocked>No</pIsLocked>") + m_readWrite + m_no), EAccess::ReadWrite);
    EXPECT_EQ(
        Access(Node("<pIsLocked>Yes</pIsLocked>") + Reg("<AccessMode>WO</AccessMode>") + m_yes),
        EAccess::NotAvailable);
    EXPECT_EQ(Access(Node("<pIsAvailable>No</pIsAvailable>") + m_readWrite + m_no),
              EAccess::NotAvailable);
    EXPECT_EQ(Access(Node("<pIsAvailable>Yes</pIsAvailable>") + m_readWrite + m_yes),
              EAccess::ReadWrite);
    EXPECT_EQ(Access(Node("<pIsImplemented>No</pIsImplemented><pIsAvailable>No</pIsAvailable>") +
                     m_readWrite + m_no),
              EAccess::NotImplemented);
}

TEST_F(AccessTest, WhatTheTargetLacksItsUserLacks) {
    EXPECT_EQ(
        Access(Node("") + Reg("<AccessMode>RW</AccessMode><pIsAvailable>No</pIsAvailable>") + m_no),
        EAccess::NotAvailable);
    EXPECT_EQ(Access("<Converter Name='N'><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>"
                     "<pValue>Reg</pValue></Converter>" +
                     Reg("<AccessMode>WO</AccessMode>")),
              EAccess::WriteOnly);
}

} // namespace
