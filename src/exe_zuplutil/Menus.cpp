#include "Menus.h"

#include <algorithm>

#include "Actions.h"
#include "CleanUp.h"
#include "Console.h"
#include "DebugLogging.h"
#include "Diagnostics.h"
#include "Processes.h"

namespace zuplutil {

namespace {

constexpr const char* kMenuRule = "----------------------------------------------";
const std::string kRule128(128, '-');

// The state is asked for once more before the warning.
void waitWhileOutlookRuns(bool running) {
    while (isOutlookRunning() == running) {
        if (isOutlookRunning() == running) {
            running ? showOutlookRunningWarning() : showOutlookNotRunningWarning();
        }
        waitForKey();
    }
}

// One row of a menu. A mark behind the text shows one that is not available;
// one without an action leaves the menu.
struct MenuEntry {
    int digit;
    const char* text;
    bool available;
    void (*action)();
};
using Menu = std::vector<MenuEntry>;

void show(const char* title, const Menu& menu) {
    printAndRecord("%s\n%s\n%s\n", kMenuRule, title, kMenuRule);
    for (const MenuEntry& entry : menu) {
        printAndRecord("%d. %s%s\n", entry.digit, entry.text,
                       entry.available ? "" : "(not available)");
    }
    printAndRecord("%s\n", kMenuRule);
}

// Shows a menu and does what is chosen until that is to leave. The entries are
// made anew each time.
void runMenu(const char* title, Menu (*makeEntries)()) {
    for (;;) {
        const Menu menu = makeEntries();
        if (isOutlookRunning()) {
            showOutlookRunningWarning();
        }
        show(title, menu);
        const int choice = readMenuChoice();
        const auto entry = std::find_if(menu.begin(), menu.end(), [choice](const MenuEntry& each) {
            return each.digit == choice && each.available;
        });
        if (entry == menu.end()) {
            printAndRecord("\n\nSorry, this menu option is not available.\n\n");
        } else if (entry->action == nullptr) {
            return;
        } else {
            runAction(entry->action);
        }
    }
}

void removeSettingsIfSure() {
    if (askYesNo("Your current Pellory settings will be removed from this machine.\n"
                 "You will need to reconfigure and retrain Pellory after this!")) {
        removeSettings(true);
        if (hasSettingsFiles()) {
            printAndRecord("Could not remove all Pellory settings.\n");
        }
    }
}

void removeDiagnosticsLogsIfSure() {
    if (askYesNo("Any Pellory diagnostic logs will be removed...")) {
        removeDiagnosticsLogs();
    }
}

// The texts that can get a mark end in a blank, mark or not.
Menu mainMenuEntries() {
    bool settingsPresent = false;
    bool logging = false;
    runAction([&] { settingsPresent = hasSettingsFiles(); });
    runAction([&] { logging = isDebugLoggingEnabled(); });
    // clang-format off
    return {
        {0, "Exit Pellory Utility", true, nullptr},
        {1, "Collect diagnostics for support", true, diagnosticsMenu},
        {2, "Enable Pellory debug logging ", !logging, [] { enableDebugLogging(); showDebugLoggingSettings(false); }},
        {3, "Disable Pellory debug logging ", logging, [] { disableDebugLogging(); showDebugLoggingSettings(false); }},
        {4, "Show current Pellory debug logging settings", true, [] { showDebugLoggingSettings(true); }},
        {5, "Remove Pellory settings ", settingsPresent, removeSettingsIfSure},
        {7, "Remove Pellory diagnostics logs", true, removeDiagnosticsLogsIfSure},
    };
    // clang-format on
}

Menu diagnosticsMenuEntries() {
    return {
        {0, "Go back to main menu", true, nullptr},
        {1, "Collect diagnostics (guided)", true, guidedCollection},
        {2, "Collect diagnostics (manual standard)", true, [] { collectDiagnostics(true, false); }},
        {3, "Collect diagnostics (manual extended)", true,
         [] { collectDiagnostics(false, false); }},
        {4, "Collect diagnostics (manual ocat)", true, [] { collectDiagnostics(false, true); }},
    };
}

void tellWhatToTry() {
    printAndRecord(
        "%s\n"
        "Now please go to Outlook again and click (not double-click) once on an email in your "
        "inbox (opening it is not necessary).\n"
        "Wait until Pellory makes a suggestion for this email in the Pellory task pane or "
        "toolbar.\n"
        "If you did not train any folders in Outlook yet, you can do so now with the Pellory "
        "Folder Wizard and repeat the above steps.\n"
        "In addition to the above, in case you reported a specific issue with Pellory, it's a "
        "good idea to try to reproduce this issue now.\n"
        "When done, shut down Outlook again and press any key here to continue...\n"
        "\nPlease note:\nOutlook might appear run a little slower than usual while collection of "
        "diagnostics is active.  This is normal.\n"
        "%s\n",
        kRule128.c_str(), kRule128.c_str());
}

}  // namespace

void mainMenu() { runMenu("Pellory Maintenance Utility - Main Menu", mainMenuEntries); }

void diagnosticsMenu() {
    runMenu("Pellory Maintenance Utility - Diagnostics Menu", diagnosticsMenuEntries);
}

void guidedCollection() {
    waitWhileOutlookRuns(true);
    TemporaryDebugSettings settings({true, kAutomaticLogFile, 10, 1}, true,
                                    TemporaryDebugSettings::WhenMissing::kWriteDefaults);
    showDebugLoggingSettings(false);
    waitWhileOutlookRuns(false);
    tellWhatToTry();
    waitForKey();
    waitWhileOutlookRuns(true);
    settings.restore();
    showDebugLoggingSettings(false);
    collectDiagnostics(true, false);
}

}  // namespace zuplutil
