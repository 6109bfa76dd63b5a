// Removal of the add-in's settings files and of diagnostics leftovers.
#pragma once

namespace zuplutil {

// Whether the add-in's data directory holds settings files.
bool hasSettingsFiles();

// Deletes the settings files. Not interactive: asks in a message box first,
// and any answer but yes removes nothing. The first file that cannot be
// deleted throws ActionFailure and ends the removal.
void removeSettings(bool interactive);

// Removes the diagnostics folder, the debug settings, the logs and their
// backups. The first file that cannot be deleted throws ActionFailure.
void removeDiagnosticsLogs();

}  // namespace zuplutil
