// Which libraries the utility loads, from where, what it does without them; and its one window.

#include <sstream>

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

constexpr wchar_t kQuestion[] = L"-askremovesettings";

HWND box = nullptr;

// The system tells of each window that is made. The box answers when all of it is.
void CALLBACK onWindow(HWINEVENTHOOK, DWORD, HWND window, LONG, LONG, DWORD, DWORD) {
    if (GetDlgCtrlID(window) == 0xFFFF) {
        box = GetParent(window);
        PostQuitMessage(0);
    }
}

class LibrariesTest : public UtilityTest {
protected:
    LibrariesTest() {
        write(data() / "settings_1.config", "settings");
        give();
    }

    fs::path copied(const fs::path& program, const std::string& name) const {
        fs::copy_file(program, bench() / name);
        return bench() / name;
    }

    // What the utility says when its box gets Enter, the session's end, or a button's press.
    static std::string answer(const fs::path& program, UINT how) {
        const HWINEVENTHOOK hook =
            SetWinEventHook(EVENT_OBJECT_CREATE, EVENT_OBJECT_CREATE, nullptr, &onWindow, 0, 0,
                            WINEVENT_OUTOFCONTEXT | WINEVENT_SKIPOWNPROCESS);
        UtilityProcess utility(program, kQuestion + std::wstring(L" -logdiagnostics"));
        MSG message;
        GetMessageW(&message, nullptr, 0, 0);
        UnhookWinEvent(hook);
        SendMessageW(box, WM_NULL, 0, 0);
        wchar_t asked[1024] = {};
        SendDlgItemMessageW(box, IDYES, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(asked));
        EXPECT_STREQ(asked, L"&Yes");
        SendDlgItemMessageW(box, 0xFFFF, WM_GETTEXT, 1024, reinterpret_cast<LPARAM>(asked));
        EXPECT_EQ(utf8(asked),
                  "Would you like to remove your Pellory settings as well?\n\n"
                  "(answer 'No' in case you are planning to upgrade to a newer version\n"
                  " and you would like to keep your existing settings)");
        how == WM_QUIT ? PostThreadMessageW(GetWindowThreadProcessId(box, nullptr), WM_QUIT, 0, 0)
                       : PostMessageW(box, how, how == WM_KEYDOWN ? VK_RETURN : IDYES, 0);
        EXPECT_EQ(utility.exitCode(), 0u);
        return utility.output();
    }
};

// Those that are loaded late or asked for by the system's own. Wine lets two programs load them.
TEST_F(LibrariesTest, plantedLibraries_everyAction_areNotLoadedAndSettingsGoAfterAYesAlone) {
    std::istringstream names(PELLORY_LATE_LIBRARIES
                             " cryptbase dwmapi imm32 oleacc profapi propsys rpcrt4 shlwapi "
                             "usp10 version winmm winspool wintrust");
    for (std::string name; names >> name;) {
        copied(builtProgram("tests/support/test_addin.dll"), name + ".dll");
        fs::copy_file(builtProgram("tests/support/test_addin.dll"), start() / (name + ".dll"));
    }
    const fs::path planted = bench() / "planted";
    setVariable(L"PELLORY_PLANTED", planted.wstring());
    const fs::path utility = copied(shippedProgram(), "zuplutil_download.exe");
    for (const wchar_t* const argument : {L"-logdiagnostics -light -noocat", L"-enableDebugging"}) {
        UtilityProcess process(utility, argument);
        EXPECT_EQ(process.exitCode(), 0u);
        EXPECT_EQ(process.output().find("Sorry"), std::string::npos) << process.output();
    }
    give();
    EXPECT_EQ(answer(utility, WM_KEYDOWN), kBanner);
    EXPECT_EQ(answer(utility, WM_QUIT),
              kBanner + "Could not ask whether to remove the settings; none were removed.\n");
    EXPECT_EQ(changed(), "");
    EXPECT_EQ(answer(utility, WM_COMMAND), kBanner);
    EXPECT_EQ(changed(), "gone " + kData + "settings_1.config\n");
    EXPECT_FALSE(fs::exists(planted));
    // A program that imports them as usual is caught.
    UtilityProcess(copied(builtProgram("bin/utility_console_tests.exe"), "collect_download.exe"),
                   L"--gtest_list_tests")
        .exitCode();
    EXPECT_TRUE(fs::exists(planted));
}

// The tests' prefix has no common controls and no GDI+ for this name.
TEST_F(LibrariesTest, windowLibraries_missing_failTheMessageBoxInALine) {
    UtilityProcess bare(copied(shippedProgram(), "zuplutil_bare.exe"), kQuestion);
    EXPECT_EQ(bare.exitCode(), 0u);
    EXPECT_EQ(bare.output(),
              kBanner +
                  "Sorry, this action could not be completed. (Could not load comctl32.dll "
                  "(system error 126))\n");
    EXPECT_EQ(changed(), "");
}

}  // namespace
}  // namespace zuplutil::test
