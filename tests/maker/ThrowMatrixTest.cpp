// Crosses every operation of the camera library with every exception that Visual C++ throws, below
// every exported function that reaches it.
#include "Maker.h"
#include "MatrixFixture.h"

#include <iostream>

namespace {

using namespace Matrix;

struct Throw {
    MakerMishap mishap;
    const char* name;
    const char* text; // that the consumer gets; a runtime error keeps its own
};
constexpr Throw THROWS[] = {
    {MAKER_THROWS_CLASS, "class", "Unspecified runtime error."},
    {MAKER_THROWS_INT, "int", "Unspecified runtime error."},
    {MAKER_THROWS_RUNTIME_ERROR, "runtime_error", "The cable of camera 7 is loose"},
    {MAKER_THROWS_DERIVED_ERROR, "derived runtime_error", "The cable of camera 7 is loose"},
    {MAKER_THROWS_EXCEPTION, "exception", "Unspecified runtime error."},
    {MAKER_RETHROWS, "class, thrown on", "Unspecified runtime error."}};

class ThrowMatrixTest : public FaultMatrixTest {
protected:
    static Cell CellOf(const Row& row, const Throw& thrown, uint32_t count) {
        Cell cell = {.name = std::string(thrown.name) + (count == 1 ? ", once" : ", always"),
                     .plan =
                         [&row, thrown, count] {
                             const MakerFault fault = {static_cast<MakerOperation>(row.operation),
                                                       thrown.mishap,
                                                       0,
                                                       row.skip,
                                                       count,
                                                       row.selector};
                             EXPECT_EQ(Maker_AddFault(&fault), 1);
                         },
                     .expected = row.thrown,
                     .throws = true,
                     .leavesUnclosed = row.unclosed.has_value()};
        if (cell.expected && cell.expected->text == "Unspecified runtime error.") {
            cell.expected->text = thrown.text;
        }
        return cell;
    }

    // Nothing that the library threw is left, and nothing of the functions that were ended.
    static void ExpectDestroyed() {
        for (const MakerKind kind : {MAKER_EXCEPTIONS, MAKER_LOCALS}) {
            EXPECT_EQ(Maker_NumMade(kind), Maker_NumGone(kind)) << "kind " << kind;
        }
    }

    size_t CrossAll(const Row& row, const Action& action) {
        size_t numCells = 0;
        for (const Throw& thrown : THROWS) {
            for (const uint32_t count : {1U, MAKER_FOREVER}) {
                const uint64_t before = Maker_NumMade(MAKER_EXCEPTIONS);
                Cross(row, action, CellOf(row, thrown, count));
                if (thrown.mishap != MAKER_THROWS_INT) {
                    EXPECT_GT(Maker_NumMade(MAKER_EXCEPTIONS), before) << "nothing was thrown";
                }
                m_bench.Be(State::Library);
                ExpectDestroyed();
                ++numCells;
                if (HasFailure()) {
                    return numCells;
                }
            }
        }
        return numCells;
    }
};

TEST_F(ThrowMatrixTest, EveryExceptionHasItsOutcome) {
    const std::vector<Row> rows = AllRows();
    size_t numRows = 0;
    size_t numCells = 0;
    for (const Action& action : AllActions()) {
        m_bench.RenewWorld();
        for (const Row& row : rows) {
            if (row.action == action.name) {
                numCells += CrossAll(row, action);
                ++numRows;
            }
        }
    }
    EXPECT_EQ(numRows, rows.size()) << "a row is of no action";
    std::cout << "throw matrix: " << numRows << " rows, " << numCells << " cells\n";
}

} // namespace
