#include "ZuCommand.h"

#include <stdlib.h>

#include "ZuFile.h"

namespace zustd {

void runCommand(const std::string& command) {
    // /S makes the interpreter strip exactly this outer pair of quotes.
    const std::string line = "cmd /S /C \"" + command + "\"";
    if (isWholeName(line)) {
        static_cast<void>(system(line.c_str()));
    }
}

std::string getEnvironmentVariable(const std::string& name) {
    const char* value = isWholeName(name) ? getenv(name.c_str()) : nullptr;
    return value != nullptr ? value : std::string();
}

}  // namespace zustd
