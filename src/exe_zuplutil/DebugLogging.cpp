#include "DebugLogging.h"

#include <stdio.h>

#include "Actions.h"
#include "Console.h"
#include "Processes.h"
#include "ZuApplicationService.h"
#include "ZuDateTime.h"
#include "ZuDirectory.h"
#include "ZuLoader.h"
#include "ZuPropertyBag.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

constexpr const char* kRule =
    "------------------------------------------------------------------------------------";

// Moves an existing log out of the way, under a name that tells when.
void moveAside(const std::wstring& log) {
    if (log.empty() || !zustd::isFile(log)) {
        return;
    }
    const std::wstring backup = log + L"-" + zustd::DateTime::now().toFileStamp() + L".bak";
    if (_wrename(log.c_str(), backup.c_str()) != 0) {
        printAndRecord("could not rename %s to %s\n", zustd::narrow(log).c_str(),
                       zustd::narrow(backup).c_str());
    }
}

void rotate(const std::wstring& logFile) {
    const std::wstring dataDirectory = getAddinDataDirectory();
    moveAside(logFile == kAutomaticLogFile ? dataDirectory + L"\\debug.log" : logFile);
    moveAside(dataDirectory + L"\\dump.log");
}

void printNotWritten() {
    printAndRecord("Could not write debug.config file %s\n",
                   zustd::narrow(getDebugConfigPath()).c_str());
}

void showDetails(const DebugSettings& settings) {
    printAndRecord("\nDetailed debug settings:\n");
    printAndRecord("-----------------------\n");
    printAndRecord("  logEnabled=%s\n", settings.logEnabled ? "yes" : "no");
    printAndRecord("  logFile=%s\n", zustd::narrow(settings.logFile).c_str());
    printAndRecord("  logLevel=%ld\n", static_cast<long>(settings.logLevel));
    printAndRecord("  logOptions=%ld\n\n", static_cast<long>(settings.logOptions));
    printAndRecord("  outlook is running=%ls\n\n", isOutlookRunning() ? L"yes" : L"no");
}

}  // namespace

std::wstring getAddinDataDirectory() {
    const auto root = zustd::ServiceLocator::instance();
    const auto as = root ? root->getService<zustd::ApplicationService>() : nullptr;
    ZU_ASSERT_AS(as, L"as", ZU_LINE(148));
    return as->getApplicationDataDirectory(false);
}

std::wstring getDebugConfigPath() { return getAddinDataDirectory() + L"\\debug.config"; }

DebugSettings loadDebugSettings(bool quiet) {
    const std::wstring path = getDebugConfigPath();
    if (!zustd::isFile(path)) {
        if (!quiet) {
            printAndRecord("  Could not find debug.config file %s\n  Debugging is disabled\n",
                           zustd::narrow(path).c_str());
        }
        return {};
    }
    zustd::PropertyBag bag;
    if (!zustd::Loader::loadSerializedString(path, bag)) {
        if (!quiet) {
            // The wide path as it is, of which only the first letter shows: the
            // line has always looked like this in the logs that support reads.
            printAndRecord("  Could not load debug.config file %s\n",
                           reinterpret_cast<const char*>(path.c_str()));
        }
        return {};
    }
    return {bag.getBool(L"logEnabled", false), bag.getString(L"logFile", std::wstring()),
            bag.getLong(L"logLevel", -1), bag.getLong(L"logOptions", -1)};
}

bool isDebugLoggingEnabled() { return loadDebugSettings(true).logEnabled; }

bool saveDebugSettings(const DebugSettings& settings, bool rotateLogs) {
    zustd::PropertyBag bag;
    bag.setBool(L"logEnabled", settings.logEnabled);
    bag.setLong(L"logOptions", settings.logOptions);
    bag.setString(L"logFile", settings.logFile);
    bag.setLong(L"logLevel", settings.logLevel);
    const bool saved = zustd::Loader::saveSerializedString(getDebugConfigPath(), bag);
    if (rotateLogs) {
        rotate(settings.logFile);
    }
    return saved;
}

void enableDebugLogging() { saveDebugSettings({true, kAutomaticLogFile, 10, 1}, true); }

void disableDebugLogging() { saveDebugSettings({false, kAutomaticLogFile, 10, 1}, true); }

void showDebugLoggingSettings(bool detailed) {
    printAndRecord("\n%s\n", kRule);
    const DebugSettings settings = loadDebugSettings(!detailed);
    const bool enabled = isDebugLoggingEnabled();
    printAndRecord("Pellory Debug Logging is currently %s.\n", enabled ? "enabled" : "disabled");
    if (enabled) {
        printAndRecord(
            "\nPlease note:\nOutlook might appear to run a little slower than usual while Pellory "
            "debug logging is enabled.  This is normal.\n");
    }
    if (detailed) {
        showDetails(settings);
    }
    printAndRecord("%s\n\n", kRule);
}

TemporaryDebugSettings::TemporaryDebugSettings(const DebugSettings& settings, bool rotateLogs,
                                               WhenMissing whenMissing)
    : removeFile_(whenMissing == WhenMissing::kRemoveFile && !zustd::isFile(getDebugConfigPath())),
      saved_(loadDebugSettings(true)),
      interrupt_([this] { putBack(false); }) {
    interrupt_.runStep([&] {
        if (!saveDebugSettings(settings, rotateLogs)) {
            printNotWritten();
        }
    });
}

TemporaryDebugSettings::~TemporaryDebugSettings() { restore(); }

void TemporaryDebugSettings::restore() noexcept {
    if (restored_) {
        return;
    }
    restored_ = true;
    runAction([this] { interrupt_.runStep([this] { putBack(true); }); });
}

void TemporaryDebugSettings::putBack(bool rotateLogs) const {
    if (!removeFile_) {
        if (!saveDebugSettings(saved_, rotateLogs)) {
            printNotWritten();
        }
    } else if (zustd::isFile(getDebugConfigPath())) {
        removeFile(getDebugConfigPath());
    }
}

}  // namespace zuplutil
