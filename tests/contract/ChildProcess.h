// Runs one test of this program again, in a process of its own.
#pragma once

#include <string>

// The role that this process was started in; empty for the process that the user started.
std::string ChildRole();

// Starts the running test in another process, in that role, and answers the process's exit code;
// -1 when it does not start or is killed.
int RunChild(const std::string& role);

// Sets a variable of this process and of those that it starts; empty removes it.
void SetVariable(const std::string& name, const std::string& value);
