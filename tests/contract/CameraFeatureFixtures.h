// What the tests of camera features share: the grey camera with its features by name, the refusals
// that a feature answers, and the images that come.
#pragma once

#include "GenApi.h"
#include "StreamFixtures.h"

#include <cstdio>
#include <optional>

inline constexpr char MONO_CAMERA[] = "Norvel-G640M-10001";
inline constexpr char BAYER_CAMERA[] = "Norvel-G1300C-10002";
inline constexpr char COLOUR_CAMERA[] = "Norvel-U320C-20001";

inline testing::AssertionResult IsRefused(int32_t code, std::string_view text,
                                          const std::function<void()>& call) {
    try {
        call();
    } catch (const PortError& error) {
        if (error.code == code && error.what() == text) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << "refused with " << CodeName(error.code) << " \"" << error.what() << '"';
    }
    return testing::AssertionFailure() << "not refused";
}

// The port answers the code with this text.
#define EXPECT_REFUSED(code, text, ...) EXPECT_TRUE(IsRefused(code, text, [&] { __VA_ARGS__; }))
#define EXPECT_OUTSIDE_LIMITS(...) EXPECT_REFUSED(-1009, "Invalid parameter", __VA_ARGS__)
#define EXPECT_NO_REGISTER(...) EXPECT_REFUSED(-1015, "Invalid Address", __VA_ARGS__)

// The text with which -1005 tells of a register.
inline std::string DeniedText(uint64_t address) {
    char text[64] = {};
    std::snprintf(text, sizeof text, "Register 0x%llX is not readable.",
                  static_cast<unsigned long long>(address));
    return text;
}

// A feature's value as a person would write it.
inline std::string Show(const GenApi& features, const std::string& name) {
    const std::string& kind = features.Kind(name);
    if (kind == "StringReg") {
        return features.Text(name);
    }
    if (kind == "Enumeration") {
        return features.Entry(name);
    }
    if (kind == "Boolean") {
        return features.Bool(name) ? "true" : "false";
    }
    if (kind == "Float") {
        std::ostringstream text;
        text << features.Float(name);
        return text.str();
    }
    if (kind == "Register") {
        const std::string bytes = features.Bytes(name);
        return bytes == std::string(bytes.size(), '\0') ? "zeros" : bytes;
    }
    return std::to_string(features.Int(name));
}

// The grey camera with a sensor of 64 x 48 pixels and its stream are open; images come only when
// Produce or a trigger asks for them, until SetRate says something else.
class CameraFeatureTest : public MonoStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(MonoStreamTest::SetUp());
        feature.emplace(gentl, remote);
    }

    // 0 is as fast as images are taken.
    void SetRate(double rate) { ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), rate), 1); }

    // The stamp of the next image, whose buffer is queued again at once.
    OptivoImageStamp NextStamp() {
        OptivoImageStamp stamp = {};
        const NewBuffer image = WaitBuffer();
        EXPECT_OK(image.code);
        if (image.code == 0) {
            EXPECT_EQ(OptivoImage_Read(Memory(image.handle), PayloadSize(), &stamp), 1);
            EXPECT_OK(gentl.DSQueueBuffer(stream, image.handle));
        }
        return stamp;
    }

    void ExpectNoImage() {
        EXPECT_EQ(CodeName(WaitBuffer(30).code), CodeName(-1011)) << "an image came";
    }

    // Images of these numbers come, and no other.
    void ExpectImages(uint64_t first, uint64_t count) {
        for (uint64_t number = first; number < first + count && !HasFailure(); ++number) {
            EXPECT_EQ(NextStamp().number, number);
        }
        ExpectNoImage();
    }

    // Queues again what was delivered.
    void Requeue() {
        for (BUFFER_HANDLE buffer : FetchAll()) {
            EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
        }
    }

    // Of a halted camera: takes every image that it still made.
    void Drain() {
        ASSERT_TRUE(Eventually([&] { return NumDelivered() + NumUnderrun() == StreamNumber(6); }));
        Requeue();
    }

    void Select(const std::string& selector, const std::string& entry) {
        feature->SetEntry(selector, entry);
    }

    std::optional<GenApi> feature;
};
