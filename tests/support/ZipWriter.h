// Reads folders, and writes zip archives with stored entries, byte for byte.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace zuplutil::test {

namespace fs = std::filesystem;

// Files by their relative path with slashes; a folder's ends in one.
using FileContents = std::map<std::string, std::string>;

inline std::string utf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

inline std::string read(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline FileContents filesBelow(const fs::path& folder) {
    FileContents files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        std::string path = utf8(entry.path().lexically_relative(folder));
        std::replace(path.begin(), path.end(), '\\', '/');
        const bool isFolder = entry.is_directory();
        files[path + (isFolder ? "/" : "")] = isFolder ? "" : read(entry.path());
    }
    return files;
}

// Little-endian numbers of so many bytes, at most eight.
inline std::string numbers(std::size_t size, std::initializer_list<std::uint64_t> values) {
    std::string bytes;
    for (const std::uint64_t& value : values) {
        bytes.append(reinterpret_cast<const char*>(&value), size);
    }
    return bytes;
}

// A field without content, which follows each name.
inline const std::string kEmptyField = numbers(4, {0x5455});

class ZipWriter {
public:
    static constexpr unsigned kUtf8 = 0x0800;
    static constexpr unsigned kSizesBehindData = 8;

    // In 64-bit form the numbers that have one stand there alone.
    explicit ZipWriter(bool is64 = false) : away_(is64 ? ~std::uint64_t{0} : 0) {}

    void add(const std::string& name, const std::string& content, unsigned flags = kUtf8) {
        const std::uint64_t size = content.size();
        const std::uint64_t all = size | away_;
        const std::uint64_t begin = entries_.size();
        const std::string start = numbers(2, {20, flags, 0}) + numbers(4, {0x496E49D3});
        const std::string sizes = numbers(4, {0, size, size});
        const bool behind = (flags & kSizesBehindData) != 0;
        const std::string extra =
            numbers(2, {0x5455, 8}) + numbers(8, {0}) +
            (away_ == 0 ? kEmptyField : numbers(2, {1, 24}) + numbers(8, {size, size, begin}));
        directory_ += numbers(4, {0x02014B50}) + numbers(2, {20}) + start +
                      numbers(4, {0, all, all}) +
                      numbers(2, {name.size(), extra.size(), kEmptyField.size()}) +
                      numbers(4, {0, 0, begin | away_}) + name + extra + kEmptyField;
        entries_ += numbers(4, {0x04034B50}) + start + (behind ? numbers(4, {0, 0, 0}) : sizes) +
                    numbers(2, {name.size(), kEmptyField.size()}) + name + kEmptyField + content +
                    (behind ? sizes : "");
        ++count_;
    }

    std::string bytes(const std::string& note) const {
        const std::uint64_t size = directory_.size();
        const std::uint64_t begin = entries_.size();
        const std::uint64_t count = count_ | away_;
        const std::string end64 = numbers(4, {0x06064B50}) + numbers(8, {44, 45}) +
                                  numbers(4, {0}) + numbers(8, {count_, count_, size, begin}) +
                                  numbers(4, {0x07064B50, 0}) + numbers(8, {begin + size}) +
                                  numbers(4, {1});
        return entries_ + directory_ + (away_ == 0 ? "" : end64) + numbers(4, {0x06054B50, 0}) +
               numbers(2, {count, count}) + numbers(4, {size | away_, begin | away_}) +
               numbers(2, {note.size()}) + note;
    }

private:
    std::uint64_t away_;
    std::uint64_t count_ = 0;
    std::string entries_;
    std::string directory_;
};

inline std::string zipOf(const FileContents& files, bool is64 = false,
                         const std::string& comment = {}) {
    ZipWriter writer(is64);
    for (const auto& [name, content] : files) {
        writer.add(name, content);
    }
    return writer.bytes(comment);
}

}  // namespace zuplutil::test
