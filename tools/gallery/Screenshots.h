// Pictures of windows as PNG files.
#pragma once

#include <string>

#include "GalleryWindow.h"

namespace zustd::gallery {

// Writes a picture of every page and of every scene in every language into a
// folder, which is made when it is not there. Needs nobody: what opens is
// closed again. Returns how many files were written; throws SystemException
// when one cannot be.
int writeScreenshots(GalleryWindow& gallery, const std::wstring& folder);

}  // namespace zustd::gallery
