// The user's side of the process: arguments, terminal, interruption, environment. All texts are
// UTF-8 on every system. Knows nothing of producers and cameras.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace norveltl {

// Makes the console take UTF-8 for as long as it lives, and the system ask nobody; meanwhile what
// becomes of std::cout is watched. There is one of it.
class CConsole {
public:
    CConsole();
    ~CConsole();
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    // The arguments behind the program's name.
    static std::vector<std::string> Arguments(int argc, char** argv);

private:
    const std::unique_ptr<std::streambuf> m_output;
    std::streambuf* const m_before;
};

// Reports an error unless every byte of the standard output so far was taken.
void CheckOutput();

// For what is no text: from here on nothing but WriteOutput writes to the standard output, whose
// bytes are not changed, and whose end does not end the program. WriteOutput throws CToolError when
// the output does not take them all.
void PrepareBinaryOutput();
void WriteOutput(std::span<const uint8_t> bytes);

// How many characters a line of the standard output's terminal holds at the moment; nothing when it
// is no terminal.
std::optional<size_t> TerminalWidth();

// From here on Ctrl-C (or a request to terminate) only sets the flag that Interrupted answers; a
// second one ends the process.
void CatchInterrupt();
bool Interrupted();

// Writes "note: TEXT" to the error output, so that what a command prints can be read by programs.
void Note(std::string_view text);
// Writes "norveltl: TEXT" to the error output. Thread-safe.
void ReportError(std::string_view text);
// True once an error was reported, also by a destructor that could not throw it.
bool ErrorReported();

// While it lives, what its thread reports begins with whom it is about, if that has a name. A
// thread has one at a time.
class CSubject {
public:
    explicit CSubject(const std::string& name);
    ~CSubject();
    CSubject(const CSubject&) = delete;
    CSubject& operator=(const CSubject&) = delete;

    // Whether its thread reported an error meanwhile.
    static bool HasFailed();
};

// The standard output is in the middle of a line, which whatever is reported ends first; or which
// ends now.
void LeaveLineOpen();
void EndLine();

// Control characters replaced by '?', so that a device's text cannot steer the terminal; UTF-8, as
// far as the system knows the characters.
std::string Printable(std::string text);

std::filesystem::path PathFromUtf8(std::string_view text);
std::string Utf8FromPath(const std::filesystem::path& path);
// The entries of a variable that lists paths, empty ones left out.
std::vector<std::filesystem::path> PathsFromEnvironment(const char* variable);

} // namespace norveltl
