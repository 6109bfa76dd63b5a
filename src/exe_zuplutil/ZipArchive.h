// Packs a folder into a zip archive with the means that Windows has.
#pragma once

#include <string>

namespace zuplutil {

// Writes a small script into workDir and lets the system's script host run it:
// the shell copies the folder's items into a new archive. Waits for the script,
// not for the shell. Throws ActionFailure when the script cannot be deleted
// afterwards. Paths are in the active code page.
void zipFolder(const std::string& sourceFolder, const std::string& zipPath,
               const std::string& workDir);

// Whether the archive holds the whole folder. As long as the shell still writes it
// is waited for, five minutes at most, and a line says so. Returns at once when the
// archive is complete or missing, within a second when nobody works on it.
bool waitUntilPacked(const std::wstring& zipPath, const std::wstring& folder);

}  // namespace zuplutil
