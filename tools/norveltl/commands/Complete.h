// What a shell offers for a word that is being typed, from the command line's own declaration and
// the cameras that there are.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace norveltl {

// Prints a line for each candidate, with its explanation behind a tab; none where a file's name is
// to be typed. words: the one that is typed, behind a "+", and all before it. Never fails.
void Complete(const CLI::App& app, const std::vector<std::string>& words);

} // namespace norveltl
