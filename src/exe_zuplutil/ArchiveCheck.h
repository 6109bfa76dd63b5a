// Whether a zip archive is complete.
//
// Read from the file's end: the end record, in its 64-bit form where numbers need
// that, the directory that it names, and for each entry the header before the
// data. All of them, and the data, must lie where they say, one beside the other.
// Nothing is unpacked.
#pragma once

#include <string>

namespace zuplutil {

// Whether the archive is whole and holds every file below a folder, by its path
// from there and its size; links to other folders are not followed. A name in the
// archive may be in UTF-8 or in either of the system's code pages. False as well
// when either cannot be read, above all while somebody writes to the archive.
bool holdsFolder(const std::wstring& archive, const std::wstring& folder) noexcept;

}  // namespace zuplutil
