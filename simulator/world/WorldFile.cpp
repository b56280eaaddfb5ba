#include "world/WorldFile.h"

#include "camera/CameraDescription.h"
#include "world/ObjectReader.h"

#include <algorithm>
#include <exception>
#include <set>
#include <utility>

namespace OptivoSim {

namespace {

constexpr std::uint32_t kMaxCameras = 20000; // of a world
constexpr std::uint32_t kMaxExtent = 16384;  // as cameras take it
constexpr std::size_t kMaxMishaps = 100;     // of a kind and camera
constexpr std::size_t kMaxDigits = 18;       // what can be counted up
constexpr std::uint64_t kFirstSerialNumber = 10001;

double ReadProbability(CObjectReader& reader) {
    double probability = 1;
    reader.Read("probability", probability, 1);
    return probability;
}

OptivoImageFault ReadImageFault(const SJsonNode& node) {
    CObjectReader reader(node);
    reader.Require("kind");
    OptivoImageFault fault{};
    reader.Read("kind", fault.kind, ImageFaultKindNames());
    reader.Read("delayMs", fault.delayMs);
    reader.Read("skip", fault.skip);
    fault.count = OPTIVO_FOREVER;
    reader.Read("count", fault.count, 1);
    fault.probability = ReadProbability(reader);
    reader.Read("seed", fault.seed);
    reader.Finish();
    return fault;
}

SEventBurst ReadEventBurst(const SJsonNode& node) {
    CObjectReader reader(node);
    reader.Require("eventId");
    SEventBurst burst;
    reader.Read("eventId", burst.eventId);
    reader.Read("value", burst.value);
    burst.count = 1;
    reader.Read("count", burst.count, 1);
    reader.Read("afterImages", burst.afterImages);
    reader.Finish();
    return burst;
}

void ReadFormat(CObjectReader& reader, SCameraModel& model) {
    model.format = {EPixelFormat::Mono8, 640, 480};
    reader.Read("pixelFormat", model.format.pixelFormat, PixelFormatNames());
    reader.Read("width", model.format.width, 1, kMaxExtent);
    reader.Read("height", model.format.height, 1, kMaxExtent);
    const bool isMono = model.format.pixelFormat == EPixelFormat::Mono8 ||
                        model.format.pixelFormat == EPixelFormat::Mono16;
    model.pattern = isMono ? ETestPattern::GreyDiagonalRampMoving : ETestPattern::ColorBar;
    reader.Read("testPattern", model.pattern, TestPatternNames());
    model.frameRate = 30;
    reader.Read("frameRate", model.frameRate, kMaxFrameRate);
}

void ReadDescription(CObjectReader& reader, SCameraModel& model) {
    model.vendor = "Norvel";
    model.model = "G640M";
    model.version = "1.0.0";
    reader.ReadName("vendor", model.vendor);
    reader.ReadName("model", model.model);
    reader.Read("version", model.version);
    reader.Read("serialNumber", model.serialNumber);
    reader.Read("userDefinedName", model.userDefinedName);
    reader.Read("tlType", model.tlType);
    reader.Read("custom14", model.custom14);
    reader.Read("custom15", model.custom15);
    reader.Read("status", model.status);
    reader.Read("numStreams", model.numStreams);
}

void ReadMishaps(CObjectReader& reader, SCameraModel& model) {
    for (const SJsonNode& fault : reader.Elements("imageFaults", kMaxMishaps)) {
        model.imageFaults.push_back(ReadImageFault(fault));
    }
    for (const SJsonNode& burst : reader.Elements("eventBursts", kMaxMishaps)) {
        model.eventBursts.push_back(ReadEventBurst(burst));
    }
    reader.Read("unplugAfterImages", model.unplugAfterImages);
    reader.Read("plugAfterUpdates", model.plugAfterUpdates);
}

bool IsDecimal(const std::string& text) {
    return !text.empty() && text.size() <= kMaxDigits &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

// The serial number that comes so much later, with no fewer digits.
std::string CountedUp(const std::string& serialNumber, std::uint64_t steps) {
    const std::string number = std::to_string(std::stoull(serialNumber) + steps);
    const std::size_t width = std::max(serialNumber.size(), number.size());
    return std::string(width - number.size(), '0') + number;
}

void NameByParts(SCameraModel& model) {
    model.name = model.vendor + "-" + model.model + "-" + model.serialNumber;
}

// Reads one world; the names that it has met so far must not come again.
class CWorldReader {
public:
    SWorldPlan Read(const SJsonNode& root) {
        CObjectReader reader(root);
        reader.Find("$schema");
        SWorldPlan plan;
        for (const SJsonNode& node : reader.Elements("interfaces")) {
            plan.interfaces.push_back(ReadInterface(node));
        }
        for (const SJsonNode& node : reader.Elements("faults")) {
            plan.faults.push_back(ReadFault(node));
        }
        reader.Finish();
        return plan;
    }

private:
    SInterfacePlan ReadInterface(const SJsonNode& node) {
        CObjectReader reader(node);
        SInterfacePlan plan;
        plan.name = "net" + std::to_string(m_interfaceNames.size());
        plan.tlType = "GEV";
        reader.ReadName("name", plan.name);
        reader.Read("tlType", plan.tlType);
        plan.prefix = plan.tlType;
        reader.Read("prefix", plan.prefix);
        reader.Read("discovery", plan.discovery);
        if (!m_interfaceNames.insert(plan.name).second) {
            throw SValueError{&node, "has the name of an interface before it: " + plan.name};
        }
        for (const SJsonNode& camera : reader.Elements("cameras")) {
            ReadCameras(camera, plan);
        }
        reader.Finish();
        return plan;
    }

    void ReadCameras(const SJsonNode& node, SInterfacePlan& parent) {
        CObjectReader reader(node);
        SCameraPlan plan;
        SCameraModel& model = plan.model;
        model.tlType = parent.tlType;
        model.serialNumber = std::to_string(kFirstSerialNumber + m_cameraNames.size());
        ReadDescription(reader, model);
        ReadFormat(reader, model);
        ReadMishaps(reader, model);
        reader.Read("discovery", plan.discovery);
        const SJsonNode* const count = reader.Find("count");
        if (count == nullptr) {
            NameByParts(model);
            reader.ReadName("name", model.name);
            reader.Finish();
            AddCamera(node, parent, std::move(plan));
            return;
        }
        std::uint32_t number = 0;
        reader.Read("count", number, 1, kMaxCameras);
        if (const SJsonNode* const name = reader.Find("name")) {
            throw SValueError{name,
                              "is made of vendor, model and serial number where there is a count"};
        }
        if (!IsDecimal(model.serialNumber)) {
            throw SValueError{
                reader.Find("serialNumber"),
                "must be a decimal number of at most 18 digits where there is a count"};
        }
        reader.Finish();
        AddCounted(node, parent, plan, number);
    }

    void AddCounted(const SJsonNode& node, SInterfacePlan& parent, const SCameraPlan& first,
                    std::uint32_t number) {
        for (std::uint32_t i = 0; i < number; ++i) {
            SCameraPlan plan = first;
            plan.model.serialNumber = CountedUp(first.model.serialNumber, i);
            if (!plan.model.userDefinedName.empty()) {
                plan.model.userDefinedName += plan.model.serialNumber;
            }
            NameByParts(plan.model);
            AddCamera(node, parent, std::move(plan));
        }
    }

    void AddCamera(const SJsonNode& node, SInterfacePlan& parent, SCameraPlan&& plan) {
        if (m_cameraNames.size() == kMaxCameras) {
            throw SValueError{&node, "is beyond the 20000 cameras that a world may have"};
        }
        if (!m_cameraNames.insert(plan.model.name).second) {
            throw SValueError{&node, "has the name of a camera before it: " + plan.model.name};
        }
        parent.cameras.push_back(std::move(plan));
    }

    SFaultPlan ReadFault(const SJsonNode& node) const {
        CObjectReader reader(node);
        reader.Require("operation");
        SFaultPlan plan;
        OptivoFault& fault = plan.fault;
        reader.Read("operation", fault.operation, OperationNames());
        reader.Read("kind", fault.kind, FaultKindNames());
        if (fault.kind == OPTIVO_FAULT_RESULT || fault.kind == OPTIVO_FAULT_RESULT_AFTER) {
            fault.result = kError;
        }
        reader.Read("result", fault.result);
        fault.selector = OPTIVO_ANY_SELECTOR;
        reader.Read("selector", fault.selector);
        reader.Read("skip", fault.skip);
        fault.count = OPTIVO_FOREVER;
        reader.Read("count", fault.count, 1);
        reader.ReadName("object", plan.object);
        if (const SJsonNode* const object = reader.Find("object")) {
            CheckObject(*object);
        }
        plan.probability = ReadProbability(reader);
        reader.Read("seed", plan.seed);
        reader.Finish();
        return plan;
    }

    // A fault that waits for what does not exist is a slip of the pen.
    void CheckObject(const SJsonNode& object) const {
        if (!m_interfaceNames.contains(object.text) && !m_cameraNames.contains(object.text)) {
            throw SValueError{&object, "must name an interface or a camera of this world"};
        }
    }

    std::set<std::string> m_interfaceNames;
    std::set<std::string> m_cameraNames;
};

STextError ErrorOf(std::string_view text, const SJsonNode& root, const SValueError& problem) {
    const std::string pointer = PointerTo(root, *problem.node);
    const std::string subject = pointer.empty() ? "the world" : pointer;
    return ErrorAt(text, problem.node->offset, subject + " " + problem.reason);
}

bool ParseWorldOrThrow(std::string_view text, SWorldPlan& plan, STextError& error) {
    SJsonNode root;
    if (!ParseJson(text, root, error)) {
        return false;
    }
    try {
        plan = CWorldReader().Read(root);
    } catch (const SValueError& problem) {
        error = ErrorOf(text, root, problem);
        return false;
    }
    return true;
}

} // namespace

bool ParseWorld(std::string_view text, SWorldPlan& plan, STextError& error) noexcept {
    try {
        return ParseWorldOrThrow(text, plan, error);
    } catch (const std::exception&) {
        error.line = error.column = 1;
        error.reason = "out of memory"; // short enough to need none
        return false;
    }
}

} // namespace OptivoSim
