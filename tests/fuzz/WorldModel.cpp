// What a plan of a world lets a consumer expect.
#include "WorldModel.h"

#include <array>
#include <cstdio>
#include <cstdlib>

using namespace OptivoSim;

std::string Exactly(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%a", value);
    return text.data();
}

namespace {

bool IsFoundBy(const Discovery& discovery, std::size_t update) {
    return discovery.empty() || discovery[update % discovery.size()];
}

struct PixelLayout {
    std::uint32_t code;
    std::uint64_t size; // in bytes
};

PixelLayout LayoutOf(EPixelFormat format) {
    switch (format) {
    case EPixelFormat::Mono8:
        return {0x01080001, 1};
    case EPixelFormat::Mono16:
        return {0x01100007, 2};
    case EPixelFormat::BayerRG8:
        return {0x01080009, 1};
    case EPixelFormat::RGB8:
        return {0x02180014, 3};
    }
    std::abort();
}

std::uint64_t NumberOf(ETestPattern pattern) {
    switch (pattern) {
    case ETestPattern::Black:
        return 0;
    case ETestPattern::White:
        return 1;
    case ETestPattern::GreyHorizontalRamp:
        return 2;
    case ETestPattern::GreyVerticalRampMoving:
        return 3;
    case ETestPattern::GreyDiagonalRampMoving:
        return 4;
    case ETestPattern::ColorBar:
        return 5;
    }
    std::abort();
}

void AddDescription(const SCameraModel& camera, Lines& lines) {
    lines.push_back(Told(camera.name, "version", camera.version));
    lines.push_back(Told(camera.name, "vendor", camera.vendor));
    lines.push_back(Told(camera.name, "model", camera.model));
    lines.push_back(Told(camera.name, "serial number", camera.serialNumber));
    lines.push_back(Told(camera.name, "TL type", camera.tlType));
    lines.push_back(Told(camera.name, "custom 14", camera.custom14));
    lines.push_back(Told(camera.name, "custom 15", camera.custom15));
    lines.push_back(Told(camera.name, "user-defined name", camera.userDefinedName));
    lines.push_back(Told(camera.name, "status", camera.status));
}

void AddOpened(const SCameraModel& camera, Lines& lines) {
    const SImageFormat& format = camera.format;
    const PixelLayout layout = LayoutOf(format.pixelFormat);
    lines.push_back(Told(camera.name, "streams", camera.numStreams));
    lines.push_back(Told(camera.name, "width", format.width));
    lines.push_back(Told(camera.name, "height", format.height));
    lines.push_back(Told(camera.name, "pixel format", layout.code));
    lines.push_back(Told(camera.name, "test pattern", NumberOf(camera.pattern)));
    const bool hasRate = camera.frameRate > 0;
    lines.push_back(Told(camera.name, "frame rate", hasRate ? Exactly(camera.frameRate) : "none"));
    lines.push_back(Told(camera.name, "payload", layout.size * format.width * format.height));
}

void AddInterface(const SInterfacePlan& plan, Lines& lines) {
    lines.push_back(Told(plan.name, "prefix", plan.prefix));
    lines.push_back(Told(plan.name, "TL type", plan.tlType));
    for (std::size_t update = 0; update < NUM_UPDATES; ++update) {
        for (const SCameraPlan& camera : plan.cameras) {
            if (IsFoundBy(camera.discovery, update)) {
                lines.push_back(
                    Told(plan.name, "update " + std::to_string(update), camera.model.name));
            }
        }
    }
    for (const SCameraPlan& camera : plan.cameras) {
        AddDescription(camera.model, lines);
        AddOpened(camera.model, lines);
    }
}

} // namespace

Lines Expected(const SWorldPlan& plan) {
    Lines lines;
    for (std::size_t update = 0; update < NUM_UPDATES; ++update) {
        for (const SInterfacePlan& interface : plan.interfaces) {
            if (IsFoundBy(interface.discovery, update)) {
                lines.push_back(Told("system", "update " + std::to_string(update), interface.name));
            }
        }
    }
    for (const SInterfacePlan& interface : plan.interfaces) {
        AddInterface(interface, lines);
    }
    return lines;
}
