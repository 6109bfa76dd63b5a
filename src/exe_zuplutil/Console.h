// The console: what is printed, what is recorded, and what the user answers.
//
// The transcript, one process-wide text, has what was shown and the user's answers;
// a collection saves it as its log. Narrow text is in the active code page.
#pragma once

#include <string>

namespace zuplutil {

// Prints a printf-style text at once and appends it to the transcript. Texts
// are cut at 32 KiB.
void printAndRecord(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
// The same without printing.
void recordOnly(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
// Prints a text as it is, without recording it.
void printOnly(const char* text);

void clearTranscript();
// A copy. Past 16 MiB the older half is dropped: a menu may repeat its prompt for ever.
std::string getTranscript();

// Asks for a key and reads one character.
void waitForKey();

// Shows a message (none when null) and asks for y or n until it gets one.
bool askYesNo(const char* message);

// Asks for a line of exactly one digit until it gets one.
int readMenuChoice();

}  // namespace zuplutil
