// Writes zip archives with stored entries, byte for byte.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

extern "C" DWORD WINAPI RtlComputeCrc32(DWORD seed, const BYTE* data, INT size);

namespace zuplutil::test {

// A little-endian number of so many bytes.
inline std::string number(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>(i < 8 ? value >> (8 * i) : 0);
    }
    return bytes;
}

class ZipWriter {
public:
    static constexpr unsigned kUtf8 = 0x0800;
    static constexpr unsigned kSizesBehindData = 8;

    // In 64-bit form the numbers that have one stand there alone.
    explicit ZipWriter(bool is64 = false) : is64_(is64) {}

    void add(const std::string& name, const std::string& content, unsigned flags = kUtf8) {
        const std::string sum =
            number(RtlComputeCrc32(0, reinterpret_cast<const BYTE*>(content.data()),
                                   static_cast<INT>(content.size())),
                   4);
        const std::string size = number(content.size(), 8);
        const std::string sizes = sum + size.substr(0, 4) + size.substr(0, 4);
        const bool behind = (flags & kSizesBehindData) != 0;
        const std::string start = number(20, 2) + number(flags, 2) + number(0, 6);
        const std::string begin = number(entries_.size(), 8);
        const std::string extra =
            is64_ ? number(1, 2) + number(24, 2) + size + size + begin : std::string();
        directory_ += number(0x02014B50, 4) + number(20, 2) + start +
                      (is64_ ? sum + std::string(8, '\xFF') : sizes) + number(name.size(), 2) +
                      number(extra.size(), 2) + number(0, 10) +
                      (is64_ ? std::string(4, '\xFF') : begin.substr(0, 4)) + name + extra;
        entries_ += number(0x04034B50, 4) + start + (behind ? number(0, 12) : sizes) +
                    number(name.size(), 2) + number(0, 2) + name + content +
                    (behind ? sizes : std::string());
        ++count_;
    }

    std::string bytes(const std::string& comment = {}) const {
        const std::string count = number(count_, 8);
        const std::string size = number(directory_.size(), 8);
        const std::string begin = number(entries_.size(), 8);
        const std::string end = number(0x06054B50, 4) + number(0, 4);
        return entries_ + directory_ +
               (is64_ ? number(0x06064B50, 4) + number(44, 8) + number(45, 12) + count + count +
                            size + begin + number(0x07064B50, 4) + number(0, 4) +
                            number(entries_.size() + directory_.size(), 8) + number(1, 4) + end +
                            std::string(12, '\xFF')
                      : end + count.substr(0, 2) + count.substr(0, 2) + size.substr(0, 4) +
                            begin.substr(0, 4)) +
               number(comment.size(), 2) + comment;
    }

private:
    bool is64_;
    std::string entries_;
    std::string directory_;
    std::size_t count_ = 0;
};

}  // namespace zuplutil::test
