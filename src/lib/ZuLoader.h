// Whole files between disk and memory, as text or as serializable values.
//
// Files are UTF-8 on disk and are handled whole. A save writes in place, without
// a temporary file. Without memory, and on a disk without room for what the file
// would grow by, the file stays as it was; any other failure while writing
// leaves a partial file. Every step leaves a trace line at report level, so that
// a failing load in the field can be followed line by line.
//
// No operation throws, on hostile input, on a full disk or without memory
// either: it returns false, and running out of memory is recorded as the
// critical error. A name with a zero in it names no file.
#pragma once

#include <string>

#include "ZuSerializable.h"

namespace zustd {

// Loads and saves whole files; nothing is thrown, each step is traced.
class Loader {
public:
    // Reads a file into text. True for an empty file. When the file does not
    // decode, text holds what was decoded before the fault.
    static bool load(const std::wstring& fileName, std::wstring& text) noexcept;

    // Creates or replaces a file. True once the system has taken everything and
    // the file is closed.
    static bool save(const std::wstring& fileName, const std::wstring& text) noexcept;

    // Lets target read itself from a file. When the file cannot be loaded
    // target is as it was; when it cannot be read to its end target holds what
    // was read before the fault.
    static bool loadSerializedString(const std::wstring& fileName, ISerializable& target) noexcept;

    // Writes the header line and source's XML form to a file.
    static bool saveSerializedString(const std::wstring& fileName,
                                     const ISerializable& source) noexcept;
};

}  // namespace zustd
