#include "MatrixFixture.h"

#include <algorithm>

namespace Matrix {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<const char*, OPTIVO_NUM_OPERATIONS> OPERATION_NAMES = {
    "GetSystem",
    "System::UpdateInterfaceList",
    "System::GetInterfaceName",
    "System::GetInterface",
    "System::OpenInterface",
    "System::Close",
    "Interface::UpdateDeviceList",
    "Interface::GetDeviceName",
    "Interface::GetDevice",
    "Interface::OpenDevice",
    "Interface::WritePort",
    "Interface::ReadPort",
    "Interface::Close",
    "Device::GetNumDataStreams",
    "Device::OpenDataStream",
    "Device::WritePort",
    "Device::ReadPort",
    "Device::GetInfo",
    "Device::RegisterEventCallback",
    "Device::Close",
    "Stream::StartAcquisition",
    "Stream::StopAcquisition",
    "Stream::GrabImage",
    "Stream::SetStreamParameter",
    "Stream::GetStreamInfo",
    "Stream::Close"};

Outcome Resolved(const Expected& expected, const Action& action) {
    Outcome outcome = expected.value_or(action.sound);
    if (!outcome.seen) {
        outcome.seen = outcome.code == action.sound.code ? action.sound.seen.value_or("")
                                                         : action.seenAfterFailure;
    }
    return outcome;
}

// The selectors of the calls of an operation since there were so many of them.
std::vector<uint64_t> SelectorsSince(OptivoOperation operation, uint64_t before) {
    std::vector<uint64_t> selectors(64);
    selectors.resize(OptivoSim_Selectors(operation, selectors.data(), selectors.size()));
    const uint64_t count = std::min<uint64_t>(NumCalls(operation) - before, selectors.size());
    selectors.erase(selectors.begin(), selectors.end() - static_cast<std::ptrdiff_t>(count));
    return selectors;
}

// How many checks of the running test have failed.
int NumFailures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

} // namespace

std::vector<Row> AllRows() {
    return Joined<Row>({ListRows(), ModuleRows(), ClosingRows(), StreamRows()});
}

const char* OperationName(size_t operation) {
    return OPERATION_NAMES.at(operation);
}

Expected Outcomes::Of(int32_t result) const {
    const auto found = named.find(result);
    if (found != named.end()) {
        return found->second;
    }
    return result < 0 ? negative : positive;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << CodeName(outcome.code) << " \"" << outcome.text << "\", " << outcome.outputs
               << "; seen: " << outcome.seen.value_or("-");
}

void FaultMatrixTest::SetUp() {
    ASSERT_NO_FATAL_FAILURE(LibraryTest::SetUp());
    m_bench.RenewWorld();
}

void FaultMatrixTest::TearDown() {
    m_bench.Be(State::Library);
    LibraryTest::TearDown();
}

Outcome FaultMatrixTest::Make(const Action& action, const std::function<void()>& fault) {
    m_bench.out = {};
    if (action.prepare) {
        action.prepare(m_bench);
    }
    EXPECT_TRUE(RecordOtherError());
    const ErrorRecord other = LastError();
    const Outputs before = m_bench.out;
    for (size_t i = 0; i < m_calls.size(); ++i) {
        m_calls[i] = NumCalls(static_cast<OptivoOperation>(i));
    }
    if (fault) {
        fault();
    }
    const Clock::time_point start = Clock::now();
    Outcome outcome;
    outcome.code = action.call(m_bench);
    m_took = Clock::now() - start;
    for (size_t i = 0; i < m_calls.size(); ++i) {
        m_selectors[i] = SelectorsSince(static_cast<OptivoOperation>(i), m_calls[i]);
    }
    OptivoSim_ClearFaults();
    const ErrorRecord recorded = LastError();
    if (!(recorded == other)) {
        EXPECT_EQ(recorded.code, outcome.code) << "another code is recorded";
        outcome.text = recorded.text;
    }
    outcome.outputs = m_bench.out.Since(before);
    const Outputs written = m_bench.out;
    outcome.seen = action.see ? action.see(m_bench) : "";
    m_bench.out = written;
    return outcome;
}

void FaultMatrixTest::Settle(const Action& action, const Outcome& outcome, bool isThrown) {
    if (outcome.code == 0 && action.undo) {
        action.undo(m_bench);
    }
    // An exception leaves what was there, unless nobody is told of it.
    if (action.left && (action.closes || outcome.code == 0 || !isThrown)) {
        m_bench.Left(*action.left);
    }
}

bool FaultMatrixTest::Cross(const Row& row, const Action& action, const Cell& cell) {
    SCOPED_TRACE(action.name + ": " + OperationName(row.operation) + ", selector " +
                 std::to_string(static_cast<int64_t>(row.selector)) + ", " + cell.name);
    const int numFailures = NumFailures();
    m_bench.Be(action.state);
    const AliveCount alive;
    const Outcome found = Make(action, cell.plan);
    EXPECT_EQ(found, Resolved(cell.expected, action));
    ExpectHit(row);
    EXPECT_GE(m_took, cell.delay);
    Settle(action, found, cell.throws);
    ExpectUsable(action);

    std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS> unclosed{};
    if (cell.leavesUnclosed) {
        unclosed[*row.unclosed] = 1;
        LeavesAlive(*row.unclosed, 1);
    }
    ExpectTidy(action, alive, unclosed);
    return NumFailures() == numFailures;
}

void FaultMatrixTest::ExpectHit(const Row& row) {
    const std::vector<uint64_t>& selectors = m_selectors[row.operation];
    if (row.selector == OPTIVO_ANY_SELECTOR) {
        EXPECT_GT(selectors.size(), row.skip) << "the operation is not reached";
    } else {
        EXPECT_NE(std::find(selectors.begin(), selectors.end(), row.selector), selectors.end())
            << "the operation is not reached with this selector";
    }
}

// The same call works when nothing goes wrong. One that closes is made again when its state is
// opened anew.
void FaultMatrixTest::ExpectUsable(const Action& action) {
    if (!action.closes) {
        m_bench.Be(action.state);
        const Outcome again = Make(action);
        EXPECT_EQ(again, Resolved(SOUND, action)) << "afterwards";
        Settle(action, again, false);
    }
}

void FaultMatrixTest::ExpectTidy(const Action& action, const AliveCount& before,
                                 const std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS>& unclosed) {
    EXPECT_EQ(OptivoSim_NumDoubleCloses(), 0U);
    EXPECT_EQ(OptivoSim_NumUsesAfterClose(), 0U);
    if (unclosed != std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS>{}) {
        m_bench.RenewWorld();
    }
    m_bench.Be(action.state);
    for (size_t kind = 0; kind < unclosed.size(); ++kind) {
        EXPECT_EQ(before.Of(static_cast<OptivoObjectKind>(kind)), unclosed[kind])
            << "objects of kind " << kind << " are left open";
    }
}

void FaultMatrixTest::ExpectRows(const Action& action, const std::vector<Row>& rows) {
    for (size_t i = 0; i < m_selectors.size(); ++i) {
        const auto operation = static_cast<OptivoOperation>(i);
        for (const uint64_t selector : m_selectors[i]) {
            // Nobody but acquisition threads asks whether an image waits.
            const bool isPolled = operation == OPTIVO_STREAM_GET_STREAM_INFO && selector == 3;
            // Images come while the thread runs, whatever the action does.
            const bool isImage = action.streams && operation == OPTIVO_STREAM_GRAB_IMAGE;
            EXPECT_TRUE(isPolled || isImage ||
                        std::any_of(rows.begin(), rows.end(),
                                    [&](const Row& row) {
                                        return row.action == action.name &&
                                               row.operation == operation &&
                                               (row.selector == OPTIVO_ANY_SELECTOR ||
                                                row.selector == selector);
                                    }))
                << action.name << " reaches " << OperationName(i) << " with " << selector
                << ", which has no row";
        }
    }
}

} // namespace Matrix
