// The add-in's debug logging: its settings file, its logs, and the report.
//
// The add-in reads debug.config in its data directory. Nothing of it is kept
// in memory: every question reads the file again, every change writes it
// whole. Switching logging moves the logs written so far aside as backups.
#pragma once

#include <cstdint>
#include <string>

namespace zuplutil {

struct DebugSettings {
    bool logEnabled = false;
    // A path, or kAutomaticLogFile for debug.log in the data directory.
    std::wstring logFile = L"$(auto)";
    std::int32_t logLevel = 10;
    std::int32_t logOptions = 1;
};

inline constexpr wchar_t kAutomaticLogFile[] = L"$(auto)";

// The add-in's data directory; not created. Fails the assertion "as" without
// an application service.
std::wstring getAddinDataDirectory();
std::wstring getDebugConfigPath();

// The settings in the file; the defaults when there is none or it cannot be
// read, which is printed unless quiet. A key that the file lacks gives false,
// an empty text or -1.
DebugSettings loadDebugSettings(bool quiet);
bool isDebugLoggingEnabled();

// Replaces the file; whether it was written. With rotateLogs the log that the
// settings name and the dump log become time-stamped backups; one that cannot
// be renamed is named in a printed line.
bool saveDebugSettings(const DebugSettings& settings, bool rotateLogs);

void enableDebugLogging();
void disableDebugLogging();

// Prints the settings; detailed with every value.
void showDebugLoggingSettings(bool detailed);

}  // namespace zuplutil
