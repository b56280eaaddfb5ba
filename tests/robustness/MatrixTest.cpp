// Crosses every operation of the camera library with every way in which it can go wrong, below
// every exported function that reaches it.
#include "ExportList.h"
#include "MatrixRows.h"
#include "Steering.h"

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <set>
#include <utility>

namespace {

using namespace Matrix;
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

// The standard's codes, what a grab answers, what else has a meaning of its own, and numbers that
// have none.
constexpr int32_t RESULTS[] = {-1001, -1002, -1003, -1004,  -1005, -1006, -1007, -1008,
                               -1009, -1010, -1011, -1012,  -1013, -1014, -1015, -1016,
                               -1017, -1018, -1019, -1020,  -1021, -1,    -2,    -3,
                               -4,    -2000, 7,     -10003, 12345, -31337};
constexpr int32_t DELAY_MS = 5;

struct Cell {
    OptivoFaultKind kind;
    int32_t result;
};

bool Throws(const Cell& cell) {
    return cell.kind == OPTIVO_FAULT_GENERIC_EXCEPTION ||
           cell.kind == OPTIVO_FAULT_FOREIGN_EXCEPTION;
}

// Whether a row tells what the result means, or it stands for those of which no row tells anything.
bool IsTypical(const Row& row, int32_t result) {
    return row.worked.named.count(result) != 0 || result == -1001 || result == 12345 ||
           result == -31337;
}

// Streams take their time: an operation below them that does its work answers typical results only.
std::vector<Cell> CellsOf(const Row& row, const Action& action) {
    std::vector<Cell> cells;
    for (const int32_t result : RESULTS) {
        cells.push_back({OPTIVO_FAULT_RESULT, result});
        if (action.state != State::Stream || IsTypical(row, result)) {
            cells.push_back({OPTIVO_FAULT_RESULT_AFTER, result});
        }
    }
    if (row.handsOut) {
        cells.push_back({OPTIVO_FAULT_NULL_OBJECT, 0});
    }
    cells.push_back({OPTIVO_FAULT_GENERIC_EXCEPTION, -1001});
    cells.push_back({OPTIVO_FAULT_FOREIGN_EXCEPTION, -1001});
    cells.push_back({OPTIVO_FAULT_DELAY, DELAY_MS});
    return cells;
}

Expected ExpectedOf(const Row& row, const Cell& cell) {
    switch (cell.kind) {
    case OPTIVO_FAULT_RESULT:
        return row.idle.Of(cell.result);
    case OPTIVO_FAULT_RESULT_AFTER:
        return row.worked.Of(cell.result);
    case OPTIVO_FAULT_NULL_OBJECT:
        return row.null;
    case OPTIVO_FAULT_DELAY:
        return row.delayed;
    default:
        return row.thrown;
    }
}

Outcome Resolved(const Expected& expected, const Action& action) {
    Outcome outcome = expected.value_or(action.sound);
    if (!outcome.seen) {
        outcome.seen = outcome.code == action.sound.code ? action.sound.seen.value_or("")
                                                         : action.seenAfterFailure;
    }
    return outcome;
}

// Whether an object of the library stays open for good.
bool LeavesUnclosed(const Row& row, const Cell& cell) {
    return row.unclosed && (cell.kind == OPTIVO_FAULT_RESULT || Throws(cell) ||
                            (cell.kind == OPTIVO_FAULT_RESULT_AFTER && row.isUnclosedAlways));
}

// The selectors of the calls of an operation since there were so many of them.
std::vector<uint64_t> SelectorsSince(OptivoOperation operation, uint64_t before) {
    std::vector<uint64_t> selectors(64);
    selectors.resize(OptivoSim_Selectors(operation, selectors.data(), selectors.size()));
    const uint64_t count = std::min<uint64_t>(NumCalls(operation) - before, selectors.size());
    selectors.erase(selectors.begin(), selectors.end() - static_cast<std::ptrdiff_t>(count));
    return selectors;
}

std::vector<Row> Rows() {
    return Joined<Row>({ListRows(), ModuleRows(), ClosingRows(), StreamRows()});
}

std::set<std::string> FunctionsOf(const std::vector<Action>& actions) {
    std::set<std::string> names;
    for (const Action& action : actions) {
        names.insert(action.Function());
    }
    return names;
}

// How many checks of the running test have failed.
int NumFailures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

class FaultMatrixTest : public LibraryTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(LibraryTest::SetUp());
        m_bench.RenewWorld();
    }

    void TearDown() override {
        m_bench.Be(State::Library);
        LibraryTest::TearDown();
    }

    // Makes the action's call once, with what fault has planned.
    Outcome Make(const Action& action, const std::function<void()>& fault = nullptr) {
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

    // Takes back what a call did, as far as it did something.
    void Settle(const Action& action, const Outcome& outcome, bool isThrown) {
        if (outcome.code == 0 && action.undo) {
            action.undo(m_bench);
        }
        // An exception leaves what was there, unless nobody is told of it.
        if (action.left && (action.closes || outcome.code == 0 || !isThrown)) {
            m_bench.Left(*action.left);
        }
    }

    void Cross(const Row& row, const Action& action, const Cell& cell) {
        m_bench.Be(action.state);
        const AliveCount alive;
        const Outcome found = Make(action, [&] {
            const OptivoFault fault = {row.operation, cell.kind, cell.result,
                                       row.selector,  row.skip,  1};
            OptivoSim_AddFault(&fault);
        });
        EXPECT_EQ(found, Resolved(ExpectedOf(row, cell), action));
        ExpectHit(row);
        if (cell.kind == OPTIVO_FAULT_DELAY) {
            EXPECT_GE(m_took, std::chrono::milliseconds(DELAY_MS));
        }
        Settle(action, found, Throws(cell));
        ExpectUsable(action);

        std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS> unclosed{};
        if (LeavesUnclosed(row, cell)) {
            unclosed[*row.unclosed] = 1;
            LeavesAlive(*row.unclosed, 1);
        }
        ExpectTidy(action, alive, unclosed);
    }

    // Answers how many cells were made.
    size_t CrossAll(const Row& row, const Action& action) {
        size_t numCells = 0;
        for (const Cell& cell : CellsOf(row, action)) {
            SCOPED_TRACE(action.name + ": " + OPERATION_NAMES[row.operation] + ", selector " +
                         std::to_string(static_cast<int64_t>(row.selector)) + ", fault " +
                         std::to_string(cell.kind) + ", result " + std::to_string(cell.result));
            const int before = NumFailures();
            Cross(row, action, cell);
            ++numCells;
            if (NumFailures() > before) {
                break;
            }
        }
        return numCells;
    }

    void ExpectHit(const Row& row) {
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
    void ExpectUsable(const Action& action) {
        if (!action.closes) {
            m_bench.Be(action.state);
            const Outcome again = Make(action);
            EXPECT_EQ(again, Resolved(SOUND, action)) << "afterwards";
            Settle(action, again, false);
        }
    }

    void ExpectTidy(const Action& action, const AliveCount& before,
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

    // Every call of the library that an action makes has a row.
    void ExpectRows(const Action& action, const std::vector<Row>& rows) {
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
                    << action.name << " reaches " << OPERATION_NAMES[i] << " with " << selector
                    << ", which has no row";
            }
        }
    }

    Bench m_bench;

private:
    std::array<uint64_t, OPTIVO_NUM_OPERATIONS> m_calls{};
    std::array<std::vector<uint64_t>, OPTIVO_NUM_OPERATIONS> m_selectors;
    Clock::duration m_took{};
};

TEST_F(FaultMatrixTest, EveryOperationHasARow) {
    const std::vector<Row> rows = Rows();
    for (size_t i = 0; i < OPERATION_NAMES.size(); ++i) {
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                                [i](const Row& row) { return row.operation == i; }))
            << OPERATION_NAMES[i] << " has no row";
    }
}

TEST_F(FaultMatrixTest, EveryExportedFunctionIsCalled) {
    std::set<std::string> called = FunctionsOf(AllActions());
    called.merge(FunctionsOf(QuietActions()));
    EXPECT_EQ(called, ExportedFunctions());
}

TEST_F(FaultMatrixTest, EveryCallThatReachesTheLibraryHasARow) {
    const std::vector<Row> rows = Rows();
    for (const Action& action : Joined<Action>({AllActions(), QuietActions()})) {
        SCOPED_TRACE(action.name);
        m_bench.Be(action.state);
        const Outcome outcome = Make(action);
        EXPECT_EQ(outcome.code, action.sound.code);
        ExpectRows(action, rows);
        Settle(action, outcome, false);
    }
}

// A row ends with its first cell that is not as expected.
TEST_F(FaultMatrixTest, EveryFaultHasItsOutcome) {
    const std::vector<Row> rows = Rows();
    std::array<std::pair<size_t, size_t>, OPTIVO_NUM_OPERATIONS> counts{};
    size_t numRows = 0;
    size_t numCells = 0;
    for (const Action& action : AllActions()) {
        m_bench.RenewWorld();
        for (const Row& row : rows) {
            if (row.action != action.name) {
                continue;
            }
            const size_t made = CrossAll(row, action);
            ++counts[row.operation].first;
            counts[row.operation].second += made;
            ++numRows;
            numCells += made;
        }
    }
    EXPECT_EQ(numRows, rows.size()) << "a row is of no action";
    for (size_t i = 0; i < counts.size(); ++i) {
        std::cout << std::left << std::setw(32) << OPERATION_NAMES[i] << std::right << std::setw(4)
                  << counts[i].first << " rows" << std::setw(6) << counts[i].second << " cells\n";
    }
    std::cout << "fault matrix: " << counts.size() << " operations, " << numRows << " rows, "
              << numCells << " cells\n";
}

} // namespace

namespace Matrix {

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

} // namespace Matrix
