// Files by paths of any alphabet, for units that read and write them whole.
//
// To the system a name ends at its first zero. A name that goes on behind one
// is refused, for it would open another file.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "ZuHandle.h"

namespace zustd {

// Whether the system would see a name, or a command, to its end.
template <class Text>
bool isWholeName(const Text& name) noexcept {
    return name.find(typename Text::value_type{}) == Text::npos;
}

struct FileTraits {
    using Type = std::FILE*;
    // What Handle asks of a kind.
    static Type invalid() noexcept { return nullptr; }
    static void close(Type file) noexcept { std::fclose(file); }
};
using File = Handle<FileTraits>;

// Null when the file cannot be opened.
File openForReading(const std::wstring& name) noexcept;

// Replaces what a file holds, in place, so that it keeps its rights and links.
//
// A disk without room costs nobody a file: what goes beyond the former end is
// written first, and if it does not fit the file is cut back to what it held.
class ReplacedFile {
public:
    // Opens the file with what it holds, or makes it.
    explicit ReplacedFile(const std::wstring& name) noexcept;

    bool isOpen() const noexcept { return static_cast<bool>(file_); }
    // Once each, while the file is open. False unless the system took it all.
    bool write(std::string_view bytes) noexcept;
    bool close() noexcept;

private:
    struct Traits {
        using Type = int;
        static Type invalid() noexcept { return -1; }
        static void close(Type file) noexcept;
    };

    Handle<Traits> file_;
};

}  // namespace zustd
