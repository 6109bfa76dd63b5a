// Is Microsoft Outlook running, and the warnings about it.
#pragma once

#include <string>

namespace zuplutil {

// Whether a process runs whose executable's name begins with exeName, without
// regard to ASCII case. A snapshot that cannot be taken counts as "no".
bool isProcessRunning(const std::wstring& exeName);
bool isOutlookRunning();

void showOutlookRunningWarning();
void showOutlookNotRunningWarning();

}  // namespace zuplutil
