// The connection to the add-in, in a process of its own.
//
// Diagnosing a broken add-in is what a collection is for, so nothing that the
// add-in does may reach the collection: it may throw, crash, end its process,
// change the directory or never come back. A child process of this executable
// takes it in, under a time limit. The child writes its lines into the log
// itself, in their order with what the add-in writes there, and hands them over
// in shared memory, from which the parent prints them. It inherits no handle,
// so a program that the add-in starts and leaves behind holds none of ours, and
// it ends when its parent does.
#pragma once

#include <string>

namespace zuplutil {

inline constexpr unsigned kProbeSeconds = 60;

// Connects to the add-in once. Each step is printed and appended to the file
// logName; how the add-in failed is one more line. Never throws because of the
// add-in, and takes no longer than the seconds given and those that the
// system takes to start and end a process.
void probeAddin(const std::string& logName, unsigned seconds = kProbeSeconds);

// To be called first in a program that probes: whether this process is such a
// child, which then has done its work and must end. Arguments alone do not make
// it one, there must be a parent that waits.
bool runAsProbeProcess(int argc, wchar_t** argv);

}  // namespace zuplutil
