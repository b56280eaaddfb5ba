// What the reader of world files makes of a text, member by member.
#include "world/WorldFile.h"

#include <gtest/gtest.h>

namespace {

using namespace OptivoSim;

SWorldPlan Read(std::string_view text) {
    SWorldPlan plan;
    STextError error;
    EXPECT_TRUE(ParseWorld(text, plan, error)) << error.Message();
    return plan;
}

SCameraPlan ReadCamera(const std::string& members) {
    const SWorldPlan plan = Read(R"({"interfaces": [{"cameras": [{)" + members + "}]}]}");
    return plan.interfaces.at(0).cameras.at(0);
}

TEST(WorldFileTest, ReadsEveryMemberOfACamera) {
    const SCameraModel model = ReadCamera(R"(
        "name": "N", "vendor": "V", "model": "M", "version": "1", "serialNumber": "S",
        "userDefinedName": "U", "tlType": "T", "custom14": "A", "custom15": "B", "status": 3,
        "numStreams": 4, "pixelFormat": "Mono16", "width": 5, "height": 6, "testPattern": "White",
        "frameRate": 7.25, "unplugAfterImages": 18446744073709551615, "plugAfterUpdates": 7)")
                                   .model;
    EXPECT_EQ(model.name, "N");
    EXPECT_EQ(model.vendor, "V");
    EXPECT_EQ(model.model, "M");
    EXPECT_EQ(model.version, "1");
    EXPECT_EQ(model.serialNumber, "S");
    EXPECT_EQ(model.userDefinedName, "U");
    EXPECT_EQ(model.tlType, "T");
    EXPECT_EQ(model.custom14, "A");
    EXPECT_EQ(model.custom15, "B");
    EXPECT_EQ(model.status, 3U);
    EXPECT_EQ(model.numStreams, 4U);
    EXPECT_EQ(model.format.pixelFormat, EPixelFormat::Mono16);
    EXPECT_EQ(model.format.width, 5U);
    EXPECT_EQ(model.format.height, 6U);
    EXPECT_EQ(model.pattern, ETestPattern::White);
    EXPECT_EQ(model.frameRate, 7.25);
    EXPECT_EQ(model.unplugAfterImages, UINT64_MAX);
    EXPECT_EQ(model.plugAfterUpdates, 7U);
}

TEST(WorldFileTest, ReadsImageFaults) {
    const auto faults = ReadCamera(R"("imageFaults": [
        {"kind": "late", "delayMs": 80, "skip": 3, "count": 4, "probability": 0.5, "seed": 9},
        {"kind": "lost"}, {"kind": "repeated"}])")
                            .model.imageFaults;
    ASSERT_EQ(faults.size(), 3U);
    EXPECT_EQ(faults[0].kind, OPTIVO_IMAGE_LATE);
    EXPECT_EQ(faults[0].delayMs, 80U);
    EXPECT_EQ(faults[0].skip, 3U);
    EXPECT_EQ(faults[0].count, 4U);
    EXPECT_EQ(faults[0].probability, 0.5);
    EXPECT_EQ(faults[0].seed, 9U);
    EXPECT_EQ(faults[1].kind, OPTIVO_IMAGE_LOST);
    EXPECT_EQ(faults[1].delayMs, 0U);
    EXPECT_EQ(faults[1].skip, 0U);
    EXPECT_EQ(faults[1].count, OPTIVO_FOREVER);
    EXPECT_EQ(faults[1].probability, 1);
    EXPECT_EQ(faults[1].seed, 0U);
    EXPECT_EQ(faults[2].kind, OPTIVO_IMAGE_REPEATED);
}

TEST(WorldFileTest, ReadsEventBursts) {
    const auto bursts = ReadCamera(R"("eventBursts": [
        {"eventId": 4294967295, "value": 5, "count": 6, "afterImages": 7}, {"eventId": 8}])")
                            .model.eventBursts;
    ASSERT_EQ(bursts.size(), 2U);
    EXPECT_EQ(bursts[0].eventId, UINT32_MAX);
    EXPECT_EQ(bursts[0].value, 5U);
    EXPECT_EQ(bursts[0].count, 6U);
    EXPECT_EQ(bursts[0].afterImages, 7U);
    EXPECT_EQ(bursts[1].eventId, 8U);
    EXPECT_EQ(bursts[1].value, 0U);
    EXPECT_EQ(bursts[1].count, 1U);
    EXPECT_EQ(bursts[1].afterImages, 0U);
}

TEST(WorldFileTest, PicturesFollowThePixelFormatUnlessTheyAreNamed) {
    const auto pattern = [](const std::string& members) {
        return ReadCamera(members).model.pattern;
    };
    EXPECT_EQ(pattern(""), ETestPattern::GreyDiagonalRampMoving);
    EXPECT_EQ(pattern(R"("pixelFormat": "Mono16")"), ETestPattern::GreyDiagonalRampMoving);
    EXPECT_EQ(pattern(R"("pixelFormat": "BayerRG8")"), ETestPattern::ColorBar);
    EXPECT_EQ(pattern(R"("pixelFormat": "RGB8")"), ETestPattern::ColorBar);
    const std::vector<std::pair<std::string, ETestPattern>> names = {
        {"Black", ETestPattern::Black},
        {"White", ETestPattern::White},
        {"GreyHorizontalRamp", ETestPattern::GreyHorizontalRamp},
        {"GreyVerticalRampMoving", ETestPattern::GreyVerticalRampMoving},
        {"GreyDiagonalRampMoving", ETestPattern::GreyDiagonalRampMoving},
        {"ColorBar", ETestPattern::ColorBar}};
    for (const auto& [name, value] : names) {
        EXPECT_EQ(pattern(R"("pixelFormat": "RGB8", "testPattern": ")" + name + '"'), value);
    }
}

TEST(WorldFileTest, ReadsFaults) {
    const auto faults = Read(R"({"interfaces": [{"name": "eth0"}], "faults": [
        {"operation": "StreamClose", "kind": "notText", "result": -2147483648, "selector": 3,
         "skip": 4, "count": 5, "object": "eth0", "probability": 0.25, "seed": 6},
        {"operation": "GetSystem"}, {"operation": "GetSystem", "kind": "resultAfter"},
        {"operation": "GetSystem", "kind": "nullObject"}]})")
                            .faults;
    ASSERT_EQ(faults.size(), 4U);
    EXPECT_EQ(faults[0].fault.operation, OPTIVO_STREAM_CLOSE);
    EXPECT_EQ(faults[0].fault.kind, OPTIVO_FAULT_NOT_TEXT);
    EXPECT_EQ(faults[0].fault.result, INT32_MIN);
    EXPECT_EQ(faults[0].fault.selector, 3U);
    EXPECT_EQ(faults[0].fault.skip, 4U);
    EXPECT_EQ(faults[0].fault.count, 5U);
    EXPECT_EQ(faults[0].object, "eth0");
    EXPECT_EQ(faults[0].probability, 0.25);
    EXPECT_EQ(faults[0].seed, 6U);
    EXPECT_EQ(faults[1].fault.operation, OPTIVO_GET_SYSTEM);
    EXPECT_EQ(faults[1].fault.kind, OPTIVO_FAULT_RESULT);
    EXPECT_EQ(faults[1].fault.result, -1001);
    EXPECT_EQ(faults[1].fault.selector, OPTIVO_ANY_SELECTOR);
    EXPECT_EQ(faults[1].fault.skip, 0U);
    EXPECT_EQ(faults[1].fault.count, OPTIVO_FOREVER);
    EXPECT_EQ(faults[1].object, "");
    EXPECT_EQ(faults[1].probability, 1);
    EXPECT_EQ(faults[2].fault.result, -1001);
    EXPECT_EQ(faults[3].fault.result, 0);
}

TEST(WorldFileTest, OperationsAndKindsAreThoseOfTheirNames) {
    const auto read = [](const std::string& members) {
        return Read(R"({"faults": [{)" + members + "}]}").faults.at(0).fault;
    };
    EXPECT_EQ(read(R"("operation": "SystemUpdateInterfaceList")").operation,
              OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST);
    EXPECT_EQ(read(R"("operation": "DeviceGetNumDataStreams")").operation,
              OPTIVO_DEVICE_GET_NUM_DATA_STREAMS);
    const std::vector<std::pair<std::string, OptivoFaultKind>> kinds = {
        {"result", OPTIVO_FAULT_RESULT},
        {"resultAfter", OPTIVO_FAULT_RESULT_AFTER},
        {"nullObject", OPTIVO_FAULT_NULL_OBJECT},
        {"genericException", OPTIVO_FAULT_GENERIC_EXCEPTION},
        {"foreignException", OPTIVO_FAULT_FOREIGN_EXCEPTION},
        {"unterminatedText", OPTIVO_FAULT_UNTERMINATED_TEXT},
        {"overlongSize", OPTIVO_FAULT_OVERLONG_SIZE},
        {"delay", OPTIVO_FAULT_DELAY},
        {"hang", OPTIVO_FAULT_HANG},
        {"emptyText", OPTIVO_FAULT_EMPTY_TEXT},
        {"notText", OPTIVO_FAULT_NOT_TEXT},
        {"exceptionAfter", OPTIVO_FAULT_EXCEPTION_AFTER},
        {"wrongCount", OPTIVO_FAULT_WRONG_COUNT}};
    for (const auto& [name, kind] : kinds) {
        EXPECT_EQ(read(R"("operation": "GetSystem", "kind": ")" + name + '"').kind, kind);
    }
}

TEST(WorldFileTest, TakesBytesThatNoTextHas) {
    SWorldPlan plan;
    STextError error;
    using namespace std::string_view_literals;
    for (const std::string_view text :
         {"\0"sv, "{\0}"sv, "\xFF\xFE"sv, "{\"a\xC0\xAF\": 1}"sv, "\"\xED\xA0\x80\""sv,
          "\"\\uD800\""sv, "[1,"sv, "-"sv, "1e"sv, "tru"sv, "\"\\u12"sv}) {
        EXPECT_FALSE(ParseWorld(text, plan, error));
        EXPECT_EQ(error.line, 1U);
    }
    EXPECT_FALSE(ParseWorld(std::string(200000, '9'), plan, error));
    EXPECT_TRUE(ParseWorld("\xEF\xBB\xBF{}", plan, error)) << error.Message();
}

} // namespace
