#include "terminal/Browser.h"

#include "terminal/Console.h"

#ifdef _WIN32
#include <windows.h>

#include <shellapi.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <fstream>
#include <random>
#include <system_error>

namespace norveltl {

namespace fs = std::filesystem;

namespace {

#ifdef _WIN32

fs::path MakePrivateFolder() {
    const fs::path folder =
        fs::temp_directory_path() / ("norveltl-" + std::to_string(std::random_device()()));
    fs::create_directory(folder);
    return folder;
}

bool OpenFile(const fs::path& file) {
    // Above 32 it is a success, by the function's description.
    return reinterpret_cast<INT_PTR>(
               ShellExecuteW(nullptr, L"open", file.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

#else

fs::path MakePrivateFolder() {
    std::string folder = (fs::temp_directory_path() / "norveltl-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw fs::filesystem_error("mkdtemp", std::error_code(errno, std::generic_category()));
    }
    return folder;
}

// Its own output would disturb ours.
bool OpenFile(const fs::path& file) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    std::string program = "xdg-open", path = file.string();
    char* const arguments[] = {program.data(), path.data(), nullptr};
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return error == 0 && waitpid(process, &status, 0) == process && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

#endif

} // namespace

CBrowserPage::CBrowserPage(const std::string& url) {
    try {
        m_file = MakePrivateFolder() / "norveltl.html";
        std::ofstream page(m_file);
        page << "<!doctype html><meta charset=\"utf-8\"><meta http-equiv=\"refresh\" content=\"0; "
                "url="
             << url << "\"><a href=\"" << url << "\">norveltl view</a>\n";
        page.close();
        m_isOpen = page.good() && OpenFile(m_file);
    } catch (const fs::filesystem_error&) {
        m_isOpen = false;
    }
}

CBrowserPage::~CBrowserPage() {
    if (!m_file.empty()) {
        std::error_code error;
        fs::remove_all(m_file.parent_path(), error);
    }
}

} // namespace norveltl
