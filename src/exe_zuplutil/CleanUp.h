// Removal of the add-in's settings files and of diagnostics leftovers.
#pragma once

namespace zuplutil {

// Whether the add-in's data directory holds settings files.
bool hasSettingsFiles();

// Deletes the settings files; the first that cannot be deleted throws ActionFailure.
// Not interactive: asks in a message box first, whose default is no; a line says so
// when the box could not be shown.
void removeSettings(bool interactive);

// Removes the diagnostics folder, the debug settings, the logs and their
// backups, and says "Completed" only when the disk shows that all of it has
// gone; a folder that is still there is named. The first file that cannot be
// deleted throws ActionFailure.
void removeDiagnosticsLogs();

}  // namespace zuplutil
