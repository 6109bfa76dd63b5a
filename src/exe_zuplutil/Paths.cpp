#include "Paths.h"

#include <direct.h>
#include <shlobj.h>
#include <stdlib.h>

#include <algorithm>
#include <array>

#include "ZuApplicationService.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

constexpr wchar_t kDiagnosticsFolder[] = L"\\PelloryDiagnostics";

using AllocatedText = zustd::Handle<zustd::NullHandleTraits<wchar_t*, &free>>;

// The wide form of the call: the narrow one fails for a desktop whose path
// takes more than 260 bytes.
std::wstring getUserFolder(int csidl) {
    std::array<wchar_t, MAX_PATH> path{};
    const bool found = SHGetSpecialFolderPathW(nullptr, path.data(), csidl, FALSE);
    return found ? path.data() : std::wstring();
}

// Not by the length that the call returns: for a longer one it is what the call needs.
std::wstring getTemporaryFolder() {
    std::array<wchar_t, MAX_PATH + 2> path{};
    GetTempPathW(MAX_PATH + 1, path.data());
    const std::wstring folder = path.data();
    return folder.substr(0, folder.find_last_not_of(L'\\') + 1);
}

bool isOnNetworkShare(const std::wstring& path) {
    const auto isSeparator = [](wchar_t sign) { return sign == L'\\' || sign == L'/'; };
    return isSeparator(path[0]) && isSeparator(path[1]);
}

// A sign that has no meaning to the interpreter, inside of quotes or outside.
bool isPlain(wchar_t sign) {
    return (sign >= L'0' && sign <= L'9') || (sign >= L'A' && sign <= L'Z') ||
           (sign >= L'a' && sign <= L'z') || (sign > 0xA0 && (sign < 0xD800 || sign > 0xDFFF));
}

std::wstring getShortPath(const std::wstring& path) {
    // Empty when there is none.
    std::wstring result(GetShortPathNameW(path.c_str(), nullptr, 0), L'\0');
    const auto size = static_cast<DWORD>(result.size());
    const DWORD length = GetShortPathNameW(path.c_str(), result.data(), size);
    // Without room it tells how much is needed; with enough, the length without the end.
    result.resize(length < size ? length : 0);
    return result;
}

}  // namespace

std::wstring getDiagnosticsDirectory() {
    std::wstring base = getUserFolder(CSIDL_DESKTOPDIRECTORY);
    if (base.empty()) {
        const auto as = zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>();
        base = as ? as->getUserDocumentsDirectory() : std::wstring();
    }
    return base + kDiagnosticsFolder;
}

std::wstring getWorkDirectory(const std::wstring& diagnostics) {
    if (isOnNetworkShare(diagnostics)) {
        for (const std::wstring& base :
             {getUserFolder(CSIDL_LOCAL_APPDATA), getTemporaryFolder()}) {
            if (!base.empty() && !isOnNetworkShare(base)) {
                return base + kDiagnosticsFolder;
            }
        }
    }
    return diagnostics;
}

std::wstring getCurrentDirectory() {
    const AllocatedText path(_wgetcwd(nullptr, 0));
    return path ? path.get() : std::wstring();
}

bool setCurrentDirectory(const std::wstring& directory) { return _wchdir(directory.c_str()) == 0; }

std::string toNarrowPath(const std::wstring& path) {
    bool lossy = false;
    std::string result = zustd::narrow(path, &lossy);
    if (lossy) {
        std::string shortResult = zustd::narrow(getShortPath(path), &lossy);
        if (!shortResult.empty() && !lossy) {
            return shortResult;
        }
    }
    return result;
}

// A quote on each side of one of the signs between two per cents makes the name
// one that no variable has; whoever reads the argument drops them, as in
// C:\"Program Files"\x. There is no other way that holds inside of quotes.
std::string keepPerCents(const std::string& path) {
    std::wstring text = zustd::widen(path);
    std::size_t end = text.rfind(L'%');
    bool changed = false;
    while (end != std::wstring::npos && end != 0) {
        const std::size_t begin = text.rfind(L'%', end - 1);
        if (begin == std::wstring::npos) {
            break;
        }
        const auto last = text.begin() + static_cast<std::ptrdiff_t>(end);
        const auto sign =
            std::find_if(text.begin() + static_cast<std::ptrdiff_t>(begin) + 1, last, isPlain);
        if (sign != last) {
            text.replace(sign, sign + 1, {L'"', *sign, L'"'});
            changed = true;
        }
        end = begin;
    }
    return changed ? zustd::narrow(text) : path;
}

}  // namespace zuplutil
