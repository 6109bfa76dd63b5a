// Child commands and the environment; needs no service.
#pragma once

#include <string>

namespace zustd {

// Runs one command line, in the active code page, in the command interpreter that
// COMSPEC names and waits until it ends; its exit status is not looked at. What
// stands in quotes survives unchanged but for names between per cents. A text with
// a zero in it is no command line: nothing is run.
void runCommand(const std::string& command);

// A variable of the process environment in the active code page; empty when it
// is not set or cannot be read.
std::string getEnvironmentVariable(const std::string& name);

}  // namespace zustd
