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

// Goes through the pages, and through the languages of the last one, with the arrow keys. False,
// after a line on standard output, when one was not reached, not whole or not drawn.
bool checkPages(GalleryWindow& gallery);

}  // namespace zustd::gallery
