#include "terminal/Console.h"

#include "terminal/Error.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <system_error>

#if defined(_WIN32)
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#else
#include <csignal>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace norveltl {

namespace {

std::atomic<bool> g_interrupted{false};
std::atomic<bool> g_errorReported{false};
std::atomic<bool> g_lineOpen{false};
thread_local std::string t_subject;
thread_local bool t_failed = false;
std::atomic<int> g_outputError{0}; // the system's first; 0 while there is none
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

#if defined(_WIN32)

constexpr wchar_t kPathSeparator = L';';

UINT g_codePage = 0;

std::string Narrow(const std::wstring& text) {
    return Utf8FromPath(std::filesystem::path(text));
}

std::wstring Wide(UINT codePage, DWORD flags, const std::string& text) {
    const auto convert = [&](wchar_t* target, int capacity) {
        return MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()),
                                   target, capacity);
    };
    std::wstring wide(static_cast<size_t>(convert(nullptr, 0)), L'\0');
    convert(wide.data(), static_cast<int>(wide.size()));
    return wide;
}

// Producers name files in the system's code page.
std::string Utf8(const std::string& text) {
    const bool isUtf8 = !Wide(CP_UTF8, MB_ERR_INVALID_CHARS, text).empty();
    return isUtf8 ? text : Narrow(Wide(CP_ACP, 0, text));
}

BOOL WINAPI OnControl(DWORD) {
    return g_interrupted.exchange(true) ? FALSE : TRUE;
}

std::wstring Environment(const char* variable) {
    const std::wstring name(variable, variable + std::char_traits<char>::length(variable));
    const wchar_t* value = _wgetenv(name.c_str());
    return value ? value : L"";
}

#else

constexpr char kPathSeparator = ':';

std::string Utf8(const std::string& text) {
    return text;
}

void OnSignal(int signal) {
    g_interrupted = true;
    std::signal(signal, SIG_DFL);
}

std::string Environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value ? value : "";
}

#endif

// Keeps the reason of the first failure, which no stream does.
bool IsTaken(bool succeeded) {
    int none = 0;
    if (!succeeded) {
        g_outputError.compare_exchange_strong(none, errno != 0 ? errno : EIO);
    }
    return succeeded;
}

bool FlushOutput() {
    return IsTaken(std::fflush(stdout) == 0);
}

// The standard output, to which stdio may write too.
class COutput : public std::streambuf {
protected:
    int_type overflow(int_type c) override {
        const bool isEnd = traits_type::eq_int_type(c, traits_type::eof());
        return isEnd || IsTaken(std::fputc(c, stdout) != EOF) ? traits_type::not_eof(c)
                                                              : traits_type::eof();
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        const size_t written = std::fwrite(text, 1, static_cast<size_t>(size), stdout);
        IsTaken(written == static_cast<size_t>(size));
        return static_cast<std::streamsize>(written);
    }
    int sync() override { return FlushOutput() ? 0 : -1; }
};

void WriteError(const std::string& line) {
    EndLine();
    FlushOutput();
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

#if defined(_WIN32)

CConsole::CConsole()
    : m_output(std::make_unique<COutput>()), m_before(std::cout.rdbuf(m_output.get())) {
    // No dialog about a library that cannot be loaded.
    SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
    g_codePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
}

CConsole::~CConsole() {
    std::fflush(stdout);
    std::cout.rdbuf(m_before);
    if (g_codePage != 0) {
        SetConsoleOutputCP(g_codePage);
    }
}

std::vector<std::string> CConsole::Arguments(int, char**) {
    int count = 0;
    wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; words && i < count; ++i) {
        arguments.push_back(Narrow(words[i]));
    }
    LocalFree(words);
    return arguments;
}

std::optional<size_t> TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
        return std::nullopt;
    }
    return static_cast<size_t>(std::max(info.srWindow.Right - info.srWindow.Left + 1, 1));
}

void CatchInterrupt() {
    SetConsoleCtrlHandler(OnControl, TRUE);
}

#else

CConsole::CConsole()
    : m_output(std::make_unique<COutput>()), m_before(std::cout.rdbuf(m_output.get())) {}

CConsole::~CConsole() {
    std::fflush(stdout);
    std::cout.rdbuf(m_before);
}

std::vector<std::string> CConsole::Arguments(int argc, char** argv) {
    return {argv + std::min(argc, 1), argv + argc};
}

std::optional<size_t> TerminalWidth() {
    if (isatty(STDOUT_FILENO) == 0) {
        return std::nullopt;
    }
    constexpr size_t kUsual = 80;
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : kUsual;
}

void CatchInterrupt() {
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
}

#endif

// Without a buffer nothing remains of what was not taken.
void PrepareBinaryOutput() {
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#else
    std::signal(SIGPIPE, SIG_IGN);
#endif
}

void WriteOutput(std::span<const uint8_t> bytes) {
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        throw CToolError("cannot write the output: " +
                         std::generic_category().message(errno != 0 ? errno : EIO));
    }
}

bool Interrupted() {
    return g_interrupted;
}

void Note(std::string_view text) {
    WriteError("note: " + t_subject + std::string(text) + "\n");
}

void ReportError(std::string_view text) {
    WriteError("norveltl: " + t_subject + std::string(text) + "\n");
    g_errorReported = true;
    t_failed = true;
}

CSubject::CSubject(const std::string& name) {
    t_subject = name.empty() ? "" : name + ": ";
    t_failed = false;
}

CSubject::~CSubject() {
    t_subject.clear();
}

bool CSubject::HasFailed() {
    return t_failed;
}

void LeaveLineOpen() {
    g_lineOpen = true;
}

void EndLine() {
    if (g_lineOpen.exchange(false)) {
        std::fputc('\n', stdout);
    }
}

bool ErrorReported() {
    return g_errorReported;
}

void CheckOutput() {
    FlushOutput();
    if (const int error = g_outputError; error != 0) {
        ReportError("cannot write the output: " + std::generic_category().message(error));
    }
}

std::string Printable(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return Utf8(text);
}

std::filesystem::path PathFromUtf8(std::string_view text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::vector<std::filesystem::path> PathsFromEnvironment(const char* variable) {
    const auto value = Environment(variable);
    std::vector<std::filesystem::path> paths;
    for (size_t begin = 0; begin <= value.size();) {
        const size_t end = std::min(value.find(kPathSeparator, begin), value.size());
        if (end > begin) {
            paths.emplace_back(value.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return paths;
}

} // namespace norveltl
