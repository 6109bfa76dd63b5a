// Connects to the installed add-in once, so that it writes its log.
#pragma once

#include <functional>
#include <string>

namespace zuplutil {

using Log = std::function<void(const std::string& line)>;

// Loads the add-in's COM component into this process and calls its connection
// entry. Each step is told to log, a line without line end; a step that fails
// ends the probe there, and one more line says so when the add-in is installed
// for programs of the other width. What the add-in throws comes through.
void connectToAddin(const Log& log);

}  // namespace zuplutil
