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

// FALSE lets the system go on and end the process.
BOOL WINAPI onConsoleEvent(DWORD) {
    const std::lock_guard lock(state().mutex);
    if (const auto action = std::exchange(state().interruptAction, nullptr)) {
        action();
    }
    restoreCodePage();
    return FALSE;
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
}

ConsoleSession::~ConsoleSession() {
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

}  // namespace zuplutil
