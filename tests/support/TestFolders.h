// A user's folders for one test, and what changed in them.
//
//     TestFolders folders(L"b\u00fcro (2)");
//     const FileContents before = filesBelow(folders.root());
//     write(folders.addinData() / "debug.log", "a line\r\n");
//     differences(before, filesBelow(folders.root()));
//         // {"new AppData/Roaming/Pellory For Outlook/debug.log"}
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zuplutil::test {

using Lines = std::vector<std::string>;

// One text of many lines, of which a failing comparison shows the differences.
std::string joined(const Lines& lines);

std::string utf8(const std::filesystem::path& path);
std::string backslashed(std::filesystem::path path);
std::string read(const std::filesystem::path& file);
void write(const std::filesystem::path& file, const std::string& bytes);

// Made with sentinels that no action of the utility may touch, and removed
// with all its content. The last part of every path is the name, so that
// names with blanks, quotes and any alphabet can be tried.
class TestFolders {
public:
    explicit TestFolders(const std::wstring& name);
    TestFolders(const TestFolders&) = delete;
    TestFolders& operator=(const TestFolders&) = delete;
    ~TestFolders();

    const std::filesystem::path& root() const { return root_; }
    std::filesystem::path desktop() const { return root_ / "Desktop"; }
    std::filesystem::path documents() const { return root_ / "Documents"; }
    std::filesystem::path roaming() const { return root_ / "AppData/Roaming"; }
    std::filesystem::path addinData() const { return roaming() / "Pellory For Outlook"; }
    std::filesystem::path diagnostics() const { return desktop() / "PelloryDiagnostics"; }
    std::filesystem::path logs() const { return diagnostics() / "PelloryLogs"; }
    std::filesystem::path zip() const { return diagnostics() / "PelloryDiagnosticsLogs.zip"; }
    // Where the utility is started.
    std::filesystem::path start() const { return root_ / "start"; }
    // A place for the bench's own files, outside what is compared.
    std::filesystem::path bench() const { return bench_; }

private:
    std::filesystem::path bench_;
    std::filesystem::path root_;
};

// All files below a folder with their bytes, by their relative path with slashes;
// a folder's ends in one.
using FileContents = std::map<std::string, std::string>;
FileContents filesBelow(const std::filesystem::path& folder);

// "new PATH", "gone PATH", "changed PATH", sorted by path.
Lines differences(const FileContents& before, const FileContents& after);

// The files in a zip archive with stored entries.
FileContents readZip(const std::filesystem::path& archive);

}  // namespace zuplutil::test
