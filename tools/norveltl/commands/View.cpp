#include "commands/View.h"

#include "terminal/Browser.h"
#include "terminal/Console.h"
#include "view/Server.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <thread>

namespace norveltl {

EExitCode View(const std::string& cti, const SViewOptions& options) {
    CCameras cameras(cti);
    cameras.OpenNamed(options.names);
    const CViewServer server(cameras, options.port);
    CatchInterrupt();
    std::cout << server.Url() << std::endl;
    CheckOutput();
    std::optional<CBrowserPage> page;
    if (!options.noBrowser && !page.emplace(server.Url()).IsOpen()) {
        Note("no browser could be started; open the address in one");
    }
    while (!Interrupted()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return kDone;
}

} // namespace norveltl
