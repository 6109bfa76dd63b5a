// How controls are put into rows or columns: what is asked for, and the algorithm that does it.
//
// Rows run from left to right, one below the other; columns are the same with
// the axes exchanged. Lines break after a child that asks for it and, where
// they wrap, before a child that would reach past the area's end.
//
// Auto-sized children begin at their minimum and share what their line leaves of the area; a
// negative leftover shrinks them. A share that a maximum cuts is not handed on. The alignment along
// the lines spreads the rest. The passes are linear in the number of children and allocate a size
// for each of them and a record for each line.
#pragma once

#include <memory>
#include <span>

#include "ZuGeometry.h"

namespace zustd {

class Control;

// Room where nothing limits it: half of the range, so that positions beyond it are still numbers.
inline constexpr std::int32_t kUnlimited = std::numeric_limits<std::int32_t>::max() / 2;

// Along an axis. Other numbers are kept and mean: at the start, without gaps.
enum class Alignment : std::int32_t { kStart, kEnd, kCentre, kJustify };

// What a control makes of its children; with kManual they stay where they were put.
enum class Flow : std::uint32_t { kManual, kRows, kColumns };

// How a control arranges its children. Sizes are in pixels of the screen (Control::scale).
struct Arrangement {
    Flow flow = Flow::kManual;
    // In rows the horizontal one spreads the children along the row and the vertical one places
    // each across it; in columns it is the other way round. Across the line kJustify means kEnd.
    Alignment horizontal = Alignment::kStart;
    Alignment vertical = Alignment::kStart;
    // Between neighbours, and around all of them.
    Size spacing{};
    Size margin{};
    bool wrap = false;
    // All children as wide, or as high, as the largest of them.
    bool uniformWidth = false;
    bool uniformHeight = false;
    // Children get the size that they prefer; otherwise they keep theirs.
    bool measure = true;

    friend bool operator==(const Arrangement&, const Arrangement&) = default;
};

// How a control is placed among the children of another one; sizes as above.
struct Placement {
    Size minimum{};
    // 0 means no limit on that axis.
    Size maximum{};
    // Takes its share of what its row or column leaves.
    bool autoSized = false;
    bool breaksLineAfter = false;

    friend bool operator==(const Placement&, const Placement&) = default;
};

// What came of arranging children in an area.
struct LayoutResult {
    // How far the children reach from the area's left top corner.
    Size contentSize;
    // Children that lie wholly inside the area across the lines' axis: for
    // rows from top to bottom, for columns from left to right.
    std::size_t fittingCount = 0;
    std::size_t lineCount = 0;
};

// Moves and sizes the visible children, in rows unless the arrangement says columns; null and
// invisible ones are passed over, and the margin is the caller's. All are measured before the first
// is moved: a child that fails to say what it prefers leaves the others where they are. The new
// places are not shown: call the parent's showChildren() when all is in place. More than a signed
// 32-bit number of children in a line fails the assertion "(childrenInRow)<=LONG_MAX" or
// "(childrenInColumn)<=LONG_MAX", of auto-sized ones "(autoSizedChildCount)<=LONG_MAX".
LayoutResult layOut(const Arrangement& arrangement, const Rect& area,
                    std::span<const std::shared_ptr<Control>> children);

// The room that the same layout takes when auto-sized children stay at their
// minimum and nothing is spread. No child is moved.
Size measureLayout(const Arrangement& arrangement, const Rect& area,
                   std::span<const std::shared_ptr<Control>> children);

// Fails the assertion with this text when a count does not fit into a signed 32-bit number.
void checkLayoutCount(std::size_t count, const wchar_t* text);

}  // namespace zustd
