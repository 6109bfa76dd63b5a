// Which libraries of the system the utility loads, from where, and what it does
// without them.

#include <sstream>

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

constexpr wchar_t kQuestion[] = L"-askremovesettings";

// A copy of the utility in a folder of its own, as after a download.
class LibrariesTest : public UtilityTest {
protected:
    fs::path copied(const fs::path& program, const std::string& name) const {
        const fs::path copy = folders_.bench() / "downloads" / name;
        fs::create_directories(copy.parent_path());
        fs::copy_file(program, copy, fs::copy_options::overwrite_existing);
        return copy;
    }

    // Every library that is loaded late, and some that the system's own ask for
    // by name. The tests' prefix lets programs of two names load them.
    void plantLibraries() {
        std::istringstream names(PELLORY_LATE_LIBRARIES
                                 " cryptbase dwmapi imm32 oleacc profapi propsys rpcrt4 shlwapi "
                                 "usp10 version winmm winspool wintrust");
        fs::create_directories(folders_.start());
        for (std::string name; names >> name;) {
            copied(builtProgram("tests/support/planted.dll"), name + ".dll");
            fs::copy_file(builtProgram("tests/support/planted.dll"),
                          folders_.start() / (name + ".dll"));
        }
        environment_[L"PELLORY_PLANTED"] = planted().wstring();
    }
    fs::path planted() const { return folders_.bench() / "planted.txt"; }
};

TEST_F(LibrariesTest, plantedLibraries_everyAction_areNotLoaded) {
    recordOnly();
    plantLibraries();
    write(folders_.addinData() / "settings_1.config", "settings");
    const fs::path utility = copied(shippedProgram(), "zuplutil_download.exe");
    for (const std::vector<std::wstring>& arguments :
         {std::vector<std::wstring>{L"-logdiagnostics"}, {L"-enableDebugging"}, {kQuestion}}) {
        UtilityProcess& process = start(arguments, utility);
        while (arguments[0] == kQuestion && process.isRunning()) {
            PostMessageW(FindWindowW(L"#32770", L"Pellory For Outlook"), WM_COMMAND, IDNO, 0);
            Sleep(20);
        }
        EXPECT_EQ(process.exitCode(), 0);
        EXPECT_EQ(process.output().find("Sorry"), std::string::npos) << process.output();
    }
    EXPECT_EQ(read(planted()), "");
    // A program that imports them as usual is caught.
    start({L"-logdiagnostics"},
          copied(builtProgram("tests/support/collect_driver.exe"), "collect_download.exe"))
        .exitCode();
    EXPECT_NE(read(planted()), "");
}

// The tests' prefix has no common controls and no GDI+ for this name.
TEST_F(LibrariesTest, windowLibraries_missing_failTheMessageBoxAlone) {
    const fs::path bare = copied(shippedProgram(), "zuplutil_bare.exe");
    write(folders_.addinData() / "settings_1.config", "settings");
    const std::pair<const wchar_t*, std::string> runs[] = {
        {kQuestion,
         "Sorry, this action could not be completed. (Could not load comctl32.dll (system error "
         "126))\n"},
        {L"-disableDebugging", kDisabled}};
    for (const auto& [argument, printed] : runs) {
        UtilityProcess& process = start({argument}, bare);
        EXPECT_EQ(process.exitCode(), 0);
        EXPECT_EQ(process.output(), kBanner + printed);
    }
    EXPECT_TRUE(fs::exists(folders_.addinData() / "settings_1.config"));
}

}  // namespace
}  // namespace zuplutil::test
