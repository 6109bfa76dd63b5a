#include "ZuCommand.h"

#include <stdlib.h>

#include "ZuFile.h"
#include "ZuText.h"

namespace zustd {

namespace {

// The line passes two interpreters: the one that system() starts reads it whole
// and starts the one that it names. For the first one the quote before the
// command opens, so that what the command has in quotes lies outside of them:
// there a caret makes it hand an operator on. Wide, since a code page of two
// bytes a character has these signs as second bytes.
std::string passThroughFirstInterpreter(const std::string& command) {
    constexpr std::wstring_view kOperators = L"&|<>^";
    const std::wstring given = widen(command);
    std::wstring result;
    bool quoted = false;
    for (const wchar_t sign : given) {
        if (quoted && kOperators.find(sign) != std::wstring_view::npos) {
            result += L'^';
        }
        quoted = quoted != (sign == L'"');
        result += sign;
    }
    return result.size() == given.size() ? command : narrow(result);
}

}  // namespace

void runCommand(const std::string& command) {
    // /S makes the interpreter strip exactly this outer pair of quotes.
    const std::string line = "cmd /S /C \"" + passThroughFirstInterpreter(command) + "\"";
    if (isWholeName(line)) {
        static_cast<void>(system(line.c_str()));
    }
}

std::string getEnvironmentVariable(const std::string& name) {
    const char* value = isWholeName(name) ? getenv(name.c_str()) : nullptr;
    return value != nullptr ? value : std::string();
}

}  // namespace zustd
