// Whether a zip archive is complete.
//
// Read from the file's end: the end record (behind it at most the archive's
// comment; before it the 64-bit forms where numbers need them), the directory
// that it names, and for each of its entries the header before the data. All of
// them, and the data's extent, must lie where they say, one beside the other. What the
// data holds is not unpacked.
#pragma once

#include <string>

namespace zuplutil {

// Whether the archive is whole and holds every file below a folder, by its path
// from there and its size. Links to other folders are not followed. A name in the archive may be in
// UTF-8 or in either of the system's code pages. False as well when either cannot
// be read, above all while somebody has the archive open for writing. Takes any
// bytes; the cost is that of reading the directory once.
bool holdsFolder(const std::wstring& archive, const std::wstring& folder) noexcept;

}  // namespace zuplutil
