#include "ConsoleSession.h"

#include <mutex>
#include <utility>

#include "ZuWindows.h"

namespace zuplutil {

namespace {

struct SessionState {
    std::mutex mutex;
    // 0 when there is nothing to put back.
    UINT formerCodePage = 0;
    std::function<void()> interruptAction;
    bool interrupted = false;
    LPTOP_LEVEL_EXCEPTION_FILTER formerFilter = nullptr;
};

SessionState& state() {
    static SessionState instance;
    return instance;
}

void restoreCodePage() {
    if (const UINT codePage = std::exchange(state().formerCodePage, 0u); codePage != 0) {
        SetConsoleOutputCP(codePage);
    }
}

void cleanUp() noexcept {
    state().interrupted = true;
    try {
        if (const auto action = std::exchange(state().interruptAction, nullptr)) {
            action();
        }
    } catch (...) {
        // The process is ending; there is nobody left to tell.
    }
    restoreCodePage();
}

// FALSE lets the system go on and end the process.
BOOL WINAPI onConsoleEvent(DWORD) {
    const std::lock_guard lock(state().mutex);
    cleanUp();
    return FALSE;
}

// The probed add-in runs in this process and may crash it.
LONG WINAPI onCrash(EXCEPTION_POINTERS*) {
    const std::unique_lock lock(state().mutex, std::try_to_lock);
    if (lock) {
        cleanUp();
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

ConsoleSession::ConsoleSession() {
    const std::lock_guard lock(state().mutex);
    // 0 without a console.
    const UINT former = GetConsoleOutputCP();
    if (former != 0 && SetConsoleOutputCP(GetACP())) {
        state().formerCodePage = former;
    }
    SetConsoleCtrlHandler(&onConsoleEvent, TRUE);
    state().formerFilter = SetUnhandledExceptionFilter(&onCrash);
}

ConsoleSession::~ConsoleSession() {
    SetUnhandledExceptionFilter(state().formerFilter);
    SetConsoleCtrlHandler(&onConsoleEvent, FALSE);
    const std::lock_guard lock(state().mutex);
    restoreCodePage();
}

InterruptGuard::InterruptGuard(std::function<void()> action) {
    const std::lock_guard lock(state().mutex);
    state().interruptAction = std::move(action);
}

InterruptGuard::~InterruptGuard() {
    const std::lock_guard lock(state().mutex);
    state().interruptAction = nullptr;
}

void InterruptGuard::runStep(const std::function<void()>& step) {
    const std::lock_guard lock(state().mutex);
    if (!state().interrupted) {
        step();
    }
}

}  // namespace zuplutil
