#include "ZuCommand.h"

#include <stdlib.h>

namespace zustd {

void runCommand(const std::string& command) {
    // /S makes the interpreter strip exactly this outer pair of quotes.
    const std::string line = "cmd /S /C \"" + command + "\"";
    static_cast<void>(system(line.c_str()));
}

std::string getEnvironmentVariable(const std::string& name) {
    const char* value = getenv(name.c_str());
    return value != nullptr ? value : std::string();
}

}  // namespace zustd
