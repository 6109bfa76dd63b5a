#include "ZuLateLoading.h"

#include <atomic>
#include <span>

#include "ZuHandleWin32Gdi.h"
#include "ZuPlankton.h"
#include "ZuText.h"

// Where a slot leads at first.
extern "C" void* zustdResolveLate(const zustd::LateFunction* function) {
    return zustd::resolveLateFunction(*function);
}

namespace zustd {

namespace {

[[noreturn]] void fail(const std::wstring& what, DWORD error) {
    throwSystemException((what + L" (system error " + std::to_wstring(error) + L")").c_str(),
                         ZU_HERE);
}

// For a Windows that cannot be told where to look. Libraries that the manifest
// gives another version of are found by it before any folder is looked at.
HMODULE loadWithoutSwitch(const std::wstring& name) {
    ACTCTX_SECTION_KEYED_DATA redirection{};
    redirection.cbSize = sizeof(redirection);
    if (FindActCtxSectionStringW(0, nullptr, ACTIVATION_CONTEXT_SECTION_DLL_REDIRECTION,
                                 name.c_str(), &redirection)) {
        return LoadLibraryW(name.c_str());
    }
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return nullptr;
    }
    // What the library itself needs comes from its own folder first.
    return LoadLibraryExW((std::wstring(folder, length) + L'\\' + name).c_str(), nullptr,
                          LOAD_WITH_ALTERED_SEARCH_PATH);
}

HMODULE loadLibrary(const std::wstring& name) {
    const HMODULE module = LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return module == nullptr && GetLastError() == ERROR_INVALID_PARAMETER ? loadWithoutSwitch(name)
                                                                          : module;
}

}  // namespace

void restrictLibrarySearch() noexcept {
    SetDllDirectoryW(L"");
    // Asked for by name: it came with an update of Vista and 7.
    using SetFolders = BOOL(WINAPI*)(DWORD);
    if (const FARPROC found =
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories")) {
        reinterpret_cast<SetFolders>(reinterpret_cast<void*>(found))(LOAD_LIBRARY_SEARCH_SYSTEM32 |
                                                                     LOAD_LIBRARY_SEARCH_USER_DIRS);
    }
}

void requireWindowLibraries() {
    static constinit std::atomic<bool> isDone = false;
    if (isDone) {
        return;
    }
    for (const LateFunction& function : std::span(zustdLateFunctions, zustdLateFunctionCount)) {
        const std::string_view library = function.library;
        if (library == "user32.dll" || library == "gdi32.dll" || library == "comctl32.dll") {
            resolveLateFunction(function);
        }
    }
    // Those above ask for these by themselves, once there is a window, and not
    // every system looks for them in its own folder alone. Ours or none.
    for (const wchar_t* library : {L"ole32.dll", L"msimg32.dll", L"oleaut32.dll", L"uxtheme.dll"}) {
        loadLibrary(library);
    }
    isDone = true;
}

void* resolveLateFunction(const LateFunction& function) {
    const LastErrorKeeper keeper;
    // Never given back: the slots point into it until the process ends.
    const std::wstring library = widen(function.library);
    const HMODULE module = loadLibrary(library);
    if (module == nullptr) {
        fail(L"Could not load " + library, GetLastError());
    }
    const FARPROC found = GetProcAddress(module, function.name);
    if (found == nullptr) {
        fail(L"Could not find " + widen(function.name) + L" in " + library, GetLastError());
    }
    *function.slot = reinterpret_cast<void*>(found);
    return *function.slot;
}

}  // namespace zustd
