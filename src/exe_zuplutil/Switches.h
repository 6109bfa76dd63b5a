// The command line: one action, chosen by its switch.
#pragma once

#include <string>
#include <vector>

namespace zuplutil {

// Splits the arguments behind the program's name, in their order: switches
// begin with "-", everything else is an other argument.
void splitArguments(int argc, wchar_t** argv, std::vector<std::wstring>& switches,
                    std::vector<std::wstring>& others);

// Does the one action that the switches choose; returns the exit code.
int runSwitches(const std::vector<std::wstring>& switches);

}  // namespace zuplutil
