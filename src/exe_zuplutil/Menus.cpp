#include "Menus.h"

#include <string>

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

void sayNotAvailable() { printAndRecord("\n\nSorry, this menu option is not available.\n\n"); }

const char* availability(bool available) { return available ? "" : "(not available)"; }

void warnWhileOutlookRuns() {
    if (isOutlookRunning()) {
        showOutlookRunningWarning();
    }
}

void waitUntilOutlookHasEnded() {
    while (isOutlookRunning()) {
        warnWhileOutlookRuns();
        waitForKey();
    }
}

void waitUntilOutlookRuns() {
    while (!isOutlookRunning()) {
        if (!isOutlookRunning()) {
            showOutlookNotRunningWarning();
        }
        waitForKey();
    }
}

// What the entries of the main menu depend on.
struct MainMenuState {
    bool settingsPresent = false;
    bool loggingEnabled = false;
};

MainMenuState inspect() {
    MainMenuState state;
    runAction([&state] { state.settingsPresent = hasSettingsFiles(); });
    runAction([&state] { state.loggingEnabled = isDebugLoggingEnabled(); });
    return state;
}

void showMainMenu(const MainMenuState& state) {
    printAndRecord("%s\n", kMenuRule);
    printAndRecord("Pellory Maintenance Utility - Main Menu\n");
    printAndRecord("%s\n", kMenuRule);
    printAndRecord("0. Exit Pellory Utility\n");
    printAndRecord("1. Collect diagnostics for support\n");
    printAndRecord("2. Enable Pellory debug logging %s\n", availability(!state.loggingEnabled));
    printAndRecord("3. Disable Pellory debug logging %s\n", availability(state.loggingEnabled));
    printAndRecord("4. Show current Pellory debug logging settings\n");
    printAndRecord("5. Remove Pellory settings %s\n", availability(state.settingsPresent));
    printAndRecord("7. Remove Pellory diagnostics logs\n");
    printAndRecord("%s\n", kMenuRule);
}

void removeSettingsIfSure() {
    if (askYesNo("Your current Pellory settings will be removed from this machine.\n"
                 "You will need to reconfigure and retrain Pellory after this!")) {
        removeSettings(true);
    }
}

void removeDiagnosticsLogsIfSure() {
    if (askYesNo("Any Pellory diagnostic logs will be removed...")) {
        removeDiagnosticsLogs();
    }
}

void actOnMainMenu(int choice, const MainMenuState& state) {
    if (choice == 1) {
        diagnosticsMenu();
    } else if (choice == 2 && !state.loggingEnabled) {
        enableDebugLogging();
        showDebugLoggingSettings(false);
    } else if (choice == 3 && state.loggingEnabled) {
        disableDebugLogging();
        showDebugLoggingSettings(false);
    } else if (choice == 4) {
        showDebugLoggingSettings(true);
    } else if (choice == 5 && state.settingsPresent) {
        removeSettingsIfSure();
    } else if (choice == 7) {
        removeDiagnosticsLogsIfSure();
    } else {
        sayNotAvailable();
    }
}

void showDiagnosticsMenu() {
    printAndRecord("%s\n", kMenuRule);
    printAndRecord("Pellory Maintenance Utility - Diagnostics Menu\n");
    printAndRecord("%s\n", kMenuRule);
    printAndRecord("0. Go back to main menu\n");
    printAndRecord("1. Collect diagnostics (guided)\n");
    printAndRecord("2. Collect diagnostics (manual standard)\n");
    printAndRecord("3. Collect diagnostics (manual extended)\n");
    printAndRecord("4. Collect diagnostics (manual ocat)\n");
    printAndRecord("%s\n", kMenuRule);
}

void actOnDiagnosticsMenu(int choice) {
    switch (choice) {
        case 1:
            return guidedCollection();
        case 2:
            return collectDiagnostics(true, false);
        case 3:
            return collectDiagnostics(false, false);
        case 4:
            return collectDiagnostics(false, true);
        default:
            return sayNotAvailable();
    }
}

void tellWhatToTry() {
    printAndRecord("%s\n", kRule128.c_str());
    printAndRecord(
        "Now please go to Outlook again and click (not double-click) once on an email in your "
        "inbox (opening it is not necessary).\n");
    printAndRecord(
        "Wait until Pellory makes a suggestion for this email in the Pellory task pane or "
        "toolbar.\n");
    printAndRecord(
        "If you did not train any folders in Outlook yet, you can do so now with the Pellory "
        "Folder Wizard and repeat the above steps.\n");
    printAndRecord(
        "In addition to the above, in case you reported a specific issue with Pellory, it's a "
        "good idea to try to reproduce this issue now.\n");
    printAndRecord("When done, shut down Outlook again and press any key here to continue...\n");
    printAndRecord(
        "\nPlease note:\nOutlook might appear run a little slower than usual while collection of "
        "diagnostics is active.  This is normal.\n");
    printAndRecord("%s\n", kRule128.c_str());
}

}  // namespace

void mainMenu() {
    for (;;) {
        const MainMenuState state = inspect();
        warnWhileOutlookRuns();
        showMainMenu(state);
        const int choice = readMenuChoice();
        if (choice == 0) {
            return;
        }
        runAction([&] { actOnMainMenu(choice, state); });
    }
}

void diagnosticsMenu() {
    for (;;) {
        warnWhileOutlookRuns();
        showDiagnosticsMenu();
        const int choice = readMenuChoice();
        if (choice == 0) {
            return;
        }
        runAction([choice] { actOnDiagnosticsMenu(choice); });
    }
}

void guidedCollection() {
    waitUntilOutlookHasEnded();
    TemporaryDebugSettings settings({true, kAutomaticLogFile, 10, 1}, true,
                                    TemporaryDebugSettings::WhenMissing::kWriteDefaults);
    showDebugLoggingSettings(false);
    waitUntilOutlookRuns();
    tellWhatToTry();
    waitForKey();
    waitUntilOutlookHasEnded();
    settings.restore();
    showDebugLoggingSettings(false);
    collectDiagnostics(true, false);
}

}  // namespace zuplutil
