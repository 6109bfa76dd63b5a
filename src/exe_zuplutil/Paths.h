// Where the utility's folders are, and paths as command lines need them.
#pragma once

#include <string>

namespace zuplutil {

// The folder on the user's desktop that a collection leaves its archive in;
// it lies in the user's documents when there is no desktop. Not created.
std::wstring getDiagnosticsDirectory();

// The process's current directory; empty when the system cannot tell it.
std::wstring getCurrentDirectory();
bool setCurrentDirectory(const std::wstring& directory);

// A path in the active code page, for command lines and the C runtime. Where
// the code page lacks a character of it, the system's short form of the path
// is used, so that the file is still found.
std::string toNarrowPath(const std::wstring& path);

}  // namespace zuplutil
