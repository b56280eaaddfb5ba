// Consumers ask for what there may be, some of them ten times an image. An exception takes
// microseconds, and fifty of them in a process that has loaded an unwinder of its own: so none is
// thrown where they are refused.
#include "PortFixtures.h"
#include "ThrowCount.h"

#include <limits>

namespace {

struct Query {
    std::string name;
    std::function<GC_ERROR(int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size)> ask;
};

class RefusalTest : public PortTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(PortTest::SetUp());
        ASSERT_OK(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &newBuffer));
        ASSERT_OK(gentl.GCRegisterEvent(stream, EVENT_ERROR, &m_error));
        ASSERT_OK(gentl.GCRegisterEvent(remote, EVENT_REMOTE_DEVICE, &m_remoteEvent));
    }

    std::vector<Query> ModuleQueries() const {
        return {
            {"GCGetInfo", gentl.GCGetInfo},
            {"TLGetInfo", [&](auto... out) { return gentl.TLGetInfo(tl, out...); }},
            {"TLGetInterfaceInfo",
             [&](auto... out) {
                 return gentl.TLGetInterfaceInfo(tl, interfaceId.c_str(), out...);
             }},
            {"TLGetInterfaceInfo of another",
             [&](auto... out) { return gentl.TLGetInterfaceInfo(tl, "GEV::none", out...); }},
            {"IFGetInfo", [&](auto... out) { return gentl.IFGetInfo(iface, out...); }},
            {"IFGetDeviceInfo",
             [&](auto... out) { return gentl.IFGetDeviceInfo(iface, camera.c_str(), out...); }},
            {"DevGetInfo", [&](auto... out) { return gentl.DevGetInfo(device, out...); }},
            {"DSGetInfo", [&](auto... out) { return gentl.DSGetInfo(stream, out...); }},
            {"DSGetBufferInfo",
             [&](auto... out) { return gentl.DSGetBufferInfo(stream, Buffer(), out...); }},
        };
    }

    std::vector<Query> PortQueries() const {
        std::vector<Query> queries;
        for (const NamedPort& port : AllPorts()) {
            const std::string of = std::string(" of ") + port.name;
            queries.push_back({"GCGetPortInfo" + of, [this, port](auto... out) {
                                   return gentl.GCGetPortInfo(port.handle, out...);
                               }});
            for (const uint32_t index : {0U, 1U}) {
                queries.push_back({"GCGetPortURLInfo" + of, [this, port, index](auto... out) {
                                       return gentl.GCGetPortURLInfo(port.handle, index, out...);
                                   }});
            }
            queries.push_back({"GCGetPortURL" + of, [this, port](auto, auto, void* url, auto size) {
                                   return gentl.GCGetPortURL(port.handle, static_cast<char*>(url),
                                                             size);
                               }});
        }
        return queries;
    }

    std::vector<Query> EventQueries() const {
        static const char data[24] = {};
        std::vector<Query> queries;
        for (EVENT_HANDLE event : {newBuffer, m_error, m_remoteEvent}) {
            queries.push_back({"EventGetInfo", [this, event](auto... out) {
                                   return gentl.EventGetInfo(event, out...);
                               }});
        }
        for (EVENT_HANDLE event : {m_error, m_remoteEvent}) {
            queries.push_back({"EventGetDataInfo", [this, event](auto... out) {
                                   return gentl.EventGetDataInfo(event, data, sizeof data, out...);
                               }});
        }
        return queries;
    }

    std::vector<Query> IdQueries() const {
        return {
            {"TLGetInterfaceID",
             [&](auto, auto, void* id, auto size) {
                 return gentl.TLGetInterfaceID(tl, 0, static_cast<char*>(id), size);
             }},
            {"IFGetDeviceID",
             [&](auto, auto, void* id, auto size) {
                 return gentl.IFGetDeviceID(iface, 0, static_cast<char*>(id), size);
             }},
            {"DevGetDataStreamID",
             [&](auto, auto, void* id, auto size) {
                 return gentl.DevGetDataStreamID(device, 0, static_cast<char*>(id), size);
             }},
        };
    }

    // Commands that there are, in part, and that there are not, with rooms of every kind.
    static void ExpectRefusedWithoutException(const Query& query) {
        SCOPED_TRACE(query.name);
        int numRefused = 0;
        for (const int32_t command :
             {-1, 0,  1,  2,   3,    4,    5,    6,    7,    8,    9,    10,        11,
              12, 13, 20, 999, 1000, 1001, 1002, 1003, 1004, 1005, 9999, INT32_MIN, INT32_MAX}) {
            for (const size_t room : {size_t{1}, size_t{512}}) {
                std::array<char, 512> buffer{};
                INFO_DATATYPE type = 0;
                size_t size = room;
                const uint64_t numBefore = NumThrown();
                const int32_t answer = query.ask(command, &type, buffer.data(), &size);
                EXPECT_EQ(NumThrown(), numBefore) << "command " << command << ", room " << room;
                numRefused += answer < 0 ? 1 : 0;
            }
        }
        EXPECT_GT(numRefused, 0);
    }

    static void ExpectRefusedWithoutException(const std::vector<Query>& queries) {
        for (const Query& query : queries) {
            ExpectRefusedWithoutException(query);
        }
    }

private:
    EVENT_HANDLE m_error = nullptr;
    EVENT_HANDLE m_remoteEvent = nullptr;
};

TEST_F(RefusalTest, OfModulesThrowsNothing) {
    ExpectRefusedWithoutException(ModuleQueries());
}

TEST_F(RefusalTest, OfPortsThrowsNothing) {
    ExpectRefusedWithoutException(PortQueries());
}

TEST_F(RefusalTest, OfEventsThrowsNothing) {
    ExpectRefusedWithoutException(EventQueries());
}

TEST_F(RefusalTest, OfIdsThrowsNothing) {
    ExpectRefusedWithoutException(IdQueries());
}

// Nor does a null size, for which there is no answer.
TEST_F(RefusalTest, OfANullSizeThrowsNothing) {
    for (const std::vector<Query>& queries : {ModuleQueries(), PortQueries(), IdQueries()}) {
        for (const Query& query : queries) {
            SCOPED_TRACE(query.name);
            std::array<char, 512> buffer{};
            const uint64_t numBefore = NumThrown();
            EXPECT_LT(query.ask(1, nullptr, buffer.data(), nullptr), 0);
            EXPECT_EQ(NumThrown(), numBefore);
        }
    }
}

// What is counted is seen where an exception is thrown in the module.
TEST_F(RefusalTest, AnExceptionWouldBeSeen) {
    const uint64_t numBefore = NumThrown();
    EXPECT_CODE(-1001, gentl.DSGetInfo(device, 0, nullptr, nullptr, nullptr));
    EXPECT_GT(NumThrown(), numBefore);
}

} // namespace
