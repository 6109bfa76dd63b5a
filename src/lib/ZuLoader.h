// Whole files between disk and memory, as text or as serializable values.
//
// Files are UTF-8 on disk and are handled whole. A save writes in place. Without memory, and on a
// disk without room for what the file would grow by, the file stays as it was; any other failure
// while writing leaves a partial file. Every step leaves a trace line at report level.
//
// No operation throws, whatever the input and without memory either: it returns
// false. A name with a zero in it names no file.
#pragma once

#include "ZuSerializable.h"

namespace zustd {

class Loader {
public:
    // Reads a file into text. True for an empty file. When the file does not
    // decode, text holds what was decoded before the fault.
    static bool load(const std::wstring& fileName, std::wstring& text) noexcept;

    // Creates or replaces a file. True once the system has taken everything and the file is closed.
    static bool save(const std::wstring& fileName, const std::wstring& text) noexcept;

    // Lets target read itself from a file. When the file cannot be loaded target is as it was; when
    // it cannot be read to its end target holds what was read before the fault.
    static bool loadSerializedString(const std::wstring& fileName, ISerializable& target) noexcept;

    // Writes the header line and source's XML form to a file.
    static bool saveSerializedString(const std::wstring& fileName,
                                     const ISerializable& source) noexcept;
};

}  // namespace zustd
