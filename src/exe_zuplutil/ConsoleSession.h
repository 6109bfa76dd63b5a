// What the run borrows from the console and gives back at every exit.
#pragma once

#include <functional>

namespace zuplutil {

// Sets the console's output code page to that of the utility's narrow text
// (UTF-8 where the system honours the manifest), so that names print right and
// the command interpreter writes its listings in it too. The former code page
// comes back when the object goes and when CTRL-C, the closing of the window or
// a crash ends the process. One object at a time.
class ConsoleSession {
public:
    ConsoleSession();
    ConsoleSession(const ConsoleSession&) = delete;
    ConsoleSession& operator=(const ConsoleSession&) = delete;
    ~ConsoleSession();
};

// While it and a ConsoleSession live, CTRL-C, the closing of the window and a
// crash run an action before the process ends, in whichever thread the system
// chooses. For what must not be left half done. What the action throws is
// dropped. One object at a time.
class InterruptGuard {
public:
    explicit InterruptGuard(std::function<void()> action);
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
    ~InterruptGuard();

    // Runs a step that the action undoes: the action waits for its end, and
    // once the action has run the step is left out.
    void runStep(const std::function<void()>& step);
};

}  // namespace zuplutil
