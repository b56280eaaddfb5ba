// What is told of a text that describes no world.
#include "WorldFixtures.h"

namespace {

class WorldErrorTest : public WorldTest {
protected:
    // The reason why a text is refused; empty when it is not.
    static std::string Reason(const std::string& json) {
        char error[2048] = "untouched";
        return OptivoSim_LoadWorld(json.c_str(), error, sizeof error) == 0 ? error : "";
    }

    struct Row {
        std::string json;
        std::string reason;
    };

    static void ExpectReasons(const std::vector<Row>& rows) {
        for (const auto& [json, reason] : rows) {
            EXPECT_EQ(Reason(json), reason) << json;
        }
    }

    static std::string Camera(const std::string& members) {
        return R"({"interfaces": [{"cameras": [{)" + members + "}]}]}";
    }
    static std::string Fault(const std::string& members) {
        return R"({"faults": [{)" + members + "}]}";
    }
};

TEST_F(WorldErrorTest, Syntax) {
    ExpectReasons({
        {"", "1:1: syntax error while parsing value - unexpected end of input; expected '[', '{', "
             "or a literal"},
        {"{\n  \"interfaces\": [,]\n}", "2:18: syntax error while parsing value - unexpected ','; "
                                        "expected '[', '{', or a literal"},
        {"{} {}", "1:4: syntax error while parsing value - unexpected '{'; expected end of input"},
        {"\"\xC3(\"", "1:3: syntax error while parsing value - invalid string: ill-formed UTF-8 "
                      "byte; last read: "
                      "'\"?('"},
        {"[1e999]", "1:6: number overflow parsing '1e999'"},
    });
}

TEST_F(WorldErrorTest, TheWorld) {
    ExpectReasons({
        {"[]", "1:1: the world must be an object"},
        {"  null", "1:3: the world must be an object"},
        {R"({"interfaces": {}})", "1:16: /interfaces must be a list"},
        {R"({"faults": 1})", "1:12: /faults must be a list"},
        {R"({"cameras": []})", "1:13: /cameras is no member that is known"},
        {R"({"a/b~c": 1})", "1:11: /a~1b~0c is no member that is known"},
        {R"({"faults": [], "faults": []})", "1:26: /faults is given twice"},
    });
}

TEST_F(WorldErrorTest, Interfaces) {
    ExpectReasons({
        {R"({"interfaces": [7]})", "1:17: /interfaces/0 must be an object"},
        {R"({"interfaces": [{"name": 7}]})", "1:26: /interfaces/0/name must be a text"},
        {R"({"interfaces": [{"name": ""}]})", "1:26: /interfaces/0/name must not be empty"},
        {R"({"interfaces": [{"name": "a\u0000b"}]})",
         "1:26: /interfaces/0/name must not contain \\u0000"},
        {R"({"interfaces": [{"name": ")" + std::string(4096, 'x') + R"("}]})",
         "1:26: /interfaces/0/name must have at most 4095 bytes"},
        {"{\"interfaces\": [\n{\"name\": \"a\"},\n {\"name\": \"a\"}]}",
         "3:2: /interfaces/1 has the name of an interface before it: a"},
        {R"({"interfaces": [{"prefix": null}]})", "1:28: /interfaces/0/prefix must be a text"},
        {R"({"interfaces": [{"tlType": []}]})", "1:28: /interfaces/0/tlType must be a text"},
        {R"({"interfaces": [{"discovery": true}]})",
         "1:31: /interfaces/0/discovery must be a list"},
        {R"({"interfaces": [{"discovery": []}]})",
         "1:31: /interfaces/0/discovery must be a list of true and false, and not empty"},
        {R"({"interfaces": [{"discovery": [true, 0]}]})",
         "1:31: /interfaces/0/discovery must be a list of true and false, and not empty"},
        {R"({"interfaces": [{"cameras": "all"}]})", "1:29: /interfaces/0/cameras must be a list"},
        {R"({"interfaces": [{"colour": 1}]})",
         "1:28: /interfaces/0/colour is no member that is known"},
    });
}

TEST_F(WorldErrorTest, CameraTexts) {
    for (const std::string key : {"vendor", "model", "version", "serialNumber", "userDefinedName",
                                  "tlType", "custom14", "custom15", "name"}) {
        EXPECT_EQ(Reason(Camera('"' + key + "\": 5")), "1:" + std::to_string(35 + key.size()) +
                                                           ": /interfaces/0/cameras/0/" + key +
                                                           " must be a text");
    }
    for (const std::string key : {"vendor", "model", "name"}) {
        EXPECT_EQ(Reason(Camera('"' + key + "\": \"\"")), "1:" + std::to_string(35 + key.size()) +
                                                              ": /interfaces/0/cameras/0/" + key +
                                                              " must not be empty");
    }
}

TEST_F(WorldErrorTest, CameraValues) {
    const std::string at = ": /interfaces/0/cameras/0/";
    const std::string whole = " must be an integer from ";
    ExpectReasons({
        {Camera(R"("status": -1)"), "1:41" + at + "status" + whole + "0 to 4294967295"},
        {Camera(R"("status": 1.0)"), "1:41" + at + "status" + whole + "0 to 4294967295"},
        {Camera(R"("numStreams": 4294967296)"),
         "1:45" + at + "numStreams" + whole + "0 to 4294967295"},
        {Camera(R"("width": 0)"), "1:40" + at + "width" + whole + "1 to 16384"},
        {Camera(R"("height": 16385)"), "1:41" + at + "height" + whole + "1 to 16384"},
        {Camera(R"("unplugAfterImages": 18446744073709551616)"),
         "1:52" + at + "unplugAfterImages" + whole + "0 to 18446744073709551615"},
        {Camera(R"("plugAfterUpdates": 4294967296)"),
         "1:51" + at + "plugAfterUpdates" + whole + "0 to 4294967295"},
        {Camera(R"("frameRate": -1)"), "1:44" + at + "frameRate must be a number from 0 to 10000"},
        {Camera(R"("frameRate": 10000.5)"),
         "1:44" + at + "frameRate must be a number from 0 to 10000"},
        {Camera(R"("frameRate": "fast")"),
         "1:44" + at + "frameRate must be a number from 0 to 10000"},
        {Camera(R"("pixelFormat": "Mono12")"),
         "1:46" + at + "pixelFormat must be one of Mono8, Mono16, BayerRG8, RGB8"},
        {Camera(R"("testPattern": "Zebra")"),
         "1:46" + at +
             "testPattern must be one of Black, White, GreyHorizontalRamp, "
             "GreyVerticalRampMoving, GreyDiagonalRampMoving, ColorBar"},
        {Camera(R"("framerate": 5)"), "1:44" + at + "framerate is no member that is known"},
        {Camera(R"("discovery": [1])"),
         "1:44" + at + "discovery must be a list of true and false, and not empty"},
    });
}

TEST_F(WorldErrorTest, CameraNames) {
    ExpectReasons({
        {R"({"interfaces": [{"cameras": [{"name": "A"}, {"name": "A"}]}]})",
         "1:45: /interfaces/0/cameras/1 has the name of a camera before it: A"},
        {R"({"interfaces": [{"cameras": [{"name": "A"}]}, {"cameras": [{"name": "A"}]}]})",
         "1:60: /interfaces/1/cameras/0 has the name of a camera before it: A"},
        {Camera(R"("count": 2, "serialNumber": "1"}, {"serialNumber": "2")"),
         "1:65: /interfaces/0/cameras/1 has the name of a camera before it: Norvel-G640M-2"},
    });
}

TEST_F(WorldErrorTest, Counts) {
    const std::string at = ": /interfaces/0/cameras/0";
    ExpectReasons({
        {Camera(R"("count": 0)"), "1:40" + at + "/count must be an integer from 1 to 20000"},
        {Camera(R"("count": 20001)"), "1:40" + at + "/count must be an integer from 1 to 20000"},
        {Camera(R"("count": 2, "name": "A")"),
         "1:51" + at + "/name is made of vendor, model and serial number where there is a count"},
        {Camera(R"("count": 2, "serialNumber": "A1")"),
         "1:59" + at +
             "/serialNumber must be a decimal number of at most 18 digits where there is a count"},
        {Camera(R"("count": 2, "serialNumber": "1234567890123456789")"),
         "1:59" + at +
             "/serialNumber must be a decimal number of at most 18 digits where there is a count"},
        {Camera(R"("count": 20000}, {)"),
         "1:48: /interfaces/0/cameras/1 is beyond the 20000 cameras that a world may have"},
    });
}

TEST_F(WorldErrorTest, ImageFaultsAndEventBursts) {
    const std::string fault = ": /interfaces/0/cameras/0/imageFaults/0";
    const std::string burst = ": /interfaces/0/cameras/0/eventBursts/0";
    std::string many = R"("eventBursts": [{"eventId": 1})";
    for (int i = 0; i < 100; ++i) {
        many += R"(, {"eventId": 1})";
    }
    ExpectReasons({
        {Camera(R"("imageFaults": [{}])"), "1:47" + fault + " has no member kind"},
        {Camera(R"("imageFaults": [{"kind": "odd"}])"),
         "1:56" + fault + "/kind must be one of lost, late, repeated"},
        {Camera(R"("imageFaults": [{"kind": "late", "delayMs": -5}])"),
         "1:75" + fault + "/delayMs must be an integer from 0 to 4294967295"},
        {Camera(R"("imageFaults": [{"kind": "lost", "count": 0}])"),
         "1:73" + fault + "/count must be an integer from 1 to 4294967295"},
        {Camera(R"("imageFaults": [{"kind": "lost", "probability": 1.5}])"),
         "1:79" + fault + "/probability must be a number from 0 to 1"},
        {Camera(R"("imageFaults": [{"kind": "lost", "result": 1}])"),
         "1:74" + fault + "/result is no member that is known"},
        {Camera(R"("eventBursts": [{}])"), "1:47" + burst + " has no member eventId"},
        {Camera(R"("eventBursts": [{"eventId": "x"}])"),
         "1:59" + burst + "/eventId must be an integer from 0 to 4294967295"},
        {Camera(R"("eventBursts": [{"eventId": 1, "kind": 2}])"),
         "1:70" + burst + "/kind is no member that is known"},
        {Camera(many + "]"),
         "1:46: /interfaces/0/cameras/0/eventBursts must have at most 100 elements"},
    });
}

TEST_F(WorldErrorTest, Faults) {
    ExpectReasons({
        {Fault(""), "1:13: /faults/0 has no member operation"},
        {Fault(R"("operation": "Close")"),
         "1:27: /faults/0/operation must be one of GetSystem, SystemUpdateInterfaceList, "
         "SystemGetInterfaceName, SystemGetInterface, SystemOpenInterface, SystemClose, "
         "InterfaceUpdateDeviceList, InterfaceGetDeviceName, InterfaceGetDevice, "
         "InterfaceOpenDevice, InterfaceWritePort, InterfaceReadPort, InterfaceClose, "
         "DeviceGetNumDataStreams, DeviceOpenDataStream, DeviceWritePort, DeviceReadPort, "
         "DeviceGetInfo, DeviceRegisterEventCallback, DeviceClose, StreamStartAcquisition, "
         "StreamStopAcquisition, StreamGrabImage, StreamSetStreamParameter, StreamGetStreamInfo, "
         "StreamClose"},
        {Fault(R"("operation": "GetSystem", "kind": "Result")"),
         "1:48: /faults/0/kind must be one of result, resultAfter, nullObject, genericException, "
         "foreignException, unterminatedText, overlongSize, delay, hang, emptyText, notText, "
         "exceptionAfter, wrongCount"},
        {Fault(R"("operation": "GetSystem", "result": 2147483648)"),
         "1:50: /faults/0/result must be an integer from -2147483648 to 2147483647"},
        {Fault(R"("operation": "GetSystem", "selector": -1)"),
         "1:52: /faults/0/selector must be an integer from 0 to 18446744073709551615"},
        {Fault(R"("operation": "GetSystem", "count": 0)"),
         "1:49: /faults/0/count must be an integer from 1 to 4294967295"},
        {Fault(R"("operation": "GetSystem", "object": "eth0")"),
         "1:50: /faults/0/object must name an interface or a camera of this world"},
        {Fault(R"("operation": "GetSystem", "probability": -0.5)"),
         "1:55: /faults/0/probability must be a number from 0 to 1"},
        {Fault(R"("operation": "GetSystem", "address": 5)"),
         "1:51: /faults/0/address is no member that is known"},
    });
}

TEST_F(WorldErrorTest, PlacesAreThoseOfValuesOnManyLines) {
    EXPECT_EQ(
        Reason(
            "{\r\n  \"interfaces\"\n:\n[\n\n  {\"cameras\":\t[{},\n    {\"width\":\n  -3\n}]}]}"),
        "8:3: /interfaces/0/cameras/1/width must be an integer from 1 to 16384");
}

TEST_F(WorldErrorTest, DeepNestingIsRefused) {
    EXPECT_EQ(Reason(std::string(1000000, '[')), "1:17: nested too deeply");
    std::string objects;
    for (int i = 0; i < 100000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_EQ(Reason(objects), "1:81: nested too deeply");
}

TEST_F(WorldErrorTest, LongReasonsAreCut) {
    const std::string reason = Reason("{\"" + std::string(100000, 'k') + "\": 1}");
    EXPECT_EQ(reason, "1:100006: /" + std::string(799, 'k') + "...");
}

TEST_F(WorldErrorTest, TheReasonFitsItsBuffer) {
    char error[8] = "1234567";
    EXPECT_EQ(OptivoSim_LoadWorld("[]", error, 5), 0);
    EXPECT_EQ(std::string(error, 8), std::string("1:1:\0"
                                                 "67\0",
                                                 8));
    EXPECT_EQ(OptivoSim_LoadWorld("[]", error, 0), 0);
    EXPECT_STREQ(error, "1:1:");
    EXPECT_EQ(OptivoSim_LoadWorld("[]", nullptr, 100), 0);
    EXPECT_EQ(OptivoSim_LoadWorld(nullptr, error, sizeof error), 0);
    EXPECT_STREQ(error, "1:1: sy");
}

TEST_F(WorldErrorTest, TheOldWorldAndItsFaultsStay) {
    Load(R"({"interfaces": [{"name": "eth0"}],
             "faults": [{"operation": "SystemOpenInterface", "kind": "nullObject", "skip": 1}]})");
    EXPECT_NE(Reason(R"({"interfaces": [{"name": "eth1"}], "faults": [{}]})"), "");
    EXPECT_EQ(UpdatedInterfaces(), Names{"GEV::eth0"});
    ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    CloseInterface();
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
}

} // namespace
