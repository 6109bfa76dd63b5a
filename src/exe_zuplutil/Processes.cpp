#include "Processes.h"

#include "ZuHandleWin32Gdi.h"
// Needs the types of windows.h.
#include <tlhelp32.h>

#include "Console.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

// What the system is told; it counts the words of the machine.
static_assert(sizeof(PROCESSENTRY32W) == (sizeof(void*) == 8 ? 568 : 556));

void showWarning(const char* state, const char* request) {
    constexpr const char* kRule = "=============================================================";
    printAndRecord(
        "\n\n%s\nAttention: It looks like Microsoft Outlook is %s running.\n"
        "           Please %s Outlook first before continuing...\n%s\n\n",
        kRule, state, request, kRule);
}

}  // namespace

bool isProcessRunning(const std::wstring& exeName) {
    const zustd::SnapshotHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    if (!snapshot || !Process32FirstW(snapshot.get(), &entry)) {
        return false;
    }
    // The first entry is the system's idle process, which has no executable:
    // it is never compared.
    while (Process32NextW(snapshot.get(), &entry)) {
        const std::wstring_view name = entry.szExeFile;
        if (zustd::equalsIgnoringAsciiCase(name.substr(0, exeName.size()), exeName)) {
            return true;
        }
    }
    return false;
}

bool isOutlookRunning() { return isProcessRunning(L"outlook.exe"); }

void showOutlookRunningWarning() { showWarning("still", "shut down"); }

void showOutlookNotRunningWarning() { showWarning("not", "start"); }

}  // namespace zuplutil
