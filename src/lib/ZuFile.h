// Files by paths of any alphabet, for units that read and write them whole.
//
// To the system a name ends at its first zero. A name that goes on behind one
// is refused, for it would open another file.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace zustd {

// Whether the system would see a name, or a command, to its end.
template <class Text>
bool isWholeName(const Text& name) noexcept {
    return name.find(typename Text::value_type{}) == Text::npos;
}

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

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
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;
    ~ReplacedFile() { close(); }

    bool isOpen() const noexcept { return file_ != kNone; }
    // Once, while the file is open. False unless the system took it all.
    bool write(std::string_view bytes) noexcept;
    bool close() noexcept;

private:
    static constexpr int kNone = -1;

    int file_ = kNone;
};

}  // namespace zustd
