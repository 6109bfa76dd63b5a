// Connects to the installed add-in once, so that it writes its log.
#pragma once

#include <functional>
#include <string>

namespace zuplutil {

// Loads the add-in's COM component into this process and calls its connection
// entry. Each step is told to log, a line without line end; a step that fails
// ends the probe there. What the add-in throws comes through.
void connectToAddin(const std::function<void(const std::string&)>& log);

}  // namespace zuplutil
