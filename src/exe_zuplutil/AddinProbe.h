// Connects to the installed add-in once, so that it writes its log.
#pragma once

#include <string>

namespace zuplutil {

// Loads the add-in's COM component into this process and calls its connection
// entry. Each step is printed and appended to the file logName; a step that
// fails ends the probe there.
void probeAddin(const std::string& logName);

}  // namespace zuplutil
