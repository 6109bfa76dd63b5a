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

extern "C" DWORD WINAPI RtlComputeCrc32(DWORD seed, const BYTE* data, INT size);

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

// A little-endian number of so many bytes.
inline std::string number(std::uint64_t value, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(&value), sizeof(value));
    bytes.resize(size);
    return bytes;
}

class ZipWriter {
public:
    static constexpr unsigned kUtf8 = 0x0800;
    static constexpr unsigned kSizesBehindData = 8;

    // A field without content, which follows each name.
    static std::string empty() { return number(0x5455, 4); }

    // In 64-bit form the numbers that have one stand there alone.
    explicit ZipWriter(bool is64 = false) : is64_(is64) {}

    void add(const std::string& name, const std::string& content, unsigned flags = kUtf8) {
        const auto* const data = reinterpret_cast<const BYTE*>(content.data());
        const std::string sum =
            number(RtlComputeCrc32(0, data, static_cast<INT>(content.size())), 4);
        const std::string size = number(content.size(), 8);
        const std::string sizes = sum + number(content.size(), 4) + number(content.size(), 4);
        const bool behind = (flags & kSizesBehindData) != 0;
        const std::string start =
            number(20, 2) + number(flags, 2) + number(0, 2) + number(0x496E49D3, 4);
        const std::string begin = number(entries_.size(), 8);
        const std::string extra =
            number(0x5455, 2) + number(8, 2) + number(0, 8) +
            (is64_ ? number(1, 2) + number(24, 2) + size + size + begin : empty());
        directory_ += number(0x02014B50, 4) + number(20, 2) + start +
                      (is64_ ? sum + std::string(8, '\xFF') : sizes) + number(name.size(), 2) +
                      number(extra.size(), 2) + number(empty().size(), 2) + number(0, 8) +
                      (is64_ ? std::string(4, '\xFF') : begin.substr(0, 4)) + name + extra +
                      empty();
        entries_ += number(0x04034B50, 4) + start + (behind ? number(0, 12) : sizes) +
                    number(name.size(), 2) + number(empty().size(), 2) + name + empty() + content +
                    (behind ? sizes : "");
        ++count_;
    }

    std::string bytes(const std::string& comment = {}) const {
        const std::size_t size = directory_.size();
        const std::size_t begin = entries_.size();
        const std::string end = number(0x06054B50, 4) + number(0, 4);
        const std::string end64 =
            number(0x06064B50, 4) + number(44, 8) + number(45, 12) + number(count_, 8) +
            number(count_, 8) + number(size, 8) + number(begin, 8) + number(0x07064B50, 4) +
            number(0, 4) + number(begin + size, 8) + number(1, 4) + end + std::string(12, '\xFF');
        return entries_ + directory_ +
               (is64_ ? end64
                      : end + number(count_, 2) + number(count_, 2) + number(size, 4) +
                            number(begin, 4)) +
               number(comment.size(), 2) + comment;
    }

private:
    bool is64_;
    std::string entries_;
    std::string directory_;
    std::size_t count_ = 0;
};

inline std::string zipOf(const FileContents& files) {
    ZipWriter writer;
    for (const auto& [name, content] : files) {
        writer.add(name, content);
    }
    return writer.bytes();
}

}  // namespace zuplutil::test
