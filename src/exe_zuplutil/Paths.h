// Where the utility's folders are, and paths as command lines need them.
#pragma once

#include <string>

namespace zuplutil {

// The folder on the user's desktop that a collection leaves its archive in;
// it lies in the user's documents when there is no desktop. Not created.
std::wstring getDiagnosticsDirectory();

// The folder in which a collection gathers, not created: the diagnostics folder or,
// where that lies on a network share, in which the command interpreter does not
// run, one in the user's local application data or in the temporary folder.
std::wstring getWorkDirectory(const std::wstring& diagnostics);

// The process's current directory; empty when the system cannot tell it.
std::wstring getCurrentDirectory();
bool setCurrentDirectory(const std::wstring& directory);

// A path in the active code page, for command lines and the C runtime; the
// system's short form of it where the code page lacks a character.
std::string toNarrowPath(const std::wstring& path);

// Such a path as the text of a command line, in quotes or without, that keeps
// its per cents: the interpreter replaces a variable's name between two of them
// even in quotes. Any other path is returned as it is.
std::string keepPerCents(const std::string& path);
inline std::string toCommandText(const std::wstring& path) {
    return keepPerCents(toNarrowPath(path));
}

}  // namespace zuplutil
