#include "Producer.h"

#include <gtest/gtest.h>

#include <exception>
#include <iostream>

// A run in which nothing is checked, or something is left out, is no success.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    try {
        TheProducer();
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
    const int result = RUN_ALL_TESTS();
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    if (result == 0 && !GTEST_FLAG_GET(list_tests) &&
        (tests.test_to_run_count() == 0 || tests.skipped_test_count() > 0)) {
        std::cerr << "No test ran, or tests were skipped.\n";
        return 1;
    }
    return result;
}
