// The kinds of Windows handles that the framework and its programs own.
#pragma once

#include <cerrno>

#include "ZuHandle.h"
#include "ZuWindows.h"

namespace zustd {

// Saves the thread's last error and errno for the time of a clean-up or report.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : error_(GetLastError()), number_(errno) {}
    LastErrorKeeper& operator=(LastErrorKeeper&&) = delete;
    ~LastErrorKeeper() {
        errno = number_;
        SetLastError(error_);
    }

private:
    DWORD error_;
    int number_;
};

// A handle kind from its closer; most use null for "none". Closing keeps the
// thread's last error, so that a failure can still be asked for its reason.
template <class T, auto Close>
struct NullHandleTraits {
    using Type = T;
    // What Handle asks of a kind.
    static Type invalid() noexcept { return nullptr; }
    static void close(Type handle) noexcept {
        const LastErrorKeeper keeper;
        Close(handle);
    }
};

// The kinds whose invalid value is INVALID_HANDLE_VALUE.
template <auto Close>
struct FileHandleTraits : NullHandleTraits<HANDLE, Close> {
    // In place of null.
    static HANDLE invalid() noexcept { return INVALID_HANDLE_VALUE; }
};

using FindHandle = Handle<FileHandleTraits<&FindClose>>;
using FileHandle = Handle<FileHandleTraits<&CloseHandle>>;
using SnapshotHandle = FileHandle;
using LocalMemory = Handle<NullHandleTraits<HLOCAL, &LocalFree>>;
using HookHandle = Handle<NullHandleTraits<HHOOK, &UnhookWindowsHookEx>>;
using WindowHandle = Handle<NullHandleTraits<HWND, &DestroyWindow>>;

// A window that is never shown: it owns a menu, or hears of timers. Empty when the system refuses.
inline WindowHandle makeHiddenWindow(HWND parent) noexcept {
    return WindowHandle(CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", nullptr, WS_POPUP, 0, 0, 0, 0,
                                        parent, nullptr, GetModuleHandleW(nullptr), nullptr));
}

// --- Drawing ------------------------------------------------------------------

using FontHandle = Handle<NullHandleTraits<HFONT, &DeleteObject>>;
using PenHandle = Handle<NullHandleTraits<HPEN, &DeleteObject>>;
using BitmapHandle = Handle<NullHandleTraits<HBITMAP, &DeleteObject>>;
using IconHandle = Handle<NullHandleTraits<HICON, &DestroyIcon>>;
// What CreateCompatibleDC made. A context that BeginPaint or GetDC handed out
// is never owned by one of these.
using MemoryDeviceContext = Handle<NullHandleTraits<HDC, &DeleteDC>>;

// Keeps an object selected into a device context and puts the former one back.
// Ends before the object and before the context do.
class SelectedObject {
public:
    SelectedObject() noexcept = default;
    SelectedObject(HDC context, HGDIOBJ object) noexcept
        : context_(context), former_(SelectObject(context, object)) {}
    SelectedObject(SelectedObject&& other) noexcept
        : context_(other.context_), former_(std::exchange(other.former_, nullptr)) {}
    SelectedObject& operator=(SelectedObject&& other) noexcept {
        std::swap(context_, other.context_);
        std::swap(former_, other.former_);
        return *this;
    }
    ~SelectedObject() {
        if (former_ != nullptr) {
            const LastErrorKeeper keeper;
            SelectObject(context_, former_);
        }
    }

    // False when the context took no such object.
    explicit operator bool() const noexcept { return former_ != nullptr; }

private:
    HDC context_ = nullptr;
    HGDIOBJ former_ = nullptr;
};

}  // namespace zustd
