// The ways in which a command ends, and the errors that carry them up to main.
#pragma once

#include <GenTL/GenTL.h>

#include <stdexcept>
#include <string>

namespace norveltl {

enum EExitCode : int { kDone = 0, kFailed = 1, kWrongUsage = 2, kNothingFound = 3 };

// What went wrong, as the user reads it, and the exit code that follows from it.
class CToolError : public std::runtime_error {
public:
    explicit CToolError(const std::string& text, EExitCode exitCode = kFailed)
        : std::runtime_error(text), m_exitCode(exitCode) {}

    EExitCode ExitCode() const { return m_exitCode; }

private:
    EExitCode m_exitCode;
};

// A function of the producer that answered something else than success.
class CCallError : public CToolError {
public:
    CCallError(const std::string& text, GC_ERROR code) : CToolError(text), m_code(code) {}

    GC_ERROR Code() const { return m_code; }

private:
    GC_ERROR m_code;
};

// A function that the producer does not have.
class CMissingFunction : public CToolError {
public:
    explicit CMissingFunction(const std::string& function)
        : CToolError("the producer does not export " + function) {}
};

} // namespace norveltl
