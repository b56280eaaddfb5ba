#include "world/FirstWorld.h"

#include "world/DefaultWorld.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace OptivoSim {

namespace {

// False for what is no readable file, such as a folder.
bool ReadFile(const char* path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        return false;
    }
    char block[4096];
    while (file.read(block, sizeof block) || file.gcount() > 0) {
        text.append(block, static_cast<std::size_t>(file.gcount()));
    }
    return file.eof();
}

bool ReadWorldFile(const char* path, SWorldPlan& plan, STextError& error) {
    std::string text;
    if (!ReadFile(path, text)) {
        error.reason = "the file cannot be read";
        return false;
    }
    return ParseWorld(text, plan, error);
}

} // namespace

bool ReadFirstWorld(SWorldPlan& plan) {
    const char* const path = std::getenv("OPTIVO_SIM_CONFIG");
    if (path == nullptr || *path == '\0') {
        plan = DefaultWorld();
        return true;
    }
    STextError error;
    if (ReadWorldFile(path, plan, error)) {
        return true;
    }
    std::fprintf(stderr, "Optivo40: %s:%s\n", path, error.Message().c_str());
    return false;
}

} // namespace OptivoSim
