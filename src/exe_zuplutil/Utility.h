// The Pellory Maintenance Utility from its banner to its exit code.
#pragma once

namespace zuplutil {

// Runs the one action that the arguments choose, or the menus without any, and
// returns the exit code. Registers its services with the root registry, where
// they stay until the process ends.
int runUtility(int argc, wchar_t** argv);

}  // namespace zuplutil
