// A script host that zips: cscript <script> <folder> <archive>. It does what
// the utility's script asks the shell for, with stored entries. A script that
// does not exist is an error, as it is for the real one.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;

std::uint32_t crc32(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1u) != 0 ? 0xEDB88320u : 0u);
        }
    }
    return ~crc;
}

// A little-endian number of so many bytes.
std::string number(std::size_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

class Archive {
public:
    void add(const std::string& name, const std::string& content) {
        // Stored, with a UTF-8 name, on the first of January 2020.
        const std::string common = number(20, 2) + number(0x0800, 2) + number(0, 4) +
                                   number((40u << 9) | (1u << 5) | 1u, 2) +
                                   number(crc32(content), 4) + number(content.size(), 4) +
                                   number(content.size(), 4) + number(name.size(), 2);
        directory_ += number(0x02014B50, 4) + number(20, 2) + common + number(0, 12) +
                      number(entries_.size(), 4) + name;
        entries_ += number(0x04034B50, 4) + common + number(0, 2) + name + content;
        ++count_;
    }
    std::string bytes() const {
        return entries_ + directory_ + number(0x06054B50, 4) + number(0, 4) + number(count_, 2) +
               number(count_, 2) + number(directory_.size(), 4) + number(entries_.size(), 4) +
               number(0, 2);
    }

private:
    std::string entries_;
    std::string directory_;
    std::size_t count_ = 0;
};

std::string utf8(const fs::path& path) {
    const std::u8string text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}

std::string contentOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot open a file of the folder");
    }
    return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4 || !fs::is_regular_file(argv[1]) || !fs::is_directory(argv[2])) {
        std::fputs("usage: cscript <script> <folder> <archive>\n", stderr);
        return 1;
    }
    Archive archive;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[2])) {
        if (entry.is_regular_file()) {
            archive.add(utf8(entry.path().lexically_relative(argv[2])), contentOf(entry.path()));
        }
    }
    const std::string bytes = archive.bytes();
    std::ofstream out(fs::path(argv[3]), std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return out.flush() ? 0 : 1;
}
