// What the run borrows from the console, and how CTRL-C ends it.
#pragma once

#include <functional>

namespace zuplutil {

// Sets the console's output code page to that of the utility's narrow text
// (UTF-8 where the system honours the manifest), which the command interpreter
// takes for its listings, too. The former one comes back when the object goes and
// when CTRL-C or the closing of the window ends the process. One object at a time.
class ConsoleSession {
public:
    ConsoleSession();
    ConsoleSession& operator=(ConsoleSession&&) = delete;
    ~ConsoleSession();
};

// While it and a ConsoleSession live, CTRL-C and the closing of the window run
// an action before they end the process: for what must not be left half done.
// The action runs in a thread of the system's: it prints nothing and asks no
// service. What it throws is dropped. Guards nest: the inner one's action runs first.
class InterruptGuard {
public:
    explicit InterruptGuard(std::function<void()> action);
    InterruptGuard& operator=(InterruptGuard&&) = delete;
    ~InterruptGuard();

    // Runs a step that an action undoes: actions wait for its end. An
    // interrupted run does not come back. Steps do not nest.
    static void runStep(const std::function<void()>& step);

    // What CTRL-C does: this guard's action, then those of the outer ones.
    void runActions() const noexcept;

private:
    std::function<void()> action_;
    InterruptGuard* outer_ = nullptr;
};

// For the main thread: an interrupted run does not come back from here. One that
// is expected is waited for a moment: the system starts the thread that tells of
// it after it has ended what the main thread was waiting for.
void stopIfInterrupted(bool expected = false) noexcept;

}  // namespace zuplutil
