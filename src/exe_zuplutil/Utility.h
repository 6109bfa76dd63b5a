// The Pellory Maintenance Utility from its banner to its exit code.
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

// Runs the one action that the arguments choose, or the menus without any, and
// returns the exit code. Registers its services with the root registry, where
// they stay until the process ends.
int runUtility(int argc, wchar_t** argv);

}  // namespace zuplutil
