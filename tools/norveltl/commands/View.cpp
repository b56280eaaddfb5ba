#include "commands/View.h"

#include "files/InputFile.h"
#include "terminal/Browser.h"
#include "terminal/Console.h"
#include "terminal/Password.h"
#include "view/KeepRoutes.h"
#include "view/Server.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <thread>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace norveltl {

namespace {

// The first line; an argument would be seen by whoever sees the list of processes.
std::string PasswordFrom(const std::string& file) {
    if (file.empty()) {
        return "";
    }
    std::optional<std::string> text;
    if (file == "-") {
        text = AskUnseen("Password for the page: ");
    }
    if (!text) {
        text = ReadFile(PathFromUtf8(file));
    }
    std::string password = text->substr(0, text->find_first_of("\r\n"));
    constexpr size_t kShortest = 8;
    if (password.size() < kShortest) {
        throw CToolError("the password has fewer than " + std::to_string(kShortest) + " characters",
                         kWrongUsage);
    }
    return password;
}

// A request may run on any of many threads. With a heap each, which the C library would give up to
// eight of them for every processor, each would keep the room of the largest picture.
void ShareHeaps() {
#if defined(__GLIBC__)
    mallopt(M_ARENA_MAX, 2);
#endif
}

} // namespace

EExitCode View(const std::string& cti, const SViewOptions& options) {
    ShareHeaps();
    const std::string password = PasswordFrom(options.password);
    CCameras cameras(cti);
    CKeep keep(PathFromUtf8(options.keep));
    cameras.OpenNamed(options.names);
    const CViewServer server(cameras, {options.listen, options.port, password},
                             KeepRoutes(cameras, keep));
    CatchInterrupt();
    std::cout << server.Url() << std::endl;
    CheckOutput();
    std::optional<CBrowserPage> page;
    if (!options.noBrowser && !page.emplace(server.UrlWithToken()).IsOpen()) {
        Note("no browser could be started; open the address in one");
    }
    while (!Interrupted()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return kDone;
}

} // namespace norveltl
