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

// The little-endian records of the format.
class Record {
public:
    Record& u16(std::size_t value) { return number(value, 2); }
    Record& u32(std::size_t value) { return number(value, 4); }
    Record& text(const std::string& value) {
        bytes_ += value;
        return *this;
    }
    const std::string& bytes() const { return bytes_; }

private:
    Record& number(std::size_t value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes_ += static_cast<char>(value >> (8 * i));
        }
        return *this;
    }
    std::string bytes_;
};

class Archive {
public:
    void add(const std::string& name, const std::string& content) {
        const std::size_t offset = entries_.bytes().size();
        entries_.u32(0x04034B50).text(common(name, content)).text(name).text(content);
        directory_.u32(0x02014B50).u16(20).text(common(name, content));
        directory_.u16(0).u16(0).u16(0).u32(0).u32(offset).text(name);
        ++count_;
    }
    std::string bytes() const {
        Record end;
        end.u32(0x06054B50).u16(0).u16(0).u16(count_).u16(count_);
        end.u32(directory_.bytes().size()).u32(entries_.bytes().size()).u16(0);
        return entries_.bytes() + directory_.bytes() + end.bytes();
    }

private:
    // Stored, with a UTF-8 name, on the first of January 2020.
    static std::string common(const std::string& name, const std::string& content) {
        Record record;
        record.u16(20).u16(0x0800).u16(0).u16(0).u16((40u << 9) | (1u << 5) | 1u);
        record.u32(crc32(content)).u32(content.size()).u32(content.size());
        return record.u16(name.size()).u16(0).bytes();
    }

    Record entries_;
    Record directory_;
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
