#include <gtest/gtest.h>

#include <iostream>

#ifdef __SANITIZE_THREAD__
// Memory that the system refuses is part of a test, not the program's end.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

// A run in which nothing is checked, or something is left out, is no success.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
    if (result == 0 && !GTEST_FLAG_GET(list_tests) &&
        (tests.test_to_run_count() == 0 || tests.skipped_test_count() > 0)) {
        std::cerr << "No test ran, or tests were skipped.\n";
        return 1;
    }
    return result;
}
