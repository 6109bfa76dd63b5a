// The fixture of the utility's tests: a user's folders, the utility in this process or in one of
// its own, and what changed: at the end, the diagnostics folder and the add-in's data.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>

#include "PlayedSystem.h"
#include "ZipWriter.h"
#include "ZuHandleWin32Gdi.h"

namespace zuplutil::test {

using Words = std::vector<std::wstring>;
using Lines = std::vector<std::string>;

// The add-in's folder and the archive's as changed() names them.
inline const std::string kData = "AppData/Roaming/Pellory For Outlook/";
inline const std::string kDiagnostics = "Desktop/PelloryDiagnostics/";

inline const std::string kBanner =
    "\nPellory Maintenance Utility v1.8.852\n"
    "Diagnostics and maintenance for the Pellory add-in.\n\n";
inline const std::string kMenuPrompt = "\nPress 0..9 followed by <Enter>...\n";

inline std::string debugConfig(const std::string& enabled, const std::string& logFile,
                               const std::string& level, const std::string& options) {
    const auto row = [](const char* key, const char* kind, const std::string& value) {
        return std::string("<p><k>") + key + "</k><t>" + kind + "</t><v>" + value + "</v></p>\n";
    };
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n" +
           row("logEnabled", "bool", enabled) + row("logOptions", "long", options) +
           row("logFile", "string", logFile) + row("logLevel", "long", level) + "</hmap>\n</bag>\n";
}

inline fs::path pathOf(const std::string& text) { return std::u8string(text.begin(), text.end()); }

inline std::string backslashed(fs::path path) { return utf8(path.make_preferred()); }

inline void write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

inline std::string asFile(const std::string& text) {
    return std::regex_replace(text, std::regex("\n"), "\r\n");
}
inline bool hasForm(const std::string& text, const std::string& expression) {
    return std::regex_match(text, std::regex(expression));
}

// As long as the handle lives, others may read the file, but neither write, rename nor delete it.
inline zustd::FileHandle locked(const fs::path& file, DWORD share = FILE_SHARE_READ) {
    return zustd::FileHandle(
        CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

// Of this process and those that it starts; an empty value takes a variable away.
inline void setVariable(const std::wstring& name, const std::wstring& value) {
    _wputenv((name + L"=" + value).c_str());
}

// A program that was built beside the tests, by its path in the build folder.
inline fs::path builtProgram(const std::string& path) {
    std::wstring own(MAX_PATH, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
    return fs::path(own).parent_path().parent_path() / fs::path(path).make_preferred();
}

inline fs::path shippedProgram() {
    return builtProgram(sizeof(void*) == 8 ? "bin/zuplutil.exe" : "bin/zuplutil32.exe");
}

// A program under test, with this process's environment; it ends at the latest with this object.
class UtilityProcess {
public:
    UtilityProcess(const fs::path& program, const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        HANDLE reader = nullptr;
        CreatePipe(&reader, &startup.hStdOutput, &inherited, 1024 * 1024);
        startup.hStdError = startup.hStdOutput;
        std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   nullptr, &startup, &process));
        reader_ = zustd::FileHandle(reader);
        process_ = zustd::FileHandle(process.hProcess);
        CloseHandle(process.hThread);
        CloseHandle(startup.hStdOutput);
    }
    ~UtilityProcess() { kill(); }

    // Reads until the output has a text, or ends.
    void waitFor(const std::string& text) {
        char bytes[4096];
        DWORD count = 0;
        while (output_.find(text) == text.npos &&
               ReadFile(reader_.get(), bytes, sizeof(bytes), &count, nullptr)) {
            output_.append(bytes, count);
            std::erase(output_, '\r');
        }
    }

    // Waits for the end of the program and of all that writes where it does.
    DWORD exitCode() {
        waitFor("no program says this");
        WaitForSingleObject(process_.get(), INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process_.get(), &code);
        return code;
    }

    void kill() {
        TerminateProcess(process_.get(), 1);
        WaitForSingleObject(process_.get(), INFINITE);
    }

    const std::string& output() const { return output_; }

private:
    zustd::FileHandle process_;
    zustd::FileHandle reader_;
    std::string output_;
};

class UtilityTest : public ::testing::Test {
protected:
    UtilityTest() { moveTo(L"user"); }
    ~UtilityTest() override;
    void TearDown() override;

    // Makes the folders of a user of this name, with neighbours that no action may touch.
    void moveTo(const std::wstring& name);

    static constexpr char kEndOfInput[] = "^Z";
    // What the utility printed; the answers are typed one after another, then zeros.
    std::string run(const Words& arguments = {}, const Lines& answers = {}, int exitCode = 0);
    static std::function<int()> utility(const Words& arguments);
    // Does what a command that packs or removes does; separators part what has no quotes.
    static void obey(std::string command);

    // What has changed since the folders were made, or since it was given: a line each.
    std::string changed() const;
    void give() { before_ = filesBelow(root_); }

    fs::path root() const { return root_; }
    fs::path data() const { return root_ / "AppData/Roaming/Pellory For Outlook"; }
    fs::path config() const { return data() / "debug.config"; }
    fs::path diagnostics() const { return root_ / "Desktop" / "PelloryDiagnostics"; }
    fs::path logs() const { return diagnostics() / "PelloryLogs"; }
    fs::path zip() const { return diagnostics() / "PelloryDiagnosticsLogs.zip"; }
    // Where the utility is started, and a place outside of what is compared.
    fs::path start() const { return root_ / "start"; }
    fs::path bench() const { return bench_; }

private:
    fs::path bench_;
    fs::path root_;
    FileContents before_;
};

}  // namespace zuplutil::test
