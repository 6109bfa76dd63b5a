#include "DebugLogging.h"

#include <stdio.h>

#include <new>

#include "Actions.h"
#include "Console.h"
#include "Processes.h"
#include "ZuApplicationService.h"
#include "ZuDateTime.h"
#include "ZuDirectory.h"
#include "ZuEncoder.h"
#include "ZuLoader.h"
#include "ZuPropertyBag.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuXml.h"

namespace zuplutil {

namespace {

constexpr const char* kRule =
    "------------------------------------------------------------------------------------";

// Moves an existing log out of the way, under a name that tells when.
void moveAside(const std::wstring& log) {
    if (!zustd::isFile(log)) {
        return;
    }
    const std::wstring backup = log + L"-" + zustd::DateTime::now().toFileStamp() + L".bak";
    if (_wrename(log.c_str(), backup.c_str()) != 0) {
        printAndRecord("could not rename %s to %s\n", zustd::narrow(log).c_str(),
                       zustd::narrow(backup).c_str());
    }
}

void printNotWritten() {
    printAndRecord("Could not write debug.config file %s\n",
                   zustd::narrow(getDebugConfigPath()).c_str());
}

void fill(zustd::PropertyBag& bag, const DebugSettings& settings) {
    bag.setBool(L"logEnabled", settings.logEnabled);
    bag.setLong(L"logOptions", settings.logOptions);
    bag.setString(L"logFile", settings.logFile);
    bag.setLong(L"logLevel", settings.logLevel);
}

// Whether the settings could be read from the file.
bool readFrom(const std::wstring& path, DebugSettings& settings) {
    zustd::PropertyBag bag;
    if (!zustd::Loader::loadSerializedString(path, bag)) {
        return false;
    }
    settings = {bag.getBool(L"logEnabled", false), bag.getString(L"logFile", std::wstring()),
                bag.getLong(L"logLevel", -1), bag.getLong(L"logOptions", -1)};
    return true;
}

// The bytes that the file has once the settings are saved.
std::string toFileContent(const DebugSettings& settings) {
    zustd::PropertyBag bag;
    fill(bag, settings);
    std::wstring text(zustd::kXmlHeader);
    bag.appendXml(text);
    std::string bytes;
    zustd::Encoder::encodeToUTF8(text, bytes);
    return bytes;
}

// What there was is kept for the time of writing: the next run undoes a switch
// that was killed half-way.
void switchTo(bool enabled) {
    const DebugSettings settings{enabled, kAutomaticLogFile, 10, 1};
    auto kept = KeptFile::keep(getDebugConfigPath(), {toFileContent(settings)});
    const bool saved = saveDebugSettings(settings, true);
    if (kept) {
        saved ? kept->forget() : kept->putBack();
    }
}

}  // namespace

std::wstring getAddinDataDirectory(zustd::SourcePlace place) {
    const auto root = zustd::ServiceLocator::instance();
    const auto as = root ? root->getService<zustd::ApplicationService>() : nullptr;
    ZU_ASSERT_AS(as, L"as", place);
    std::wstring directory = as->getApplicationDataDirectory(false);
    // Without memory the service leaves parts out: that would be another folder.
    if (!directory.ends_with(std::wstring(L"\\") + kApplicationName)) {
        throw std::bad_alloc();
    }
    return directory;
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
    DebugSettings settings;
    if (!readFrom(path, settings) && !quiet) {
        // The wide path as it is, of which only the first letter shows: the
        // line has always looked like this in the logs that support reads.
        printAndRecord("  Could not load debug.config file %s\n",
                       reinterpret_cast<const char*>(path.c_str()));
    }
    return settings;
}

bool isDebugLoggingEnabled() { return loadDebugSettings(true).logEnabled; }

bool saveDebugSettings(const DebugSettings& settings, bool rotateLogs) {
    zustd::PropertyBag bag;
    fill(bag, settings);
    const bool saved = zustd::Loader::saveSerializedString(getDebugConfigPath(), bag);
    if (rotateLogs) {
        const std::wstring data = getAddinDataDirectory();
        moveAside(settings.logFile == kAutomaticLogFile ? data + L"\\debug.log" : settings.logFile);
        moveAside(data + L"\\dump.log");
    }
    return saved;
}

void enableDebugLogging() { switchTo(true); }

void disableDebugLogging() { switchTo(false); }

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
        printAndRecord(
            "\nDetailed debug settings:\n-----------------------\n"
            "  logEnabled=%s\n  logFile=%s\n  logLevel=%ld\n  logOptions=%ld\n\n"
            "  outlook is running=%s\n\n",
            settings.logEnabled ? "yes" : "no", zustd::narrow(settings.logFile).c_str(),
            static_cast<long>(settings.logLevel), static_cast<long>(settings.logOptions),
            isOutlookRunning() ? "yes" : "no");
    }
    printAndRecord("%s\n\n", kRule);
}

void mendDebugSettings() {
    const std::wstring path = getDebugConfigPath();
    const auto say = [&path](const char* what) {
        printAndRecord("%s (%s)\n", what, zustd::narrow(path).c_str());
    };
    switch (KeptFile::mend(path)) {
        case KeptFile::Left::kPutBack:
            return say("An interrupted run had changed the debug settings; they are put back");
        case KeptFile::Left::kChanged:
            return say("Debug settings have changed since a run was interrupted; they stay");
        case KeptFile::Left::kUnusable:
            return say("What an interrupted run had kept of the debug settings was not readable");
        case KeptFile::Left::kFailed:
            return say("Could not put back the debug settings that an interrupted run changed");
        default:
            return;
    }
}

TemporaryDebugSettings::TemporaryDebugSettings(const DebugSettings& settings, bool rotateLogs,
                                               WhenMissing whenMissing)
    : whenMissing_(whenMissing), interrupt_([this] {
          if (kept_) {
              kept_->putBack();
          }
      }) {
    InterruptGuard::runStep([&] { replace(settings, rotateLogs); });
}

TemporaryDebugSettings::~TemporaryDebugSettings() { restore(); }

void TemporaryDebugSettings::restore() noexcept {
    runAction([this] { InterruptGuard::runStep([this] { putBack(); }); });
}

void TemporaryDebugSettings::replace(const DebugSettings& settings, bool rotateLogs) {
    mendDebugSettings();
    const std::wstring path = getDebugConfigPath();
    // Once more: without memory a good file cannot be read either, and defaults
    // would take its place in the end.
    if (!readFrom(path, saved_)) {
        readFrom(path, saved_);
    }
    kept_ = KeptFile::keep(path, {toFileContent(settings), toFileContent(saved_)});
    if (!kept_) {
        printAndRecord("Could not keep the debug settings; they stay as they are (%s)\n",
                       zustd::narrow(path).c_str());
    } else if (!saveDebugSettings(settings, rotateLogs)) {
        printNotWritten();
        std::exchange(kept_, std::nullopt)->putBack();
    }
}

// However this ends, the keeping is over for this process; when the settings
// could not be put back its file stays for the next one.
void TemporaryDebugSettings::putBack() {
    std::optional<KeptFile> kept = std::exchange(kept_, std::nullopt);
    if (!kept) {
        return;
    }
    if (whenMissing_ == WhenMissing::kWriteDefaults || kept->hadFile()) {
        if (!saveDebugSettings(saved_, true)) {
            return printNotWritten();
        }
    } else if (zustd::isFile(getDebugConfigPath())) {
        removeFile(getDebugConfigPath());
    }
    kept->forget();
}

}  // namespace zuplutil
