// Loads the system's libraries when they are first called, from the system's
// folder only.
//
// The programs that ship import nothing but KERNEL32 and the C runtime: they start
// at once, and also where a library for windows or pictures is missing. The build
// gives every function of another library that our code calls an entry here
// (cmake/LateImports.cmake); a call goes to the entry's slot, which leads to
// resolveLateFunction() at first and then to the function itself. What is linked
// without those entries imports as usual.
//
// A library or function that is not there is a SystemException at the call,
// traced first. Code that must not throw calls only functions that are loaded
// already: one that was called before, or that requireWindowLibraries() has brought.
#pragma once

#include <cstddef>

namespace zustd {

// A function of a system library; what the build generates.
struct LateFunction {
    // Where the function's address is kept.
    void** slot;
    const char* library;
    const char* name;
};

// For the first line of a program: whoever asks for a library by name, it is not
// looked for in the program's folder, the current directory and the search path. A
// Windows that lacks the switch drops the current directory only.
void restrictLibrarySearch() noexcept;

// Loads every function that our code calls of the libraries for windows and
// drawing; for whoever makes the first window. Throws SystemException when one is
// missing.
void requireWindowLibraries();

// Finds the function, puts its address into the slot and returns it. Keeps the
// thread's last error. Throws SystemException when there is none. Any thread.
void* resolveLateFunction(const LateFunction& function);

}  // namespace zustd

// The generated entries, named as the assembler's list names them.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
extern const zustd::LateFunction zustdLateFunctions[];
extern const std::size_t zustdLateFunctionCount;
}
// NOLINTEND(readability-identifier-naming)
