// A hardware fault in the camera library is none of the module's exceptions: it ends the process,
// with its own code, as it would without the module.
#include "ChildProcess.h"
#include "Session.h"

#include <cstdlib>

#include <windows.h>

namespace {

class CrashTest : public InterfaceTest {
protected:
    // Runs the story in a process of its own, with a library that writes where no memory is.
    static void ExpectCrash(MakerOperation operation, const std::function<void()>& story) {
        if (ChildRole().empty()) {
            EXPECT_EQ(RunChild("crash"), static_cast<int>(EXCEPTION_ACCESS_VIOLATION));
            return;
        }
        // Instead of the system's debugger, which writes pages.
        SetUnhandledExceptionFilter(
            [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
        const MakerFault fault = {operation, MAKER_CRASHES, 0, 0, 1, MAKER_ANY_SELECTOR};
        EXPECT_EQ(Maker_AddFault(&fault), 1);
        story();
        std::exit(HasFailure() ? 1 : 0);
    }
};

TEST_F(CrashTest, OfTheFactory) {
    ExpectCrash(MAKER_GET_SYSTEM, [this] {
        CloseAll();
        gentl.TLOpen(&tl);
    });
}

TEST_F(CrashTest, OnAThreadOfTheConsumer) {
    ExpectCrash(MAKER_INTERFACE_UPDATE_DEVICE_LIST,
                [this] { gentl.IFUpdateDeviceList(iface, nullptr, 200); });
}

TEST_F(CrashTest, OnTheAcquisitionThread) {
    ExpectCrash(MAKER_STREAM_GRAB_IMAGE, [this] {
        const Session session(iface, LEFT, 10001);
        session.Start();
        session.TakeRound(0);
    });
}

} // namespace
