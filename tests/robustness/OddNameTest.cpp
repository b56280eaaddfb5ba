#include "Fixtures.h"

#include "Steering.h"

namespace {

std::vector<std::string> OddNames() {
    return {"%",
            "%s",
            "%s%s%s%s%n",
            "%1%",
            "%1$x;%2%",
            "100%",
            "%%",
            "%S-",
            "%I64X",
            "{0}",
            "a b\tc\n",
            "\x01\x7F",
            "\xFF\xFE",
            "N\xC3\xBCrnberg",
            "../../etc/passwd",
            "'\";--",
            "$(x) `y`",
            "\\"};
}

// IDs that a consumer made up.
class UnknownNameTest : public InterfaceTest {
protected:
    void ExpectUnknown(const std::string& id) {
        SCOPED_TRACE(id.substr(0, 40));
        void* handle = this;
        EXPECT_FAILS(-1001, "Invalid interface name " + id,
                     gentl.TLOpenInterface(tl, id.c_str(), &handle));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, id.c_str(), 4, &handle));
        EXPECT_EQ(handle, this);
        char bytes[64] = {};
        size_t size = sizeof bytes;
        EXPECT_FAILS(-1001, "Unable to find device " + id,
                     gentl.IFGetDeviceInfo(iface, id.c_str(), 0, nullptr, bytes, &size));
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.TLGetInterfaceInfo(tl, id.c_str(), 0, nullptr, bytes, &size));
        EXPECT_EQ(size, sizeof bytes);
    }
};

TEST_F(UnknownNameTest, ThatIsOddIsRepeatedAsItIs) {
    for (const std::string& name : OddNames()) {
        ExpectUnknown(name);
    }
}

TEST_F(UnknownNameTest, ThatIsEndlessIsRepeatedAsItIs) {
    for (const size_t length : {255U, 256U, 512U, 2047U, 2048U, 2049U, 10000U}) {
        ExpectUnknown(std::string(length, 'x'));
        ExpectUnknown("GEV::" + std::string(length, 'x'));
        ExpectUnknown(std::string(length, '%'));
    }
}

TEST_F(UnknownNameTest, WithoutANameIsRefused) {
    for (const std::string id : {"", "::", "::::", "GEV::", "GEV::::", "::::::::"}) {
        SCOPED_TRACE(id);
        void* handle = this;
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.TLOpenInterface(tl, id.c_str(), &handle));
        EXPECT_FAILS(-1001, UNSPECIFIED, gentl.IFOpenDevice(iface, id.c_str(), 4, &handle));
        char bytes[64] = {};
        size_t size = sizeof bytes;
        EXPECT_FAILS(-1001, UNSPECIFIED,
                     gentl.IFGetDeviceInfo(iface, id.c_str(), 0, nullptr, bytes, &size));
        EXPECT_EQ(handle, this);
    }
}

TEST_F(UnknownNameTest, OpensAStreamAllTheSame) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    std::vector<std::string> ids = OddNames();
    ids.push_back(std::string(10000, 'x'));
    for (const std::string& id : ids) {
        SCOPED_TRACE(id.substr(0, 40));
        DS_HANDLE opened = nullptr;
        ASSERT_OK(gentl.DevOpenDataStream(device, id.c_str(), &opened));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.DSGetInfo(opened, 0, out...); }),
                  TextInfo(id));
        EXPECT_OK(gentl.DSClose(opened));
    }
}

// Names that the camera library enumerates.
class OddNameTest : public SystemTest {};

TEST_F(OddNameTest, OfAnInterfaceIsAnId) {
    for (const std::string& name : OddNames()) {
        ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "gev", "GEV"), 1);
    }
    ASSERT_EQ(NumInterfaces(), 2 + OddNames().size());
    for (const std::string& name : OddNames()) {
        SCOPED_TRACE(name);
        const std::string id = "GEV::" + name;
        ASSERT_OK(gentl.TLOpenInterface(tl, id.c_str(), &iface));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.IFGetInfo(iface, 0, out...); }),
                  TextInfo(id));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.IFGetInfo(iface, 1, out...); }),
                  TextInfo("Interface : " + name));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(iface, 0, out...); }),
                  TextInfo(id));
        CloseInterface();
    }
}

TEST_F(OddNameTest, OfADeviceIsAnId) {
    for (const std::string& name : OddNames()) {
        ASSERT_EQ(OptivoSim_AddCamera("usb0", name.c_str(), "%s%n"), 1);
    }
    ASSERT_NO_FATAL_FAILURE(OpenInterface(1));
    ASSERT_EQ(NumDevices(), 1 + OddNames().size());
    for (const std::string& name : OddNames()) {
        SCOPED_TRACE(name);
        AddFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_RESULT, -1009);
        EXPECT_FAILS(-1009, "Invalid Parameter error.(" + name + ")",
                     gentl.IFOpenDevice(iface, name.c_str(), 4, &device));
        ASSERT_OK(gentl.IFOpenDevice(iface, name.c_str(), 4, &device));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(device, 0, out...); }),
                  TextInfo("TLDEV::" + name));
        EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 4, out...); }),
                  TextInfo("G640M (%s%n )"));
        CloseDevice();
    }
}

TEST_F(OddNameTest, AsLongAsTheBufferAllowsIsWhole) {
    const std::string name(2047, 'n');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
    ASSERT_EQ(OptivoSim_AddCamera(name.c_str(), name.c_str(), "1"), 1);
    ASSERT_NO_FATAL_FAILURE(OpenInterface(2));
    EXPECT_EQ(interfaceId, "GEV::" + name);
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_EQ(camera, name);
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(device, 0, out...); }),
              TextInfo("TLDEV::" + name));
}

TEST_F(OddNameTest, ThatIsLongerThanTheBufferDoesNoHarm) {
    const std::string name(10000, 'n');
    ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
    ASSERT_EQ(OptivoSim_AddCamera("eth0", name.c_str(), "1"), 1);
    EXPECT_EQ(NumInterfaces(), 3U);
    EXPECT_EQ(InterfaceId(0), "GEV::eth0");
    ASSERT_NO_FATAL_FAILURE(OpenInterface(0));
    EXPECT_EQ(NumDevices(), 3U);
    EXPECT_EQ(DeviceId(2), "Norvel-G640M-10001");
}

// The system's register block for the selected interface's ID is 256 bytes long.
class SelectedInterfaceTest : public SystemTest {
protected:
    std::string ReadBlock(uint64_t address) {
        std::string block(256, '#');
        size_t size = block.size();
        EXPECT_OK(gentl.GCReadPort(tl, address, block.data(), &size));
        EXPECT_EQ(size, 256U);
        return block;
    }

    void Select(uint32_t index) {
        size_t size = sizeof index;
        ASSERT_OK(gentl.GCWritePort(tl, 0x8, &index, &size));
    }
};

TEST_F(SelectedInterfaceTest, HasItsIdCutToTheBlock) {
    uint32_t index = 2;
    for (const size_t length : {253U, 254U, 255U, 256U, 257U, 300U, 600U, 2000U}) {
        SCOPED_TRACE(length);
        const std::string name(length - 5, 'n');
        const std::string id = "GEV::" + name;
        ASSERT_EQ(OptivoSim_AddInterface(name.c_str(), "GEV", "GEV"), 1);
        ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
        EXPECT_EQ(InterfaceId(index), id);
        Select(index++);
        const std::string block = ReadBlock(0x740);
        EXPECT_STREQ(block.c_str(), id.substr(0, 255).c_str());
        EXPECT_EQ(block[255], '\0');
        EXPECT_EQ(ReadBlock(0x840), std::string(256, '\0'));
    }
    Select(0);
    EXPECT_STREQ(ReadBlock(0x740).c_str(), "GEV::eth0");
}

TEST_F(SelectedInterfaceTest, HasItsIdCutWhenItIsTheFirst) {
    AddFault(OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 1, 0);
    OptivoSim_RemoveInterface("usb0");
    ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
    EXPECT_STREQ(ReadBlock(0x740).c_str(), ("::" + std::string(253, 'X')).c_str());
    EXPECT_EQ(ReadBlock(0x840), std::string(256, '\0'));
}

} // namespace
