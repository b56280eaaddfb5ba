// The names that the module exports on every target, as its build reads them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

inline std::set<std::string> ExportedFunctions() {
    std::set<std::string> names;
    std::ifstream list(EXPORT_LIST);
    std::copy(std::istream_iterator<std::string>(list), {}, std::inserter(names, names.end()));
    EXPECT_GE(names.size(), 57U);
    return names;
}
