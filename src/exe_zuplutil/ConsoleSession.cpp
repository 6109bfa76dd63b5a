#include "ConsoleSession.h"

#include <atomic>
#include <mutex>

#include "ZuPlankton.h"
#include "ZuScope.h"
#include "ZuWindows.h"

namespace zuplutil {

namespace {

constexpr UINT kEndedByInterrupt = 0xC000013A;

struct SessionState {
    std::mutex mutex;
    // 0 when there is nothing to put back.
    UINT formerCodePage = 0;
    InterruptGuard* innermost = nullptr;
    std::atomic<bool> interrupted{false};
    // The main thread's own note: an action waits for this step's end.
    bool inStep = false;
};

SessionState& state() {
    static SessionState instance;
    return instance;
}

void restoreCodePage() {
    if (const UINT codePage = std::exchange(state().formerCodePage, 0u)) {
        SetConsoleOutputCP(codePage);
    }
}

// Ends the process itself and never gives the lock back, so that the main
// thread cannot begin anything in between.
BOOL WINAPI onConsoleEvent(DWORD) {
    state().interrupted = true;
    state().mutex.lock();
    if (state().innermost != nullptr) {
        state().innermost->runActions();
    }
    restoreCodePage();
    ExitProcess(kEndedByInterrupt);
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

InterruptGuard::InterruptGuard(std::function<void()> action) : action_(std::move(action)) {
    const std::lock_guard lock(state().mutex);
    outer_ = std::exchange(state().innermost, this);
}

InterruptGuard::~InterruptGuard() {
    const std::lock_guard lock(state().mutex);
    state().innermost = outer_;
}

void InterruptGuard::runStep(const std::function<void()>& step) {
    stopIfInterrupted();
    const std::lock_guard lock(state().mutex);
    const zustd::ScopedValue inStep(state().inStep, true);
    step();
}

void InterruptGuard::runActions() const noexcept {
    for (const InterruptGuard* guard = this; guard != nullptr; guard = guard->outer_) {
        zustd::guarded(ZU_OPERATION, guard->action_);
    }
}

void stopIfInterrupted(bool expected) noexcept {
    for (int i = 0; expected && !state().interrupted && i < 100; ++i) {
        Sleep(10);
    }
    while (state().interrupted && !state().inStep) {
        Sleep(INFINITE);
    }
}

}  // namespace zuplutil
