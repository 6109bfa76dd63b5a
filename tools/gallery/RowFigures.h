// What many rows and nodes cost, in milliseconds.
#pragma once

#include <cstddef>

#include "ZuWindowService.h"

namespace zustd::gallery {

// Prints a line for each piece of work on so many rows of a grid, and nodes of
// a tree without and with levels, all on a window that is shown.
void printRowFigures(WindowService& windows, std::size_t count);

}  // namespace zustd::gallery
