#include "Fixtures.h"

#include "Steering.h"

#include <functional>
#include <utility>
#include <vector>

namespace {

std::string Xs(size_t count) {
    return std::string(count, 'X');
}

// The camera library opens an object, and then calls the opening a failure.
class FailedOpeningTest : public InterfaceTest {
protected:
    AliveCount alive;
};

TEST_F(FailedOpeningTest, ADeviceIsClosedAgain) {
    const std::vector<std::pair<int32_t, std::pair<int32_t, std::string>>> rows = {
        {-10003, {-1001, "Not supported this link speed.(Norvel-G640M-10001)"}},
        {-1009, {-1009, "Invalid Parameter error.(Norvel-G640M-10001)"}},
        {-1005, {-1001, "already opened device.(Norvel-G640M-10001)."}},
        {-1002, {-1001, "XML schema error.(Norvel-G640M-10001)"}},
        {-1001, {-1001, "Unable to open device Norvel-G640M-10001"}},
    };
    for (const auto& [result, failure] : rows) {
        SCOPED_TRACE(result);
        AddFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_RESULT_AFTER, result);
        DEV_HANDLE opened = this;
        EXPECT_FAILS(failure.first, failure.second, gentl.IFOpenDevice(iface, LEFT, 4, &opened));
        EXPECT_EQ(opened, this);
        EXPECT_EQ(alive.Devices(), 0U);
    }
    EXPECT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    EXPECT_EQ(alive.Devices(), 1U);
}

TEST_F(FailedOpeningTest, ADeviceWithAnUnknownResultIsOpen) {
    for (const int32_t result : {1, -1, -1003, -1014, -10002}) {
        SCOPED_TRACE(result);
        AddFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_RESULT_AFTER, result);
        ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
        EXPECT_EQ(alive.Devices(), 1U);
        CloseDevice();
        EXPECT_EQ(alive.Devices(), 0U);
    }
}

TEST_F(FailedOpeningTest, AStreamIsClosedAgain) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    for (const int32_t result : {-1, -1001, -1005, INT32_MIN}) {
        SCOPED_TRACE(result);
        AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, result);
        DS_HANDLE opened = this;
        EXPECT_FAILS(-1001, "Unable to open Stream",
                     gentl.DevOpenDataStream(device, "DS0", &opened));
        EXPECT_EQ(opened, this);
        EXPECT_EQ(alive.Streams(), 0U);
    }
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    EXPECT_EQ(alive.Streams(), 1U);
}

TEST_F(FailedOpeningTest, AStreamWithAPositiveResultIsOpen) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, 7);
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    CloseStream();
    EXPECT_EQ(alive.Streams(), 0U);
}

// The results of these are not looked at; what they hand out is closed all the same.
TEST_F(FailedOpeningTest, DescriptionsAreClosed) {
    AddFault(OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_FAULT_RESULT_AFTER, -1001, 2);
    AddFault(OPTIVO_INTERFACE_GET_DEVICE, OPTIVO_FAULT_RESULT_AFTER, -1001, 2);
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200));
    EXPECT_EQ(alive.Interfaces(), 1U);
    EXPECT_EQ(alive.Devices(), 0U);
}

TEST_F(FailedOpeningTest, DescriptionsAreClosedWhenTheyThrow) {
    AddFault(OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_FOREIGN_EXCEPTION, 1);
    AddFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_GENERIC_EXCEPTION, 1);
    EXPECT_CODE(-1001, gentl.TLUpdateInterfaceList(tl, nullptr, 200));
    EXPECT_CODE(-1001, gentl.IFUpdateDeviceList(iface, nullptr, 200));
    EXPECT_EQ(alive.Interfaces(), 1U);
    EXPECT_EQ(alive.Devices(), 0U);
    EXPECT_EQ(NumDevices(), 2U);
}

// The camera library hands out an object, and then throws.
TEST_F(FailedOpeningTest, WhatWasHandedOutBeforeAnExceptionIsClosedAgain) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    void* handle = nullptr;
    const std::vector<std::pair<OptivoOperation, std::function<int32_t()>>> rows = {
        {OPTIVO_GET_SYSTEM, [&] { return gentl.TLOpen(&handle); }},
        {OPTIVO_SYSTEM_GET_INTERFACE,
         [&] { return gentl.TLUpdateInterfaceList(tl, nullptr, 200); }},
        {OPTIVO_SYSTEM_OPEN_INTERFACE,
         [&] { return gentl.TLOpenInterface(tl, "U3V::usb0", &handle); }},
        {OPTIVO_INTERFACE_GET_DEVICE,
         [&] { return gentl.IFUpdateDeviceList(iface, nullptr, 200); }},
        {OPTIVO_INTERFACE_OPEN_DEVICE, [&] { return gentl.IFOpenDevice(iface, LEFT, 4, &handle); }},
        {OPTIVO_DEVICE_OPEN_DATA_STREAM,
         [&] { return gentl.DevOpenDataStream(device, "DS0", &handle); }},
    };
    for (const auto& row : rows) {
        const OptivoOperation operation = row.first;
        SCOPED_TRACE(operation);
        const AliveCount before;
        const uint64_t numCalls = NumCalls(operation);
        AddFault(operation, OPTIVO_FAULT_EXCEPTION_AFTER);
        EXPECT_FAILS(-1001, "Unspecified runtime error.", row.second());
        EXPECT_EQ(NumCalls(operation), numCalls + 1);
        for (int kind = 0; kind < OPTIVO_NUM_OBJECT_KINDS; ++kind) {
            EXPECT_EQ(before.Of(static_cast<OptivoObjectKind>(kind)), 0U) << kind;
        }
        EXPECT_EQ(handle, nullptr);
    }
    EXPECT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &handle));
    EXPECT_OK(gentl.DevClose(handle));
}

// The camera library calls an opening a success and hands out nothing.
class NullObjectTest : public InterfaceTest {};

TEST_F(NullObjectTest, ForTheSystemIsAFailure) {
    AddFault(OPTIVO_GET_SYSTEM, OPTIVO_FAULT_NULL_OBJECT);
    TL_HANDLE second = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpen(&second));
    EXPECT_EQ(second, this);
}

TEST_F(NullObjectTest, ForAnInterfaceIsAFailure) {
    AddFault(OPTIVO_SYSTEM_OPEN_INTERFACE, OPTIVO_FAULT_NULL_OBJECT);
    IF_HANDLE second = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpenInterface(tl, "U3V::usb0", &second));
    EXPECT_EQ(second, this);
    EXPECT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &second));
}

TEST_F(NullObjectTest, ForADescriptionLeavesItsTextsEmpty) {
    AddFault(OPTIVO_SYSTEM_GET_INTERFACE, OPTIVO_FAULT_NULL_OBJECT);
    EXPECT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200));
    EXPECT_EQ(NumInterfaces(), 2U);
    AddFault(OPTIVO_INTERFACE_GET_DEVICE, OPTIVO_FAULT_NULL_OBJECT, 0, 2);
    EXPECT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200));
    EXPECT_EQ(NumDevices(), 2U);
    const auto ask = [&](DEVICE_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, LEFT, command, out...); });
    };
    EXPECT_EQ(ask(0), TextInfo(LEFT));
    for (const DEVICE_INFO_CMD command : {1, 2, 3, 6, 7, 8, 1003, 1004}) {
        EXPECT_EQ(ask(command), TextInfo(""));
    }
}

TEST_F(NullObjectTest, ForAStreamIsAFailure) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_NULL_OBJECT);
    DS_HANDLE opened = this;
    EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS0", &opened));
    EXPECT_EQ(opened, this);
}

// A device without a camera is a device, of which all that needs the camera fails.
TEST_F(NullObjectTest, ForADeviceGivesOneThatIsNotAvailable) {
    AddFault(OPTIVO_INTERFACE_OPEN_DEVICE, OPTIVO_FAULT_NULL_OBJECT);
    ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &device));
    EXPECT_OK(gentl.DevGetPort(device, &remote));
    uint32_t value = 0;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &value));
    EXPECT_EQ(value, 1U);
    size_t size = sizeof value;
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCReadPort(remote, 0x400, &value, &size));
    EXPECT_FAILS(-1014, "Port is not available", gentl.GCWritePort(remote, 0x600, &value, &size));
    char url[512];
    size = sizeof url;
    EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, url, &size));
    EXPECT_CODE(-1013, gentl.GCGetPortURLInfo(remote, 0, 0, nullptr, url, &size));
    DS_HANDLE opened = this;
    EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS0", &opened));
    EVENT_HANDLE event = nullptr;
    EXPECT_OK(gentl.GCRegisterEvent(remote, 4, &event));
    EXPECT_OK(gentl.EventGetData(event, url, &size, 0));
    EXPECT_OK(gentl.GCUnregisterEvent(remote, 4));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 0, out...); }),
              TextInfo(LEFT));
    CloseDevice();
}

// The camera library fills a text's buffer to its last byte, or claims a text ten times as long.
class LibraryTextTest : public InterfaceTest {
protected:
    Info AskInterface(const std::string& id, INTERFACE_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.TLGetInterfaceInfo(tl, id.c_str(), command, out...); });
    }
    Info AskDevice(const std::string& id, DEVICE_INFO_CMD command) {
        return Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, id.c_str(), command, out...); });
    }
    Info AskUrl(PORT_HANDLE port) {
        return Ask([&](auto... out) { return gentl.GCGetPortURLInfo(port, 0, 0, out...); });
    }
    Info AskInterfaceId(uint32_t index) {
        return AskText([&](auto... out) { return gentl.TLGetInterfaceID(tl, index, out...); });
    }

    void UpdateInterfaces() { ASSERT_OK(gentl.TLUpdateInterfaceList(tl, nullptr, 200)); }
    void UpdateDevices() { ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, 200)); }
};

TEST_F(LibraryTextTest, UnterminatedNameOfAnInterfaceEndsWithItsBuffer) {
    AddFault(OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 1, 1);
    UpdateInterfaces();
    EXPECT_EQ(AskInterfaceId(1), PlainTextInfo("::" + Xs(2048)));
    EXPECT_EQ(AskInterface("::" + Xs(2048), 1), TextInfo("Interface : " + Xs(2048)));
}

TEST_F(LibraryTextTest, UnterminatedPrefixOfAnInterfaceEndsWithItsBuffer) {
    AddFault(OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 1, 2);
    UpdateInterfaces();
    EXPECT_EQ(InterfaceId(0), "U3V::usb0");
    EXPECT_EQ(AskInterfaceId(1), PlainTextInfo(Xs(512) + "::eth0"));
}

// Interfaces that are known already keep the type that they had.
TEST_F(LibraryTextTest, UnterminatedTypeOfAnInterfaceEndsWithItsBuffer) {
    ASSERT_EQ(OptivoSim_AddInterface("cxp0", "CXP", "CXP"), 1);
    AddFault(OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 3, 5);
    UpdateInterfaces();
    EXPECT_EQ(AskInterface("U3V::usb0", 2), TextInfo("U3V"));
    EXPECT_EQ(AskInterface("CXP::cxp0", 2), TextInfo(Xs(512)));
}

TEST_F(LibraryTextTest, UnterminatedUrlOfAnInterfaceEndsWithItsBuffer) {
    AddFault(OPTIVO_INTERFACE_READ_PORT, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 2, 4);
    EXPECT_EQ(AskUrl(iface), TextInfo(Xs(512)));
}

TEST_F(LibraryTextTest, UnterminatedNameOfADeviceEndsWithItsBuffer) {
    AddFault(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 1, 0);
    UpdateDevices();
    EXPECT_EQ(AskText([&](auto... out) { return gentl.IFGetDeviceID(iface, 1, out...); }),
              PlainTextInfo(Xs(2048)));
    EXPECT_EQ(AskDevice(Xs(2048), 0), TextInfo(Xs(2048)));
    EXPECT_FAILS(-1001, "Unable to open device " + Xs(2048),
                 gentl.IFOpenDevice(iface, Xs(2048).c_str(), 4, &device));
}

TEST_F(LibraryTextTest, UnterminatedTextsOfADeviceEndWithTheirBuffer) {
    const std::vector<std::pair<uint64_t, DEVICE_INFO_CMD>> rows = {
        {3, 1}, {4, 2}, {13, 3}, {16, 6}, {7, 7}, {0, 8}, {15, 1003}, {14, 1004}};
    for (const auto& [key, command] : rows) {
        SCOPED_TRACE(key);
        AddFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 1, key);
        UpdateDevices();
        // The first camera that the library names.
        EXPECT_EQ(AskDevice(LEFT, command), TextInfo(Xs(512)));
        EXPECT_NE(AskDevice(RIGHT, command), TextInfo(Xs(512)));
    }
}

TEST_F(LibraryTextTest, UnterminatedUrlOfADeviceEndsWithItsBuffer) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    AddFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_UNTERMINATED_TEXT, 0, 2, 8);
    EXPECT_EQ(AskUrl(remote), TextInfo(Xs(512)));
}

TEST_F(LibraryTextTest, UnterminatedUrlEndsWithTheConsumersBuffer) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    const std::vector<std::pair<OptivoOperation, PORT_HANDLE>> rows = {
        {OPTIVO_INTERFACE_READ_PORT, iface}, {OPTIVO_DEVICE_GET_INFO, remote}};
    for (const auto& [operation, port] : rows) {
        AddFault(operation, OPTIVO_FAULT_UNTERMINATED_TEXT);
        std::string buffer(64, '#');
        size_t size = 40;
        EXPECT_OK(gentl.GCGetPortURL(port, buffer.data(), &size));
        EXPECT_EQ(buffer, Xs(39) + '\0' + std::string(24, '#'));
        EXPECT_EQ(size, 40U);
    }
}

TEST_F(LibraryTextTest, AClaimedLengthOfAUrlIsNotHandedOn) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    const std::vector<std::pair<OptivoOperation, PORT_HANDLE>> rows = {
        {OPTIVO_INTERFACE_READ_PORT, iface}, {OPTIVO_DEVICE_GET_INFO, remote}};
    for (const auto& [operation, port] : rows) {
        const std::string url = AskUrl(port).Text();
        for (const size_t offered : {url.size() + 1, size_t{512}, SIZE_MAX / 10}) {
            AddFault(operation, OPTIVO_FAULT_OVERLONG_SIZE);
            std::string buffer(512, '#');
            size_t size = offered;
            EXPECT_OK(gentl.GCGetPortURL(port, buffer.data(), &size));
            EXPECT_EQ(size, url.size() + 1);
            EXPECT_EQ(buffer, url + '\0' + std::string(511 - url.size(), '#'));
        }
    }
}

TEST_F(LibraryTextTest, ClaimedLengthsAreNotBelieved) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    const Info interfaceUrl = AskUrl(iface);
    const Info deviceUrl = AskUrl(remote);
    for (const OptivoOperation operation :
         {OPTIVO_SYSTEM_GET_INTERFACE_NAME, OPTIVO_INTERFACE_READ_PORT,
          OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_DEVICE_GET_INFO}) {
        AddFault(operation, OPTIVO_FAULT_OVERLONG_SIZE, 0, OPTIVO_FOREVER);
    }
    UpdateInterfaces();
    UpdateDevices();
    EXPECT_EQ(AskInterfaceId(0), PlainTextInfo("GEV::eth0"));
    EXPECT_EQ(AskInterface("U3V::usb0", 2), TextInfo("U3V"));
    EXPECT_EQ(DeviceId(0), RIGHT);
    EXPECT_EQ(AskDevice(LEFT, 6), TextInfo("Left"));
    EXPECT_EQ(AskDevice(LEFT, 1004), TextInfo("169.254.10.1"));
    EXPECT_EQ(AskDevice(LEFT, 5), NumberInfo(5, int32_t{1}));
    EXPECT_EQ(AskUrl(iface), interfaceUrl);
    EXPECT_EQ(AskUrl(remote), deviceUrl);
}

// Where the library fails, it wrote nothing, and the text is empty.
TEST_F(LibraryTextTest, FailedTextsAreEmpty) {
    AddFault(OPTIVO_INTERFACE_GET_DEVICE_NAME, OPTIVO_FAULT_RESULT, -1001, OPTIVO_FOREVER);
    UpdateDevices();
    EXPECT_EQ(NumDevices(), 2U);
    EXPECT_EQ(DeviceId(0), "");
    EXPECT_EQ(DeviceId(1), "");
    OptivoSim_ClearFaults();
    AddFault(OPTIVO_DEVICE_GET_INFO, OPTIVO_FAULT_RESULT, -1001, OPTIVO_FOREVER);
    UpdateDevices();
    EXPECT_EQ(AskDevice(LEFT, 1), TextInfo(""));
    EXPECT_EQ(AskDevice(LEFT, 7), TextInfo(""));
}

class LibraryValueTest : public StreamTest {};

// The library has room for the value alone, whatever the consumer offers.
TEST_F(LibraryValueTest, ClaimedSizesAreNotBelieved) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_OVERLONG_SIZE, OPTIVO_FAULT_UNTERMINATED_TEXT}) {
        AddFault(OPTIVO_STREAM_GET_STREAM_INFO, kind, 0, OPTIVO_FOREVER);
        const std::vector<std::pair<STREAM_INFO_CMD, size_t>> rows = {
            {2, 8}, {6, 8}, {9, 8}, {1001, 8}, {1002, 8}, {1003, 4}, {1004, 4}};
        for (const auto& [command, width] : rows) {
            for (const size_t offered : {size_t{0}, width, size_t{32}, SIZE_MAX}) {
                SCOPED_TRACE(std::to_string(command) + ", " + std::to_string(offered));
                std::string buffer(40, '#');
                size_t size = offered;
                EXPECT_OK(gentl.DSGetInfo(stream, command, nullptr, buffer.data(), &size));
                EXPECT_EQ(size, width);
                EXPECT_EQ(buffer.substr(width), std::string(40 - width, '#'));
            }
        }
        OptivoSim_ClearFaults();
    }
}

TEST_F(LibraryValueTest, ASizeThatIsTooSmallIsRefused) {
    for (const STREAM_INFO_CMD command : {2, 6, 9, 1001, 1002, 1003, 1004}) {
        SCOPED_TRACE(command);
        std::string buffer(40, '#');
        size_t size = 3;
        // Where the library itself refuses such a size, its refusal is told.
        EXPECT_NE(gentl.DSGetInfo(stream, command, nullptr, buffer.data(), &size), 0);
        EXPECT_EQ(size, 3U);
        EXPECT_EQ(buffer, std::string(40, '#'));
    }
}

} // namespace
