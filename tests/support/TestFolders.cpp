#include "TestFolders.h"

#include <windows.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zuplutil::test {

namespace fs = std::filesystem;

namespace {

// A little-endian number of so many bytes.
std::size_t number(const std::string& bytes, std::size_t offset, int size) {
    std::size_t value = 0;
    for (int i = size - 1; i >= 0; --i) {
        value =
            value << 8 | static_cast<unsigned char>(bytes.at(offset + static_cast<std::size_t>(i)));
    }
    return value;
}

std::size_t crc32(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ (crc & 1u) * 0xEDB88320u;
        }
    }
    return ~crc;
}

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("broken archive: ") + what);
    }
}

}  // namespace

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string utf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::string read(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

TestFolders::TestFolders(const std::wstring& name) {
    static int count = 0;
    bench_ = fs::temp_directory_path() /
             ("pellory-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count));
    root_ = bench_ / name;
    fs::create_directories(addinData());
    fs::create_directories(documents());
    fs::create_directories(start());
    write(desktop() / "PelloryDiagnostics2/keep.txt", "a neighbour of the diagnostics folder");
    write(roaming() / "Pellory For Outlook 2/debug.log", "another add-in's log");
    write(roaming() / "Pellory For Outlook 2/settings_1.config", "another add-in's settings");
    write(addinData() / "training.dat", "nobody's business");
}

TestFolders::~TestFolders() {
    std::error_code ignored;
    fs::remove_all(bench_, ignored);
}

FileSnapshot::FileSnapshot(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::u8string name = entry.path().lexically_relative(folder).generic_u8string();
        const std::string path(name.begin(), name.end());
        if (entry.is_directory()) {
            files_[path + "/"];
        } else {
            files_[path] = read(entry.path());
        }
    }
}

Lines FileSnapshot::changesSince(const FileSnapshot& before) const {
    std::map<std::string, const char*> changes;
    for (const auto& [path, content] : files_) {
        const auto former = before.files_.find(path);
        if (former == before.files_.end()) {
            changes[path] = "new ";
        } else if (former->second != content) {
            changes[path] = "changed ";
        }
    }
    for (const auto& [path, content] : before.files_) {
        if (files_.count(path) == 0) {
            changes[path] = "gone ";
        }
    }
    Lines lines;
    for (const auto& [path, kind] : changes) {
        lines.push_back(kind + path);
    }
    return lines;
}

std::map<std::string, std::string> readZip(const fs::path& archive) {
    const std::string bytes = read(archive);
    require(bytes.size() >= 22, "too short");
    const std::size_t end = bytes.size() - 22;
    require(number(bytes, end, 4) == 0x06054B50, "no end record");
    std::map<std::string, std::string> files;
    std::size_t entry = number(bytes, end + 16, 4);
    for (std::size_t left = number(bytes, end + 10, 2); left > 0; --left) {
        require(number(bytes, entry, 4) == 0x02014B50, "no directory record");
        require(number(bytes, entry + 10, 2) == 0, "not stored");
        const std::size_t nameSize = number(bytes, entry + 28, 2);
        const std::string name = bytes.substr(entry + 46, nameSize);
        const std::size_t local = number(bytes, entry + 42, 4);
        require(number(bytes, local, 4) == 0x04034B50, "no local record");
        const std::string content =
            bytes.substr(local + 30 + nameSize, number(bytes, entry + 24, 4));
        require(crc32(content) == number(bytes, entry + 16, 4), "wrong sum");
        files[name] = content;
        entry += 46 + nameSize;
    }
    require(entry == end, "something between directory and end");
    return files;
}

}  // namespace zuplutil::test
