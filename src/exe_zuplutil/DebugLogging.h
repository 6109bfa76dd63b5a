// The add-in's debug logging: its settings file, its logs, and the report.
//
// The add-in reads debug.config in its data directory. Every question here reads
// it again, every change writes it whole.
#pragma once

#include "ConsoleSession.h"
#include "KeptFile.h"
#include "ZuPlankton.h"

namespace zuplutil {

inline constexpr wchar_t kApplicationName[] = L"Pellory For Outlook";

// Stands for debug.log in the add-in's data directory.
inline constexpr wchar_t kAutomaticLogFile[] = L"$(auto)";

struct DebugSettings {
    bool logEnabled = false;
    // A path, or kAutomaticLogFile.
    std::wstring logFile = kAutomaticLogFile;
    std::int32_t logLevel = 10;
    std::int32_t logOptions = 1;
};

// The add-in's data directory; not created. Fails the assertion "as" at that
// place without an application service, and throws without memory.
std::wstring getAddinDataDirectory(zustd::SourcePlace place = ZU_LINE(148));
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

// Switching prints nothing when the file cannot be written: the report that
// follows shows how things stand.
void enableDebugLogging();
void disableDebugLogging();

// Prints the settings; detailed with every value.
void showDebugLoggingSettings(bool detailed);

// Puts back the user's settings that a run left replaced when it was killed; a
// printed line says so. What a run that still lives has replaced is left alone.
void mendDebugSettings();

// Settings of our own for a while. The user's come back with restore(), over
// whatever is in the file then; when the user breaks off, and with the next run
// after a kill, unless the file has changed (see KeptFile). Where they cannot be
// kept for that, the file stays as it is; this, and settings that cannot be
// written, is told in a printed line.
class TemporaryDebugSettings {
public:
    // What comes back when there was no file.
    enum class WhenMissing { kWriteDefaults, kRemoveFile };

    TemporaryDebugSettings(const DebugSettings& settings, bool rotateLogs, WhenMissing whenMissing);
    TemporaryDebugSettings& operator=(TemporaryDebugSettings&&) = delete;
    ~TemporaryDebugSettings();

    // Logs written meanwhile become backups. The destructor does it at the latest.
    void restore() noexcept;

private:
    void replace(const DebugSettings& settings, bool rotateLogs);
    void putBack();

    const WhenMissing whenMissing_;
    DebugSettings saved_;
    // What was in the file, as long as something else may be in it.
    std::optional<KeptFile> kept_;
    InterruptGuard interrupt_;
};

}  // namespace zuplutil
