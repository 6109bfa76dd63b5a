// The console: what is printed, what is recorded, and what the user answers.
//
// What the utility shows goes through printAndRecord into the transcript, one
// process-wide text that also receives the echoes of the user's answers. A collection saves it as
// its log. Narrow text is in the active code page (UTF-8 on today's systems). Single-threaded.
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
// A copy. Past 16 MiB the older half is dropped: at the end of standard input
// a menu repeats its prompt without end.
std::string getTranscript();

// Asks for a key and reads one character.
void waitForKey();

// Shows a message (none when null), asks for y or n until it gets one, and
// returns whether it was y.
bool askYesNo(const char* message);

// Asks for a line of exactly one digit until it gets one.
int readMenuChoice();

}  // namespace zuplutil
