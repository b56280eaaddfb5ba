// Makes the calls of the fault matrix one by one and compares what they come to with the rows. It
// knows the camera library by its steering alone: how an operation goes wrong is the cell's matter.
#pragma once

#include "MatrixRows.h"
#include "Steering.h"

#include <chrono>
#include <functional>

namespace Matrix {

// One way in which the operation of a row goes wrong, and what comes of it.
struct Cell {
    std::string name = {};
    std::function<void()> plan = nullptr;
    Expected expected = SOUND;
    bool throws = false;
    // An object of the row's kind stays open for good.
    bool leavesUnclosed = false;
    std::chrono::milliseconds delay{0};
};

// All tables in one.
std::vector<Row> AllRows();
const char* OperationName(size_t operation);

class FaultMatrixTest : public LibraryTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Makes the action's call once, with what the fault has planned.
    Outcome Make(const Action& action, const std::function<void()>& fault = nullptr);
    // Takes back what a call did, as far as it did something.
    void Settle(const Action& action, const Outcome& outcome, bool isThrown);
    // A cell, and whether everything works and is closed afterwards. Answers whether it is as
    // expected.
    bool Cross(const Row& row, const Action& action, const Cell& cell);
    // Every call of the library that an action makes has a row.
    void ExpectRows(const Action& action, const std::vector<Row>& rows);

    Bench m_bench;

private:
    void ExpectHit(const Row& row);
    void ExpectUsable(const Action& action);
    void ExpectTidy(const Action& action, const AliveCount& before,
                    const std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS>& unclosed);

    std::array<uint64_t, OPTIVO_NUM_OPERATIONS> m_calls{};
    std::array<std::vector<uint64_t>, OPTIVO_NUM_OPERATIONS> m_selectors;
    std::chrono::steady_clock::duration m_took{};
};

} // namespace Matrix
