#include "terminal/Password.h"

#include "terminal/Error.h"

#include <iostream>

#ifdef _WIN32
#include <windows.h>
#else
#include <termios.h>
#include <unistd.h>
#endif

namespace norveltl {

namespace {

constexpr char kInterruption = '\x03';

// The terminal of the standard input shows nothing as long as this lives.
class CUnseen {
public:
    CUnseen();
    ~CUnseen();
    CUnseen(const CUnseen&) = delete;
    CUnseen& operator=(const CUnseen&) = delete;

    bool IsTerminal() const { return m_isTerminal; }

private:
    bool m_isTerminal = false;
#ifdef _WIN32
    DWORD m_before = 0;
#else
    termios m_before{};
#endif
};

#ifdef _WIN32

CUnseen::CUnseen() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    m_isTerminal = GetConsoleMode(input, &m_before) != 0;
    if (m_isTerminal) {
        SetConsoleMode(input, m_before & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    }
}

CUnseen::~CUnseen() {
    if (m_isTerminal) {
        SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), m_before);
    }
}

#else

CUnseen::CUnseen() {
    m_isTerminal = tcgetattr(STDIN_FILENO, &m_before) == 0;
    if (m_isTerminal) {
        // Ctrl-C ends the line instead of the program, which would leave the terminal so.
        termios unseen = m_before;
        unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        unseen.c_cc[VEOL] = kInterruption;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen);
    }
}

CUnseen::~CUnseen() {
    if (m_isTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
}

#endif

} // namespace

std::optional<std::string> AskUnseen(std::string_view question) {
    const CUnseen unseen;
    if (!unseen.IsTerminal()) {
        return std::nullopt;
    }
    std::cerr << question << std::flush;
    std::string line;
    char c = 0;
    while (std::cin.get(c) && c != '\n' && c != kInterruption) {
        line += c;
    }
    std::cerr << std::endl;
    if (c != '\n') {
        throw CToolError("interrupted");
    }
    return line;
}

} // namespace norveltl
