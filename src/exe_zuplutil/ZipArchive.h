// Packs a folder into a zip archive with the means that Windows has.
#pragma once

#include <string>

namespace zuplutil {

// Writes a small script into workDir and lets the system's script host run it:
// the shell copies the folder's items into a new archive. Waits for the script
// but cannot tell whether the copy was complete. Throws ActionFailure when the
// script cannot be deleted afterwards. Paths are in the active code page.
void zipFolder(const std::string& sourceFolder, const std::string& zipPath,
               const std::string& workDir);

}  // namespace zuplutil
