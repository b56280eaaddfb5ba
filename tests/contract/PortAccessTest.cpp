#include "PortFixtures.h"

namespace {

TEST_F(PortTest, WithoutRegistersReadsAndWritesNothing) {
    for (PORT_HANDLE port : {device, stream, Buffer()}) {
        for (const uint64_t address : {uint64_t{0}, uint64_t{3}, UINT64_MAX}) {
            char buffer[8] = "before";
            size_t size = sizeof buffer;
            EXPECT_OK(gentl.GCReadPort(port, address, buffer, &size));
            EXPECT_STREQ(buffer, "before");
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_OK(gentl.GCWritePort(port, address, buffer, &size));
            EXPECT_EQ(size, sizeof buffer);
            EXPECT_OK(gentl.GCReadPort(port, address, nullptr, nullptr));
            EXPECT_OK(gentl.GCWritePort(port, address, nullptr, nullptr));
        }
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 0U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_WRITE_PORT), 0U);
}

TEST_F(PortTest, ReadsTheRegistersOfTheSystem) {
    char vendor[64] = {};
    size_t size = sizeof vendor;
    EXPECT_OK(gentl.GCReadPort(tl, 0x48, vendor, &size));
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_EQ(size, sizeof vendor);
    uint32_t value = 77;
    size = sizeof value;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPort(tl, 0x10, &value, &size));
    EXPECT_FAILS(-1005, "Register 44 is not writable.", gentl.GCWritePort(tl, 0x44, &value, &size));
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, HandsAddressAndSizeOnUnchanged) {
    AddFault(OPTIVO_DEVICE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_INTERFACE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_INTERFACE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    char buffer[8] = {};
    size_t size = 3;
    EXPECT_OK(gentl.GCReadPort(remote, 0xFEDCBA9876543211, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_READ_PORT), 0xFEDCBA9876543211);
    EXPECT_OK(gentl.GCWritePort(remote, 0xFEDCBA9876543212, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_WRITE_PORT), 0xFEDCBA9876543212);
    EXPECT_OK(gentl.GCReadPort(iface, 0xFEDCBA9876543213, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_READ_PORT), 0xFEDCBA9876543213);
    EXPECT_OK(gentl.GCWritePort(iface, 0xFEDCBA9876543214, buffer, &size));
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_INTERFACE_WRITE_PORT), 0xFEDCBA9876543214);
    EXPECT_EQ(size, 3U);
}

TEST_F(PortTest, StackedReadReadsEveryEntry) {
    char vendor[64] = {};
    char model[64] = {};
    uint32_t count = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {
        {0x48, vendor, sizeof vendor}, {0x88, model, sizeof model}, {0x4, &count, sizeof count}};
    size_t numEntries = 3;
    EXPECT_OK(gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 3U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_STREQ(model, "NorvelTL");
    EXPECT_EQ(count, NumInterfaces());
    EXPECT_EQ(entries[0].Size, sizeof vendor);
    EXPECT_EQ(entries[0].Address, 0x48U);
    EXPECT_EQ(entries[0].pBuffer, vendor);
}

TEST_F(PortTest, StackedReadTakesNoMoreThanTheCount) {
    char vendor[64] = {};
    char model[64] = "before";
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x48, vendor, sizeof vendor},
                                           {0x88, model, sizeof model}};
    size_t numEntries = 1;
    EXPECT_OK(gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_STREQ(model, "before");
}

TEST_F(PortTest, StackedReadEndsAtTheFirstFailure) {
    char vendor[64] = {};
    uint32_t undefined = 77;
    char model[64] = "before";
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x48, vendor, sizeof vendor},
                                           {0x10, &undefined, sizeof undefined},
                                           {0x88, model, sizeof model}};
    size_t numEntries = 3;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    EXPECT_STREQ(vendor, "NORVEL");
    EXPECT_EQ(undefined, 77U);
    EXPECT_STREQ(model, "before");
}

TEST_F(PortTest, StackedReadMayFailAtOnce) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x10, &value, 4}, {0x4, &value, 4}};
    size_t numEntries = 2;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCReadPortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 0U);
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, StackedWriteEndsAtTheFirstFailure) {
    ASSERT_GE(NumInterfaces(), 2U);
    uint32_t first = 1;
    uint32_t refused = 1;
    uint32_t last = 0;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x8, &first, 4}, {0x44, &refused, 4}, {0x8, &last, 4}};
    size_t numEntries = 3;
    EXPECT_FAILS(-1005, "Register 44 is not writable.",
                 gentl.GCWritePortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 1U);
    uint32_t selected = 77;
    size_t size = sizeof selected;
    EXPECT_OK(gentl.GCReadPort(tl, 0x8, &selected, &size));
    EXPECT_EQ(selected, 1U);
}

TEST_F(PortTest, StackedWriteWritesEveryEntry) {
    ASSERT_GE(NumInterfaces(), 2U);
    uint32_t first = 0;
    uint32_t second = 1;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x8, &first, 4}, {0x8, &second, 4}};
    size_t numEntries = 2;
    EXPECT_OK(gentl.GCWritePortStacked(tl, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    uint32_t selected = 77;
    size_t size = sizeof selected;
    EXPECT_OK(gentl.GCReadPort(tl, 0x8, &selected, &size));
    EXPECT_EQ(selected, 1U);
}

TEST_F(PortTest, StackedAccessOfTheCameraStopsAskingIt) {
    AddFault(OPTIVO_DEVICE_READ_PORT, -1005, 0x2000);
    AddFault(OPTIVO_DEVICE_READ_PORT, 0, OPTIVO_ANY_SELECTOR);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, -1010, 0x2000);
    AddFault(OPTIVO_DEVICE_WRITE_PORT, 0, OPTIVO_ANY_SELECTOR);
    uint32_t values[4] = {};
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x1000, &values[0], 4},
                                           {0x1004, &values[1], 4},
                                           {0x2000, &values[2], 4},
                                           {0x1008, &values[3], 4}};
    size_t numEntries = 4;
    EXPECT_FAILS(-1005, "Register 0x2000 is not readable.",
                 gentl.GCReadPortStacked(remote, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_READ_PORT), 3U);
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_READ_PORT), 0x2000U);
    numEntries = 4;
    EXPECT_FAILS(-1010, "Read register 0x2000 is failed.",
                 gentl.GCWritePortStacked(remote, entries, &numEntries));
    EXPECT_EQ(numEntries, 2U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_WRITE_PORT), 3U);
    EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_WRITE_PORT), 0x2000U);
}

TEST_F(PortTest, StackedAccessWithoutRegistersCountsEveryEntry) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entries[] = {{0, &value, 4}, {UINT64_MAX, nullptr, 0}};
    for (PORT_HANDLE port : {device, stream, Buffer()}) {
        size_t numEntries = 2;
        EXPECT_OK(gentl.GCReadPortStacked(port, entries, &numEntries));
        EXPECT_EQ(numEntries, 2U);
        EXPECT_OK(gentl.GCWritePortStacked(port, entries, &numEntries));
        EXPECT_EQ(numEntries, 2U);
    }
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, StackedAccessWithoutEntriesIsNotRecorded) {
    uint32_t value = 77;
    PORT_REGISTER_STACK_ENTRY entry = {0x4, &value, 4};
    for (const auto function : {gentl.GCReadPortStacked, gentl.GCWritePortStacked}) {
        size_t numEntries = 0;
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, &entry, &numEntries));
        EXPECT_EQ(numEntries, 0U);
        numEntries = 1;
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, nullptr, &numEntries));
        EXPECT_EQ(numEntries, 1U);
        EXPECT_FAILS_UNRECORDED(-1009, function(tl, &entry, nullptr));
        EXPECT_FAILS_UNRECORDED(-1009, function(device, nullptr, nullptr));
    }
    EXPECT_EQ(value, 77U);
}

TEST_F(PortTest, SystemAndInterfaceHaveNoEvents) {
    for (PORT_HANDLE source : {tl, iface}) {
        for (const EVENT_TYPE type : {0, 1, 2, 3, 4, 5, 1000, -1}) {
            const std::string text = "Event ID " + std::to_string(type) + " not implemented";
            EVENT_HANDLE event = this;
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, &event));
            EXPECT_EQ(event, this);
            EXPECT_FAILS(-1001, text, gentl.GCRegisterEvent(source, type, nullptr));
            EXPECT_FAILS(-1001, text, gentl.GCUnregisterEvent(source, type));
        }
    }
}

TEST_F(PortTest, BufferHasNoEvents) {
    EVENT_HANDLE event = this;
    EXPECT_FAILS(-1001, UNSPECIFIED, gentl.GCRegisterEvent(Buffer(), 1, &event));
    EXPECT_EQ(event, this);
    EXPECT_FAILS(-1001, "Event ID 1 not implemented", gentl.GCUnregisterEvent(Buffer(), 1));
}

} // namespace
