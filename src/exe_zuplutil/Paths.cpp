#include "Paths.h"

#include <direct.h>
#include <shlobj.h>
#include <stdlib.h>

#include <array>
#include <memory>

#include "ZuApplicationService.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuWindows.h"

namespace zuplutil {

namespace {

struct MemoryFreer {
    void operator()(wchar_t* memory) const noexcept { free(memory); }
};

// The wide form of the call: the narrow one fails for a desktop whose path
// takes more than 260 bytes.
std::wstring getDesktopDirectory() {
    std::array<wchar_t, MAX_PATH + 1> path{};
    if (SHGetSpecialFolderPathW(nullptr, path.data(), CSIDL_DESKTOPDIRECTORY, FALSE)) {
        return path.data();
    }
    return {};
}

std::wstring getShortPath(const std::wstring& path) {
    const DWORD size = GetShortPathNameW(path.c_str(), nullptr, 0);
    if (size == 0) {
        return {};
    }
    std::wstring result(size, L'\0');
    result.resize(GetShortPathNameW(path.c_str(), result.data(), size));
    return result;
}

}  // namespace

std::wstring getDiagnosticsDirectory() {
    std::wstring base = getDesktopDirectory();
    if (base.empty()) {
        const auto as = zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>();
        base = as ? as->getUserDocumentsDirectory() : std::wstring();
    }
    return base + L"\\PelloryDiagnostics";
}

std::wstring getCurrentDirectory() {
    const std::unique_ptr<wchar_t, MemoryFreer> path(_wgetcwd(nullptr, 0));
    return path ? path.get() : std::wstring();
}

bool setCurrentDirectory(const std::wstring& directory) { return _wchdir(directory.c_str()) == 0; }

std::string toNarrowPath(const std::wstring& path) {
    bool lossy = false;
    std::string result = zustd::narrow(path, &lossy);
    if (lossy) {
        const std::wstring shortPath = getShortPath(path);
        bool shortLossy = true;
        std::string shortResult = zustd::narrow(shortPath, &shortLossy);
        if (!shortPath.empty() && !shortLossy) {
            return shortResult;
        }
    }
    return result;
}

}  // namespace zuplutil
