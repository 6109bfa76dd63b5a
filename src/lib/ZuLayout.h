// Puts controls into rows or columns.
//
// Both are one algorithm over an axis: along the main axis children follow one
// another, and lines of them (rows, or columns) follow each other across it.
// What rows call width, left and horizontal spacing, columns call height, top
// and vertical spacing. Lines break after a child that asks for it and, with
// wrap, before a child that would reach past the area's end.
//
// Auto-sized children begin at their minimum and share what their line leaves
// of the area; a negative leftover shrinks them. A share that a maximum cuts is
// not handed on. The main alignment spreads the rest. The passes are linear in
// the number of children and allocate one record a line.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "ZuControl.h"
#include "ZuGeometry.h"

namespace zustd {

struct LayoutOptions {
    // Along the main axis.
    Alignment alignment = Alignment::kStart;
    // All children as wide, or as high, as the largest of them.
    bool uniformWidth = false;
    bool uniformHeight = false;
    // Children get the size that they prefer; otherwise they keep theirs.
    bool measure = false;
    bool wrap = false;
};

struct LayoutResult {
    // How far the children reach from the area's left top corner.
    Size contentSize;
    // Children that lie wholly inside the area across the lines' axis: for
    // rows from top to bottom, for columns from left to right.
    std::size_t fittingCount = 0;
    std::size_t lineCount = 0;
};

// Moves and sizes the visible children; null and invisible ones are passed
// over. The spacings and the alignment across the lines are the parent's. The
// children's new places are not shown: call the parent's showChildren() when
// all is in place. More than a signed 32-bit number of children in a line fails
// the assertion "(childrenInRow)<=LONG_MAX" or "(childrenInColumn)<=LONG_MAX",
// of auto-sized ones "(autoSizedChildCount)<=LONG_MAX".
LayoutResult layoutInRows(const Control& parent, const Rect& area,
                          std::span<const std::shared_ptr<Control>> children,
                          const LayoutOptions& options);
LayoutResult layoutInColumns(const Control& parent, const Rect& area,
                             std::span<const std::shared_ptr<Control>> children,
                             const LayoutOptions& options);

// The room that the same layout takes when auto-sized children stay at their
// minimum and nothing is spread. No child is moved.
Size measureRows(const Control& parent, const Rect& area,
                 std::span<const std::shared_ptr<Control>> children, const LayoutOptions& options);
Size measureColumns(const Control& parent, const Rect& area,
                    std::span<const std::shared_ptr<Control>> children,
                    const LayoutOptions& options);

// Fails the assertion with this text when a count does not fit into a signed
// 32-bit number.
void checkLayoutCount(std::size_t count, const wchar_t* text);

}  // namespace zustd
