// What the tests of the port functions share: a port of every kind, and what all of them tell
// alike.
#pragma once

#include "Fixtures.h"

// Every kind of port is open.
class PortTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        AnnounceBuffers(1);
        ASSERT_EQ(buffers.size(), 1U);
    }

    PORT_HANDLE Buffer() const { return buffers[0]; }

    struct NamedPort {
        const char* name;
        PORT_HANDLE handle;
    };
    std::vector<NamedPort> AllPorts() const {
        return {{"System", tl},          {"Interface", iface},    {"Device", device},
                {"remote port", remote}, {"Data Stream", stream}, {"buffer", Buffer()}};
    }

    InfoCall PortInfo(PORT_HANDLE port, PORT_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortInfo(port, command, out...); };
    }

    InfoCall UrlInfo(PORT_HANDLE port, URL_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.GCGetPortURLInfo(port, 0, command, out...); };
    }

    // The URL as a consumer with a large buffer gets it.
    std::string Url(PORT_HANDLE port) {
        char url[512] = {};
        size_t size = sizeof url;
        EXPECT_OK(gentl.GCGetPortURL(port, url, &size));
        return url;
    }

    void ExpectText(PORT_HANDLE port, PORT_INFO_CMD command, std::string_view text) {
        SCOPED_TRACE(command);
        ExpectCopyOut(PortInfo(port, command), TextInfo(text));
    }

    void ExpectFlag(PORT_HANDLE port, PORT_INFO_CMD command, bool value) {
        SCOPED_TRACE(command);
        ExpectCopyOut(PortInfo(port, command), BoolInfo(value));
    }

    void ExpectRefused(PORT_HANDLE port, PORT_INFO_CMD command, int32_t code,
                       const std::string& text) {
        SCOPED_TRACE(command);
        INFO_DATATYPE type = 99;
        char buffer[64] = "before";
        size_t size = sizeof buffer;
        EXPECT_FAILS(code, text, gentl.GCGetPortInfo(port, command, &type, buffer, &size));
        EXPECT_EQ(type, 99);
        EXPECT_EQ(size, sizeof buffer);
        EXPECT_STREQ(buffer, "before");
        EXPECT_FAILS(code, text, gentl.GCGetPortInfo(port, command, nullptr, nullptr, nullptr));
    }

    // What all ports tell alike.
    void ExpectCommonInfo(PORT_HANDLE port) {
        ExpectText(port, 1, "NORVEL");
        ExpectText(port, 2, "NorvelTL");
        ExpectText(port, 3, "Mixed");
        ExpectFlag(port, 7, true);
        ExpectFlag(port, 8, true);
        ExpectFlag(port, 9, false);
        ExpectFlag(port, 10, false);
    }

    // What all but a buffer's port tell alike.
    void ExpectByteOrder(PORT_HANDLE port) {
        ExpectFlag(port, 5, true);
        ExpectFlag(port, 6, false);
    }

    void ExpectUrlInfo(PORT_HANDLE port, const std::string& url, int32_t subMinor) {
        ExpectCopyOut(UrlInfo(port, 0), TextInfo(url));
        ExpectCopyOut(UrlInfo(port, 1), NumberInfo<int32_t>(5, 1));
        ExpectCopyOut(UrlInfo(port, 2), NumberInfo<int32_t>(5, 0));
        ExpectCopyOut(UrlInfo(port, 3), NumberInfo<int32_t>(5, 1));
        ExpectCopyOut(UrlInfo(port, 4), NumberInfo<int32_t>(5, 0));
        ExpectCopyOut(UrlInfo(port, 5), NumberInfo<int32_t>(5, subMinor));
    }

    void AddFault(OptivoOperation operation, int32_t result, uint64_t address) {
        const OptivoFault fault = {operation, OPTIVO_FAULT_RESULT, result, address,
                                   0,         OPTIVO_FOREVER};
        OptivoSim_AddFault(&fault);
    }
};
