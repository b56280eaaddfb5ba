// One module of every kind, all open in the simulated camera library's default world.
#pragma once

#include "OptivoSim.h"
#include "Thrown.h"
#include "modules/DataStream.h"
#include "modules/Device.h"
#include "modules/Interface.h"
#include "modules/TL.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class ModuleTest : public testing::Test {
protected:
    void SetUp() override {
        OptivoSim_Reset();
        tl = std::make_unique<GenICam::Client::CTL>();
        interface = tl->OpenInterface("GEV::eth0");
        interface->UpdateDeviceList(nullptr, 100);
        device = interface->OpenDevice("Norvel-G640M-10001", 3);
        stream = device->OpenDataStream("DS0");
    }

    void TearDown() override {
        tl.reset();
        for (int kind = 0; kind < OPTIVO_NUM_OBJECT_KINDS; ++kind) {
            EXPECT_EQ(OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind)), 0U);
        }
        EXPECT_EQ(OptivoSim_NumDoubleCloses(), 0U);
        EXPECT_EQ(OptivoSim_NumUsesAfterClose(), 0U);
    }

    uint32_t NumAnnounced() {
        uint32_t count = 0;
        size_t size = sizeof count;
        EXPECT_ANSWERS(stream->GetInfo(3, nullptr, &count, &size));
        return count;
    }

    std::string Text(uint64_t address) {
        std::array<char, 64> text{};
        size_t size = text.size();
        tl->Read(address, text.data(), &size);
        return text.data();
    }

    std::unique_ptr<GenICam::Client::CTL> tl;
    GenICam::Client::CInterface* interface = nullptr;
    GenICam::Client::CDevice* device = nullptr;
    GenICam::Client::CDataStream* stream = nullptr;
};
