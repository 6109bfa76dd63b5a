// The collection of diagnostics for support.
#pragma once

namespace zuplutil {

// Packs everything that support needs about the add-in, Outlook and the machine
// into one archive on the user's desktop, writes a README beside it and shows the
// folder. light leaves out the class exports and the permission dumps; includeOcat
// adds the configuration analyzer. Throws ActionFailure, and ends, when a folder
// cannot be made or an old file not be removed.
void collectDiagnostics(bool light, bool includeOcat);

}  // namespace zuplutil
