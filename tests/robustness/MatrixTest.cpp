// Crosses every operation of the camera library with every way in which it can go wrong, below
// every exported function that reaches it.
#include "ExportList.h"
#include "MatrixFixture.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <set>
#include <utility>

namespace {

using namespace Matrix;

// The standard's codes, what a grab answers, what else has a meaning of its own, and numbers that
// have none.
constexpr int32_t RESULTS[] = {-1001, -1002, -1003, -1004,  -1005, -1006, -1007, -1008,
                               -1009, -1010, -1011, -1012,  -1013, -1014, -1015, -1016,
                               -1017, -1018, -1019, -1020,  -1021, -1,    -2,    -3,
                               -4,    -2000, 7,     -10003, 12345, -31337};
constexpr int32_t DELAY_MS = 5;

// Whether a row tells what the result means, or it stands for those of which no row tells anything.
bool IsTypical(const Row& row, int32_t result) {
    return row.worked.named.count(result) != 0 || result == -1001 || result == 12345 ||
           result == -31337;
}

Cell CellOf(const Row& row, OptivoFaultKind kind, int32_t result, const Expected& expected) {
    const auto plan = [=] {
        const OptivoFault fault = {row.operation, kind, result, row.selector, row.skip, 1};
        OptivoSim_AddFault(&fault);
    };
    return {.name = "fault " + std::to_string(kind) + ", result " + std::to_string(result),
            .plan = plan,
            .expected = expected};
}

// Streams take their time: an operation below them that does its work answers typical results only.
std::vector<Cell> CellsOf(const Row& row, const Action& action) {
    std::vector<Cell> cells;
    for (const int32_t result : RESULTS) {
        cells.push_back(CellOf(row, OPTIVO_FAULT_RESULT, result, row.idle.Of(result)));
        cells.back().leavesUnclosed = row.unclosed.has_value();
        if (action.state != State::Stream || IsTypical(row, result)) {
            cells.push_back(CellOf(row, OPTIVO_FAULT_RESULT_AFTER, result, row.worked.Of(result)));
            cells.back().leavesUnclosed = row.unclosed && row.isUnclosedAlways;
        }
    }
    if (row.handsOut) {
        cells.push_back(CellOf(row, OPTIVO_FAULT_NULL_OBJECT, 0, row.null));
    }
    for (const auto kind : {OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        cells.push_back(CellOf(row, kind, -1001, row.thrown));
        cells.back().throws = true;
        cells.back().leavesUnclosed = row.unclosed.has_value();
    }
    cells.push_back(CellOf(row, OPTIVO_FAULT_DELAY, DELAY_MS, row.delayed));
    cells.back().delay = std::chrono::milliseconds(DELAY_MS);
    return cells;
}

std::set<std::string> FunctionsOf(const std::vector<Action>& actions) {
    std::set<std::string> names;
    for (const Action& action : actions) {
        names.insert(action.Function());
    }
    return names;
}

TEST_F(FaultMatrixTest, EveryOperationHasARow) {
    const std::vector<Row> rows = AllRows();
    for (size_t i = 0; i < OPTIVO_NUM_OPERATIONS; ++i) {
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                                [i](const Row& row) { return row.operation == i; }))
            << OperationName(i) << " has no row";
    }
}

TEST_F(FaultMatrixTest, EveryExportedFunctionIsCalled) {
    std::set<std::string> called = FunctionsOf(AllActions());
    called.merge(FunctionsOf(QuietActions()));
    EXPECT_EQ(called, ExportedFunctions());
}

TEST_F(FaultMatrixTest, EveryCallThatReachesTheLibraryHasARow) {
    const std::vector<Row> rows = AllRows();
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
    const std::vector<Row> rows = AllRows();
    std::array<std::pair<size_t, size_t>, OPTIVO_NUM_OPERATIONS> counts{};
    size_t numRows = 0;
    size_t numCells = 0;
    for (const Action& action : AllActions()) {
        m_bench.RenewWorld();
        for (const Row& row : rows) {
            if (row.action != action.name) {
                continue;
            }
            size_t made = 0;
            for (const Cell& cell : CellsOf(row, action)) {
                ++made;
                if (!Cross(row, action, cell)) {
                    break;
                }
            }
            ++counts[row.operation].first;
            counts[row.operation].second += made;
            ++numRows;
            numCells += made;
        }
    }
    EXPECT_EQ(numRows, rows.size()) << "a row is of no action";
    for (size_t i = 0; i < counts.size(); ++i) {
        std::cout << std::left << std::setw(32) << OperationName(i) << std::right << std::setw(4)
                  << counts[i].first << " rows" << std::setw(6) << counts[i].second << " cells\n";
    }
    std::cout << "fault matrix: " << counts.size() << " operations, " << numRows << " rows, "
              << numCells << " cells\n";
}

} // namespace
