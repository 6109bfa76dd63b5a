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

// Shows every page and takes its picture, which is kept nowhere, with the
// keyboard alone: Tab to the next choice and Space. Returns how many pages there
// are; throws SystemException when one could not be built, is not reached, or
// looks like the one before.
int checkPages(GalleryWindow& gallery);

}  // namespace zustd::gallery
