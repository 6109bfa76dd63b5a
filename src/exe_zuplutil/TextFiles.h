// Small text files written by the C runtime, line ends translated.
#pragma once

#include <string>

namespace zuplutil {

// Replaces a file by a text and one line feed; prints a line when the file
// cannot be opened or written. Names are in the active code page.
void writeTextFile(const std::string& name, const std::string& text);

// The same at the end of a file.
void appendLine(const std::string& name, const std::string& text);

}  // namespace zuplutil
