// What was judged of producers, for people and for programs.
#pragma once

#include "check/Judgement.h"

#include <filesystem>
#include <vector>

namespace norveltl {

struct SJudged {
    std::filesystem::path producer;
    CJudgement judgement;
};

// As a table with a summary by function, with what passed too if all is set.
void PrintCheck(const SJudged& judged, bool all);
void PrintCheckJson(const SJudged& judged);
// For continuous integration: what deviates is a failure there, and what failed is an error.
// Throws CToolError if the file cannot be written.
void WriteJUnit(const std::filesystem::path& file, const std::vector<SJudged>& producers);

} // namespace norveltl
