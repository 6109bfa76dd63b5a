// The connection to the add-in, in a process of its own.
//
// A broken add-in may throw, crash, end its process, change the directory or never
// come back; nothing of that may reach the collection. A child process of this
// executable takes it in, under a time limit. The child writes its lines into the
// log itself, in their order with what the add-in writes there, and hands them
// over in shared memory, from which the parent prints them. It inherits no handle
// and ends when its parent does.
#pragma once

#include <string>

namespace zuplutil {

inline constexpr unsigned kProbeSeconds = 60;

// Connects to the add-in once, within these seconds. Each step is printed and
// appended to the file logName; how the add-in failed is one more line.
void probeAddin(const std::string& logName, unsigned seconds = kProbeSeconds);

// To be called first in a program that probes: whether this process is such a
// child of a parent that waits, has done its work and must end.
bool runAsProbeProcess(int argc, wchar_t** argv);

}  // namespace zuplutil
