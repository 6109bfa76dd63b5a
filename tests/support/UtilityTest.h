// The fixture of the tests that run the utility as it ships.
//
// Every test has its own user's folders and its own command interpreter, which
// notes what is run. At its end nothing may have changed but the diagnostics
// folder and the add-in's data, and no process may be left.
//
//     TEST_F(UtilityTest, …) {
//         write(folders_.addinData() / "debug.log", "a line\r\n");
//         run({L"-enableDebugging"});
//         EXPECT_EQ(changes(), …);
//     }
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TestFolders.h"
#include "UtilityProcess.h"

namespace zuplutil::test {

namespace fs = std::filesystem;

// The add-in's folder as changes() names it, and the end of a backup's name.
inline const std::string kData = "AppData/Roaming/Pellory For Outlook/";
inline const std::string kStamp = "-\\d{4}-\\d\\d-\\d\\d-\\d\\d;\\d\\d;\\d\\d;\\d{3}\\.bak\n";

// Arguments for the shortest collection.
inline const std::vector<std::wstring> kStandard = {L"-logdiagnostics", L"-light", L"-noocat"};

inline constexpr char kBanner[] =
    "\nPellory Maintenance Utility v1.8.852\n"
    "Diagnostics and maintenance for the Pellory add-in.\n\n";

// The short settings reports.
inline constexpr char kEnabled[] =
    "\n------------------------------------------------------------------------------------\n"
    "Pellory Debug Logging is currently enabled.\n"
    "\nPlease note:\n"
    "Outlook might appear to run a little slower than usual while Pellory debug logging is "
    "enabled.  This is normal.\n"
    "------------------------------------------------------------------------------------\n\n";

inline constexpr char kDisabled[] =
    "\n------------------------------------------------------------------------------------\n"
    "Pellory Debug Logging is currently disabled.\n"
    "------------------------------------------------------------------------------------\n\n";
inline constexpr char kMenuPrompt[] = "\nPress 0..9 followed by <Enter>...\n";
inline constexpr char kKeyPrompt[] =
    "\nPress any key to continue...\n\n"
    "(or press CTRL-C to abort Pellory Maintenance Utility)\n";

// What debug.config holds for these values.
std::string debugConfig(const std::string& enabled, const std::string& logFile,
                        const std::string& level, const std::string& options);

// A program that was built beside the tests, by its path in the build folder.
fs::path builtProgram(const std::string& path);

// The utility that is as wide as these tests.
fs::path shippedProgram();

// Whether a text has the form of a regular expression as a whole.
bool hasForm(const std::string& text, const std::string& expression);

class UtilityTest : public ::testing::Test {
protected:
    explicit UtilityTest(const std::wstring& name = L"user");
    void TearDown() override;

    // Starts a program; what the test prepared until then counts as given. Without
    // one, the utility as it ships or, where nothing is run, its quick likeness.
    UtilityProcess& start(const std::vector<std::wstring>& arguments = {},
                          const fs::path& program = {});
    // Runs the utility to its end and returns what it printed.
    std::string run(const std::vector<std::wstring>& arguments, int exitCode = 0);
    // Starts the utility and gives these answers at the menus; then leaves.
    std::string runMenu(const std::vector<std::string>& choices);
    // Shows the menu and leaves it: what was said before it, the banner included.
    std::string saidAtStart();

    // The commands that were run, in order; each "cmd /S /C "…"" is given as
    // what stands between its outer quotes.
    Lines commands() const;
    // What the Explorer was asked to show.
    Lines explored() const;
    Lines changes() const;
    // Changes of this path, too, are fine at the end of the test.
    void allow(const std::string& path) { allowed_.push_back(path); }
    // Nothing is run from now on, only noted.
    void recordOnly() { environment_[L"PELLORY_RECORD_ONLY"] = L"1"; }
    void forgetCommands() const;
    // What the next run says when it has put back the debug settings.
    std::string mended() const {
        return "An interrupted run had changed the debug settings; they are put back (" +
               backslashed(config()) + ")\n";
    }
    fs::path config() const { return folders_.addinData() / "debug.config"; }

    TestFolders folders_;
    Environment environment_;

private:
    std::vector<std::string> allowed_;
    std::vector<std::unique_ptr<UtilityProcess>> processes_;
    std::optional<FileContents> before_;
};

// A file that others may read, but neither write, rename nor delete, as long as
// this object lives.
class LockedFile {
public:
    explicit LockedFile(const fs::path& file);
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;
    ~LockedFile() { CloseHandle(handle_); }

private:
    HANDLE handle_;
};

// A program of a given name that runs as long as this object lives.
class RunningProgram {
public:
    RunningProgram(const TestFolders& folders, const std::wstring& name);
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

private:
    std::unique_ptr<UtilityProcess> process_;
};

}  // namespace zuplutil::test
