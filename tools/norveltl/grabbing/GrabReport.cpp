#include "grabbing/GrabReport.h"

#include "terminal/Console.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace norveltl {

namespace {

Json ToJson(const OptionalText& text) {
    return text ? Json(*text) : Json();
}

Json ToJson(const std::optional<uint64_t>& number) {
    return number ? Json(*number) : Json();
}

Json ToJson(const SImageFormat& format) {
    const SPixelFormat* const known = FindPixelFormat(format.pixelFormat);
    const auto lineSize = known ? known->LineSize(format.width) : std::nullopt;
    return {{"pixelFormat", format.pixelFormat.empty() ? Json() : Json(format.pixelFormat)},
            {"pixelFormatValue", known ? Json(known->value) : Json()},
            {"width", format.width},
            {"height", format.height},
            {"linePadding", format.linePadding},
            {"bytesPerLine", lineSize ? Json(*lineSize + format.linePadding) : Json()}};
}

std::string ChecksumText(uint32_t checksum) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%08x", checksum);
    return text.data();
}

Json ToJson(const SImageRecord& record, const SImageFormat& usual) {
    Json json{{"file", record.file},
              {"number", record.number},
              {"arrival", record.arrival.count()},
              {"frameId", ToJson(record.frameId)},
              {"timestamp", ToJson(record.timestamp)},
              {"size", record.size},
              {"crc32", ChecksumText(record.checksum)},
              {"repeated", record.isRepeated}};
    if (record.format != usual) {
        json["format"] = ToJson(record.format);
    }
    return json;
}

Json SettingsJson(const std::vector<SReadValue>& settings) {
    Json json = Json::object();
    for (const SReadValue& setting : settings) {
        json[setting.name] = setting.value;
    }
    return json;
}

void WriteJson(const std::filesystem::path& path, const Json& json, EExisting existing) {
    const std::string text = ToText(json) + "\n";
    WriteFile(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()}, existing);
}

} // namespace

Json OriginJson(const SChoice& choice) {
    const CSystem& system = *choice.system;
    const SDevice& device = *choice.device;
    return {{"producer",
             {{"path", Utf8FromPath(system.Producer().Path())},
              {"id", ToJson(system.Info(TL_INFO_ID))},
              {"vendor", ToJson(system.Info(TL_INFO_VENDOR))},
              {"model", ToJson(system.Info(TL_INFO_MODEL))},
              {"version", ToJson(system.Info(TL_INFO_VERSION))}}},
            {"camera",
             {{"id", device.id},
              {"interface", choice.interface_->id},
              {"vendor", ToJson(device.vendor)},
              {"model", ToJson(device.model)},
              {"serialNumber", ToJson(device.serialNumber)},
              {"userName", ToJson(device.userName)},
              {"version", ToJson(device.version)}}}};
}

void WriteGrabReport(const CImageFolder& folder, Json origin, const SGrabFacts& facts,
                     EExisting existing) {
    const STotals& totals = facts.totals;
    const std::vector<SImageRecord>& records = folder.Records();
    const SImageFormat usual = records.empty() ? facts.cameraFormat : records.front().format;
    Json images = Json::array();
    for (const SImageRecord& record : records) {
        images.push_back(ToJson(record, usual));
    }
    Json json = std::move(origin);
    json["settings"] = SettingsJson(facts.settings);
    json["begin"] = TimeText(totals.begin);
    json["seconds"] = totals.duration.count();
    json["delivered"] = totals.numDelivered;
    json["incomplete"] = totals.numIncomplete;
    json["lost"] = ToJson(totals.numLost);
    json["leftOut"] = facts.numLeftOut;
    json["repeated"] = folder.NumRepeated();
    json["interrupted"] = facts.isInterrupted;
    json["format"] = ToJson(usual);
    json["images"] = std::move(images);
    WriteJson(folder.Path() / CImageFolder::kReport, json, existing);
}

std::string WriteImageReport(const std::filesystem::path& folder, const std::string& stem,
                             Json origin, const std::vector<SReadValue>& settings,
                             const SImageRecord& record,
                             std::chrono::system_clock::time_point arrival) {
    Json json = std::move(origin);
    json["settings"] = SettingsJson(settings);
    json["begin"] = TimeText(arrival);
    json["format"] = ToJson(record.format);
    json["images"] = Json::array({ToJson(record, record.format)});
    std::string file = stem + ".json";
    WriteJson(folder / PathFromUtf8(file), json, EExisting::Keep);
    return file;
}

std::string TimeText(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<milliseconds>(time - day));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return text.data();
}

} // namespace norveltl
