// What the run borrows from the console and gives back at every exit.
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

// While it lives, CTRL-C and the closing of the window run an action (in the
// system's own thread) before the process ends. For what must not be left half
// done. The action must not throw. One object at a time.
class InterruptGuard {
public:
    explicit InterruptGuard(std::function<void()> action);
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
    ~InterruptGuard();
};

}  // namespace zuplutil
