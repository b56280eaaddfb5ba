// Failures whose class every exported function reports with one and the same text.
#include "ModuleFixture.h"
#include "Thrown.h"
#include "api/HandleChecks.h"
#include "core/Errors.h"
#include "modules/BufferInfo.h"

#include <initializer_list>
#include <stdexcept>
#include <string>

namespace {

using namespace GenICam::Client;

class ModuleFailureTest : public ModuleTest {
protected:
    void ExpectPortInfoIsRefused(ICommonBase& module) {
        EXPECT_REFUSES(std::invalid_argument, "Invalid port info command 13",
                       module.GetPortInfo(13, nullptr, nullptr, &size));
        EXPECT_REFUSES(std::invalid_argument, "Invalid port info command -1",
                       module.GetPortInfo(-1, nullptr, nullptr, &size));
    }

    void ExpectSecondUrlIsRefused(ICommonBase& module) {
        EXPECT_REFUSES(std::invalid_argument, "URL Index 1 is out of range",
                       module.GetPortURLInfo(1, 0, nullptr, nullptr, &size));
        EXPECT_REFUSES(std::invalid_argument, "URL Index -1 is out of range",
                       module.GetPortURLInfo(0xFFFFFFFF, 0, nullptr, nullptr, &size));
    }

    // Into too little room nothing is copied, and the size that the URL needs is told.
    template <typename Error>
    void ExpectUrlNeeds(size_t needed, ICommonBase& module) {
        EXPECT_REFUSES(Error, "Invalid Buffer Size", module.GetPortURL(text, nullptr));
        EXPECT_REFUSES(Error, "Invalid Buffer Size", module.GetPortURL(nullptr, nullptr));
        for (const size_t offered : {size_t{0}, size_t{1}, needed - 1}) {
            size = offered;
            EXPECT_REFUSES(Error, "Invalid Buffer Size", module.GetPortURL(text, &size));
            EXPECT_EQ(size, needed);
        }
        EXPECT_STREQ(text, "");
        EXPECT_ANSWERS(module.GetPortURL(text, &size));
    }

    CBufferInfo& Buffer() {
        BUFFER_HANDLE handle = nullptr;
        stream->AnnounceBuffer(nullptr, 16, nullptr, &handle);
        return *HandleCast<CBufferInfo>(handle);
    }

    static constexpr const char* kDevice = "Norvel-G640M-10001";

    char text[64] = {};
    size_t size = sizeof text;
};

TEST_F(ModuleFailureTest, OfTheSystem) {
    EXPECT_REFUSES(std::invalid_argument, "Invalid TL info command 0",
                   tl->GetInfo(0, nullptr, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid TL info command 8",
                   tl->GetInfo(8, nullptr, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid TL info command -1",
                   tl->GetInfo(-1, nullptr, nullptr, nullptr));
    std::string id = "before";
    EXPECT_THROWS(std::invalid_argument, "Interface Index not available",
                  tl->GetInterfaceID(id, 2));
    EXPECT_THROWS(std::invalid_argument, "Interface Index not available",
                  tl->GetInterfaceID(id, 0xFFFFFFFF));
    EXPECT_EQ(id, "before");
    EXPECT_REFUSES(std::invalid_argument, "Invalid Interface name",
                   tl->GetInterfaceInfo("GEV::eth7", 0, nullptr, text, &size));
}

TEST_F(ModuleFailureTest, OfTheSystemsUrl) {
    EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size", tl->GetPortURL(text, nullptr));
    for (const size_t offered : {size_t{0}, size_t{1}}) {
        size = offered;
        EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size", tl->GetPortURL(text, &size));
        EXPECT_GT(size, 20U);
        EXPECT_STREQ(text, "");
    }
}

TEST_F(ModuleFailureTest, OfAnInterface) {
    std::string id = "before";
    EXPECT_THROWS(std::invalid_argument, " Invalid Device Index -1",
                  interface->GetDeviceID(0xFFFFFFFF, id));
    EXPECT_THROWS(std::invalid_argument, " Invalid Device Index 2", interface->GetDeviceID(2, id));
    EXPECT_EQ(id, "before");
    EXPECT_THROWS(std::invalid_argument, "Device not available",
                  interface->OpenDevice("Norvel-G640M-1000", 3));
    EXPECT_REFUSES(std::invalid_argument, " Invalid Pointer",
                   interface->GetDeviceInfo(nullptr, 0, nullptr, text, nullptr));
    EXPECT_REFUSES(std::invalid_argument, "Invalid Device info Id 9",
                   interface->GetDeviceInfo(kDevice, 9, nullptr, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid Device info Id -1",
                   interface->GetDeviceInfo(kDevice, -1, nullptr, text, &size));
}

TEST_F(ModuleFailureTest, OfAnInterfacesUrl) {
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT);
    EXPECT_REFUSES(std::invalid_argument, "Invalid buffer", interface->GetPortURL(nullptr, &size));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_READ_PORT), before);
    size = 5;
    EXPECT_REFUSES(std::invalid_argument, "Buffer too small", interface->GetPortURL(text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Buffer too small", interface->GetPortURL(text, nullptr));
}

TEST_F(ModuleFailureTest, OfADevice) {
    EXPECT_REFUSES(std::invalid_argument, "Invalid DeviceInfoId 9",
                   device->GetInfo(9, nullptr, text, &size));
    EXPECT_REFUSES(std::invalid_argument, "Invalid DeviceInfoId -1",
                   device->GetInfo(-1, nullptr, text, &size));
    EXPECT_THROWS(std::invalid_argument, "Invalid Stream Index 1", device->GetDataStreamID(1));
    EXPECT_THROWS(std::invalid_argument, "Invalid Stream Index -1",
                  device->GetDataStreamID(0xFFFFFFFF));
}

TEST_F(ModuleFailureTest, OfADevicesAccessStatus) {
    EXPECT_REFUSES(std::invalid_argument, "Invalid Size",
                   device->GetInfo(5, nullptr, text, nullptr));
    size = 3;
    EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size",
                   device->GetInfo(5, nullptr, text, &size));
    EXPECT_EQ(size, 3U);
}

// A size of 0 stands for enough.
TEST_F(ModuleFailureTest, OfADevicesUrl) {
    EXPECT_REFUSES(std::invalid_argument, "Invalid Size", device->GetPortURL(text, nullptr));
    EXPECT_REFUSES(std::invalid_argument, "Invalid Size", device->GetPortURL(nullptr, nullptr));
    for (const size_t offered : {size_t{1}, size_t{25}}) {
        size = offered;
        EXPECT_REFUSES(std::invalid_argument, "Invalid Buffer Size",
                       device->GetPortURL(text, &size));
        EXPECT_STREQ(text, "");
    }
    size = 0;
    EXPECT_ANSWERS(device->GetPortURL(text, &size));
    EXPECT_EQ(size, 26U);
    EXPECT_STREQ(text, "Local:TLDevRegs.xml;500;");
}

TEST_F(ModuleFailureTest, OfAStreamsUrl) {
    ExpectUrlNeeds<std::invalid_argument>(33, *stream);
    EXPECT_STREQ(text, "Local:TLDataStreamRegs.xml;200;0");
}

TEST_F(ModuleFailureTest, OfABuffersUrl) {
    ExpectUrlNeeds<invalid_buffer_error>(29, Buffer());
    EXPECT_STREQ(text, "Local:TLBufferRegs.xml;100;0");
}

TEST_F(ModuleFailureTest, OfEveryPort) {
    CBufferInfo& buffer = Buffer();
    for (ICommonBase* module :
         std::initializer_list<ICommonBase*>{tl.get(), interface, device, stream, &buffer}) {
        ExpectSecondUrlIsRefused(*module);
    }
    // A stream's port answers nothing to a command that it does not know.
    for (ICommonBase* module :
         std::initializer_list<ICommonBase*>{tl.get(), interface, device, &buffer}) {
        ExpectPortInfoIsRefused(*module);
    }
    for (const PORT_INFO_CMD command : {5, 6, 11}) {
        EXPECT_REFUSES(std::invalid_argument,
                       "Invalid port info command " + std::to_string(command),
                       buffer.GetPortInfo(command, nullptr, text, &size));
    }
}

TEST_F(ModuleFailureTest, OfHandles) {
    for (void* handle : {static_cast<void*>(nullptr), HandleOf(device)}) {
        EXPECT_THROWS(std::invalid_argument, "Invalid Interface Handle", InterfaceOf(handle));
        EXPECT_THROWS(std::runtime_error, "Invalid Device Handle", InterfaceWithDeviceText(handle));
        EXPECT_THROWS(std::runtime_error, "Invalid Device Handle", DataStreamOf(handle));
        EXPECT_THROWS(invalid_handle_error, " Invalid TL handle", SystemOf(handle));
    }
    EXPECT_THROWS(std::runtime_error, "Invalid Device Handle", DeviceOf(HandleOf(interface)));
}

} // namespace
