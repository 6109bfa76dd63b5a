#include "TestFolders.h"

#include <windows.h>

#include <cstdint>
#include <fstream>
#include <iterator>

namespace zuplutil::test {

namespace fs = std::filesystem;

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

std::string backslashed(fs::path path) { return utf8(path.make_preferred()); }

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

FileContents filesBelow(const fs::path& folder) {
    FileContents files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::u8string name = entry.path().lexically_relative(folder).generic_u8string();
        const std::string path(name.begin(), name.end());
        if (entry.is_directory()) {
            files[path + "/"];
        } else {
            files[path] = read(entry.path());
        }
    }
    return files;
}

Lines differences(const FileContents& before, const FileContents& after) {
    std::map<std::string, const char*> changes;
    for (const auto& [path, content] : after) {
        const auto former = before.find(path);
        if (former == before.end() || former->second != content) {
            changes[path] = former == before.end() ? "new " : "changed ";
        }
    }
    for (const auto& [path, content] : before) {
        if (!after.contains(path)) {
            changes[path] = "gone ";
        }
    }
    Lines lines;
    for (const auto& [path, kind] : changes) {
        lines.push_back(kind + path);
    }
    return lines;
}

FileContents readZip(const fs::path& archive) {
    const std::string bytes = read(archive);
    const auto number = [&bytes](std::size_t at) {
        std::uint32_t value = 0;
        bytes.copy(reinterpret_cast<char*>(&value), sizeof(value), at);
        return value;
    };
    // The entries lie one after another, each behind its record.
    FileContents files;
    for (std::size_t at = 0; number(at) == 0x04034B50;) {
        const std::size_t size = number(at + 18);
        const std::size_t nameSize = number(at + 26);
        files[bytes.substr(at + 30, nameSize)] = bytes.substr(at + 30 + nameSize, size);
        at += 30 + nameSize + size;
    }
    return files;
}

}  // namespace zuplutil::test
