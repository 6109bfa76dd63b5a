#include "Console.h"

#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>

#include "ConsoleSession.h"
#include "ZuPlankton.h"
#include "ZuWindows.h"

namespace zuplutil {

namespace {

constexpr std::size_t kLargestTranscript = std::size_t{16} * 1024 * 1024;

std::string transcript;

// Recording never fails an action: without memory the text is only printed.
void record(const char* text) noexcept {
    zustd::guarded(ZU_OPERATION, [text] {
        transcript += text;
        if (transcript.size() > kLargestTranscript) {
            transcript.erase(0, kLargestTranscript / 2);
        }
    });
}

// A text of at most the buffer's size, formatted from the caller's arguments.
using Text = std::array<char, std::size_t{32} * 1024>;
__attribute__((format(gnu_printf, 1, 0))) Text formatted(const char* format,
                                                         std::va_list arguments) {
    Text text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text;
}

// Reads from standard input. CTRL-C ends a read, too, as the end of input does;
// the run must not take that for an answer.
template <class Read>
auto readInput(Read read) {
    SetLastError(ERROR_SUCCESS);
    const auto result = read();
    stopIfInterrupted(std::feof(stdin) && GetLastError() == ERROR_OPERATION_ABORTED);
    return result;
}

// One character of the user's next line; the rest of what was typed is
// dropped.
int readCharacter() {
    const int character = readInput([] { return std::fgetc(stdin); });
    std::fflush(stdin);
    return character;
}

}  // namespace

void printOnly(const char* text) {
    stopIfInterrupted();
    // In one piece: a console converts each write by itself, and a character
    // of several bytes must not be cut. Child processes write to the same
    // stream; what was said before them stands before their output.
    std::fputs(text, stdout);
    std::fflush(stdout);
}

void printAndRecord(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const Text text = formatted(format, arguments);
    va_end(arguments);
    printOnly(text.data());
    record(text.data());
}

void recordOnly(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const Text text = formatted(format, arguments);
    va_end(arguments);
    record(text.data());
}

void clearTranscript() { transcript.clear(); }

std::string getTranscript() { return transcript; }

void waitForKey() {
    printAndRecord(
        "\nPress any key to continue...\n\n"
        "(or press CTRL-C to abort Pellory Maintenance Utility)\n");
    readCharacter();
}

bool askYesNo(const char* message) {
    for (;;) {
        printAndRecord("\n");
        if (message != nullptr) {
            printAndRecord("%s\n\n", message);
        }
        printAndRecord("ARE YOU SURE?\nPress 'y' or 'n' key followed by <Enter>...\n");
        const int answer = std::tolower(readCharacter());
        if (answer == 'y' || answer == 'n') {
            recordOnly("\n>%s\n", answer == 'y' ? "Yes" : "No");
            return answer == 'y';
        }
    }
}

int readMenuChoice() {
    std::array<char, 256> line{};
    for (;;) {
        printAndRecord("\nPress 0..9 followed by <Enter>...\n");
        std::fflush(stdin);
        const char* const read = readInput(
            [&] { return std::fgets(line.data(), static_cast<int>(line.size()), stdin); });
        if (read != nullptr && line[0] >= '0' && line[0] <= '9' && line[1] == '\n') {
            recordOnly("\n>%c\n", line[0]);
            return line[0] - '0';
        }
    }
}

}  // namespace zuplutil
