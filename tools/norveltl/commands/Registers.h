// The commands that read and write the registers behind a module's port, and show its description.
#pragma once

#include "terminal/Error.h"

#include <string>
#include <vector>

namespace norveltl {

struct SRegisterOptions {
    std::string target; // a module's or camera's name, or a place where the device is named
    std::string device; // as ChooseDevice takes it; empty for the target's
    // To read: "ADDRESS" or "ADDRESS:LENGTH"; to write: "ADDRESS=VALUE".
    std::vector<std::string> places;
    // "u32", "u64", "i32", "i64", "f32", "f64", "string", or empty for bytes in hexadecimal.
    std::string type;
    bool json = false;
};

// Several places are accessed in one stacked call.
EExitCode ReadRegisters(const std::string& cti, const SRegisterOptions& options);
EExitCode WriteRegisters(const std::string& cti, const SRegisterOptions& options);

struct SXmlOptions {
    std::string target; // a module's or camera's name
    std::string device; // as ChooseDevice takes it; empty for the target's
    std::string file;   // empty: the standard output
    bool force = false; // whether the file may exist already
};

EExitCode ShowXml(const std::string& cti, const SXmlOptions& options);

} // namespace norveltl
