// Files that are whole or not there: each is written under a name of its own beside its place, and
// renamed at the end. None takes the place of another unless that is asked for.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace norveltl {

enum class EExisting { Keep, Replace };

// Both throw CToolError, naming the file and the system's reason. What is no regular file, such as
// a terminal, is written as it is.
void WriteFile(const std::filesystem::path& path, std::span<const uint8_t> bytes,
               EExisting existing);
// To be asked before work whose result the file shall hold.
void CheckPlace(const std::filesystem::path& path, EExisting existing);

// The text with '_' for what no file's name can hold; a name in one folder, never a way to another.
std::string FileNameFrom(std::string text);

} // namespace norveltl
