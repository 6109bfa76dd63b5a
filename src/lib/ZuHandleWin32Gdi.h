// The kinds of Windows handles that the framework and its programs own.
#pragma once

#include "ZuHandle.h"
#include "ZuWindows.h"

namespace zustd {

// Saves the thread's last error for the time of a clean-up.
class LastErrorKeeper {
public:
    LastErrorKeeper() noexcept : error_(GetLastError()) {}
    LastErrorKeeper(const LastErrorKeeper&) = delete;
    LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;
    ~LastErrorKeeper() { SetLastError(error_); }

private:
    DWORD error_;
};

// A handle kind from its closer; most use null for "none". Closing keeps the
// thread's last error, so that a failure can still be asked for its reason.
template <class T, auto Close>
struct NullHandleTraits {
    using Type = T;
    static Type invalid() noexcept { return nullptr; }
    static void close(Type handle) noexcept {
        const LastErrorKeeper keeper;
        Close(handle);
    }
};

// The kinds whose invalid value is INVALID_HANDLE_VALUE.
template <auto Close>
struct FileHandleTraits {
    using Type = HANDLE;
    static Type invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(Type handle) noexcept {
        const LastErrorKeeper keeper;
        Close(handle);
    }
};

using FindHandle = Handle<FileHandleTraits<&FindClose>>;
using SnapshotHandle = Handle<FileHandleTraits<&CloseHandle>>;
using LocalMemory = Handle<NullHandleTraits<HLOCAL, &LocalFree>>;
using HookHandle = Handle<NullHandleTraits<HHOOK, &UnhookWindowsHookEx>>;

}  // namespace zustd
