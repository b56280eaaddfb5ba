#include "Streams.h"

#include <algorithm>
#include <map>

namespace {

enum class Module { Stream, Device, Interface, System };

std::string NameOf(Module module) {
    static const std::map<Module, std::string> NAMES = {{Module::Stream, "DSClose"},
                                                        {Module::Device, "DevClose"},
                                                        {Module::Interface, "IFClose"},
                                                        {Module::System, "TLClose"}};
    return NAMES.at(module);
}

// Which handles are still good. A module ends with the one above it, except a device whose
// interface was closed; where the answers are the standard's, such a device too.
class OpenModules {
public:
    bool Has(Module module) const { return m_open.at(module); }
    bool HasAny() const {
        return std::any_of(m_open.begin(), m_open.end(),
                           [](const auto& row) { return row.second; });
    }
    void Close(Module module) {
        m_open[module] = false;
        if (module == Module::System && m_open[Module::Interface]) {
            m_open[Module::Interface] = m_open[Module::Device] = false;
        }
        if (module == Module::Interface && Producer::IsStandard()) {
            m_open[Module::Device] = false;
        }
        if (!m_open[Module::Device]) {
            m_open[Module::Stream] = false;
        }
    }

private:
    std::map<Module, bool> m_open = {{Module::Stream, true},
                                     {Module::Device, true},
                                     {Module::Interface, true},
                                     {Module::System, true}};
};

using Order = std::vector<Module>;

void AddOrders(std::vector<Order>& orders, const Order& begun, const OpenModules& open) {
    if (!open.HasAny()) {
        orders.push_back(begun);
        return;
    }
    for (const Module module :
         {Module::Stream, Module::Device, Module::Interface, Module::System}) {
        if (open.Has(module)) {
            OpenModules rest = open;
            rest.Close(module);
            Order longer = begun;
            longer.push_back(module);
            AddOrders(orders, longer, rest);
        }
    }
}

// Every way in which a consumer may close one stream, its device, interface and system.
std::vector<Order> AllOrders() {
    std::vector<Order> orders;
    AddOrders(orders, {}, OpenModules());
    return orders;
}

class ClosingOrderTest : public LibraryTest {
protected:
    void OpenAll() {
        OpenSystem();
        OpenInterface();
        OpenDevice();
        ASSERT_EQ(OptivoSim_SetImageSize(camera.c_str(), 32, 24), 1);
        ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), 0), 1);
        OpenStream();
    }

    int32_t Close(Module module) {
        switch (module) {
        case Module::Stream:
            return gentl.DSClose(stream);
        case Module::Device:
            return gentl.DevClose(device);
        case Module::Interface:
            return gentl.IFClose(iface);
        default:
            return gentl.TLClose(tl);
        }
    }

    void CloseIn(const Order& order) {
        for (const Module module : order) {
            EXPECT_OK(Close(module)) << NameOf(module);
        }
        tl = iface = device = remote = stream = nullptr;
    }

    void ExpectAllClosedOnce() {
        EXPECT_EQ(alive.Systems(), 0U);
        EXPECT_EQ(alive.Interfaces(), 0U);
        EXPECT_EQ(alive.Devices(), 0U);
        EXPECT_EQ(alive.Streams(), 0U);
        EXPECT_EQ(OptivoSim_NumDoubleCloses(), 0U);
        EXPECT_EQ(OptivoSim_NumUsesAfterClose(), 0U);
    }

    void ForEveryOrder(const std::function<void()>& use) {
        for (const Order& order : AllOrders()) {
            std::string trace;
            for (const Module module : order) {
                trace += NameOf(module) + " ";
            }
            SCOPED_TRACE(trace);
            ASSERT_NO_FATAL_FAILURE(OpenAll());
            ASSERT_NO_FATAL_FAILURE(use());
            ASSERT_NO_FATAL_FAILURE(CloseIn(order));
            ExpectAllClosedOnce();
        }
    }

    void AnnounceTwo() {
        size_t payload = 0;
        size_t size = sizeof payload;
        ASSERT_OK(
            gentl.DSGetInfo(stream, Producer::IsStandard() ? 7 : 9, nullptr, &payload, &size));
        for (BUFFER_HANDLE& buffer : m_announced) {
            ASSERT_OK(gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer));
        }
    }

    void StartAndTakeOneImage() {
        for (BUFFER_HANDLE buffer : m_announced) {
            ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
        }
        EVENT_HANDLE newBuffer = nullptr;
        ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &newBuffer));
        ASSERT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE));
        EVENT_NEW_BUFFER_DATA data = {};
        size_t size = sizeof data;
        ASSERT_OK(gentl.EventGetData(newBuffer, &data, &size, LONG_WAIT));
    }

    AliveCount alive;

private:
    std::array<BUFFER_HANDLE, 2> m_announced{};
};

TEST_F(ClosingOrderTest, ThereAreAsManyAsThis) {
    // One begins with TLClose, two with DevClose, five with DSClose and five with IFClose; where
    // the answers are the standard's, one, two, four and one.
    EXPECT_EQ(AllOrders().size(), Producer::IsStandard() ? 8U : 13U);
}

TEST_F(ClosingOrderTest, OfModulesThatWereNotUsed) {
    ForEveryOrder([] {});
}

TEST_F(ClosingOrderTest, WithBuffers) {
    ForEveryOrder([this] { AnnounceTwo(); });
}

TEST_F(ClosingOrderTest, WhileAcquiring) {
    ForEveryOrder([this] {
        AnnounceTwo();
        StartAndTakeOneImage();
    });
}

TEST_F(ClosingOrderTest, AfterAnAcquisition) {
    ForEveryOrder([this] {
        AnnounceTwo();
        StartAndTakeOneImage();
        ASSERT_OK(gentl.DSStopAcquisition(stream, 0));
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
    });
}

TEST_F(ClosingOrderTest, WithEveryEventRegistered) {
    ForEveryOrder([this] {
        EVENT_HANDLE event = nullptr;
        ASSERT_OK(gentl.GCRegisterEvent(stream, 0, &event));
        ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &event));
        ASSERT_OK(gentl.GCRegisterEvent(device, 0, &event));
        ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &event));
        ASSERT_EQ(OptivoSim_FireEvent(camera.c_str(), 0x9001, 1), 1);
    });
}

TEST_F(ClosingOrderTest, AThousandAcquisitionsLeaveNothingBehind) {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_NO_FATAL_FAILURE(OpenAll());
        ASSERT_NO_FATAL_FAILURE(AnnounceTwo());
        ASSERT_NO_FATAL_FAILURE(StartAndTakeOneImage());
        ASSERT_OK(gentl.DSStopAcquisition(stream, 0));
        ASSERT_OK(gentl.DSFlushQueue(stream, 4));
        CloseAll();
    }
    ExpectAllClosedOnce();
}

} // namespace
