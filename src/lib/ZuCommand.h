// Child commands and the environment; needs no service.
#pragma once

#include <string>

namespace zustd {

// Runs one command line in the command interpreter (the one that COMSPEC
// names) and waits until it ends; its exit status is not looked at. The text
// is in the active code page. Quotes and what stands in them survive unchanged,
// "a & b" is one argument; only names between per cents are replaced. A text
// with a zero in it is no command line: nothing is run.
void runCommand(const std::string& command);

// A variable of the process environment in the active code page; empty when it
// is not set or cannot be read.
std::string getEnvironmentVariable(const std::string& name);

}  // namespace zustd
