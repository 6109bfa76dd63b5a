// What the run borrows from the console, and how CTRL-C ends it.
#pragma once

#include <functional>

namespace zuplutil {

// Sets the console's output code page to that of the utility's narrow text
// (UTF-8 where the system honours the manifest), so that names print right and
// the command interpreter writes its listings in it too. The former code page
// comes back when the object goes and when CTRL-C or the closing of the window
// ends the process. One object at a time.
class ConsoleSession {
public:
    ConsoleSession();
    ConsoleSession(const ConsoleSession&) = delete;
    ConsoleSession& operator=(const ConsoleSession&) = delete;
    ~ConsoleSession();
};

// While it and a ConsoleSession live, CTRL-C and the closing of the window run
// an action before they end the process: for what must not be left half done.
// The action runs in a thread of the system's, so all that it needs is at hand
// before; it prints nothing and asks no service. What it throws is dropped.
// Guards nest: the inner one's action runs first, and when the inner one goes
// the outer one's is in force as before.
class InterruptGuard {
public:
    explicit InterruptGuard(std::function<void()> action);
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
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

// For the main thread, before it goes on: an interrupted run does not come
// back from here, but waits for the end of the process. When an interruption
// is expected, it is waited for a moment: the system starts the thread that
// tells of it after it has ended what the main thread was waiting for.
void stopIfInterrupted(bool expected = false) noexcept;

}  // namespace zuplutil
