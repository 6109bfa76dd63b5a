#include "ZuLayout.h"

#include "ZuControl.h"

namespace zustd {

namespace {

// Log readers know the failed counts as those of the control that is laid out.
constexpr const wchar_t* kUnit = L"src/lib/ZuControl";

// One row: the children from begin to end that take part, and how many they are.
struct Line {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t childCount = 0;
    std::size_t autoSizedCount = 0;
    std::int64_t width = 0;
    std::int32_t height = 0;
};

// One layout. Rows and columns are each other's mirror image at the main
// diagonal: what follows thinks in rows, and turn() what goes in and comes out.
class LineLayout {
public:
    LineLayout(const Arrangement& arrangement, const Rect& area,
               std::span<const std::shared_ptr<Control>> children)
        : columns_(arrangement.flow == Flow::kColumns),
          how_(arrangement),
          area_(turn(area)),
          children_(children) {
        if (columns_) {
            how_.spacing = turn(how_.spacing);
            std::swap(how_.horizontal, how_.vertical);
            std::swap(how_.uniformWidth, how_.uniformHeight);
        }
        sizes_.reserve(children_.size());
        breakLines();
    }

    LayoutResult run() {
        for (Line& line : lines_) {
            shareLeftover(line);
        }
        LayoutResult result;
        result.lineCount = lines_.size();
        std::int64_t top = area_.top;
        for (const Line& line : lines_) {
            placeLine(line, top, result);
            top += std::int64_t{line.height} + how_.spacing.height;
        }
        result.contentSize = turn(result.contentSize);
        return result;
    }

    Size measure() const {
        Size content;
        std::int64_t top = 0;
        for (const Line& line : lines_) {
            std::int64_t width = line.width;
            if (how_.uniformWidth) {
                const auto count = static_cast<std::int64_t>(line.childCount);
                width = count * largest_.width + (count - 1) * how_.spacing.width;
            }
            content.width = std::max(content.width, saturate(width));
            // As run() does it: the next line begins below the line's own
            // height, even where its children are made higher.
            const std::int64_t height = how_.uniformHeight ? largest_.height : line.height;
            content.height = std::max(content.height, saturate(top + height));
            top += std::int64_t{line.height} + how_.spacing.height;
        }
        return turn(content);
    }

private:
    Rect turn(const Rect& rect) const noexcept {
        return columns_ ? Rect{rect.top, rect.left, rect.bottom, rect.right} : rect;
    }
    Size turn(Size size) const noexcept { return columns_ ? Size{size.height, size.width} : size; }

    // Sizes the children one after another and cuts them into lines.
    void breakLines() {
        std::int64_t x = area_.left;
        bool breakBefore = true;
        for (std::size_t i = 0; i < children_.size(); ++i) {
            const Size size = startSize(children_[i].get());
            sizes_.push_back(size);
            if (!takesPart(i)) {
                continue;
            }
            const Placement& placement = children_[i]->placement();
            largest_.width = std::max(largest_.width, size.width);
            largest_.height = std::max(largest_.height, size.height);
            // Moving a child keeps it out of negative coordinates.
            const std::int64_t left = std::max<std::int64_t>(x, 0);
            const bool reachesBeyond = how_.wrap && left + size.width - 1 > area_.right;
            if (breakBefore || reachesBeyond) {
                // The gap before its first child is none.
                lines_.push_back({.begin = i, .width = -std::int64_t{how_.spacing.width}});
                x = area_.left;
            }
            const std::int64_t step = std::int64_t{how_.spacing.width} + size.width;
            x += step;
            Line& line = lines_.back();
            line.width += step;
            line.height = std::max(line.height, size.height);
            joinLine(line, i, placement.autoSized);
            breakBefore = placement.breaksLineAfter;
        }
    }

    // Without width for one that takes no part.
    Size startSize(Control* child) const {
        if (child == nullptr || !child->isVisible()) {
            return {};
        }
        Size size = turn(how_.measure ? child->preferredSize() : child->boundary().size());
        if (child->placement().autoSized) {
            size.width = turn(child->placement().minimum).width;
        }
        // No control is smaller than a pixel.
        return {std::max(size.width, 1), std::max(size.height, 1)};
    }

    bool takesPart(std::size_t index) const noexcept { return sizes_[index].width != 0; }

    void joinLine(Line& line, std::size_t index, bool autoSized) const {
        line.end = index + 1;
        ++line.childCount;
        checkLayoutCount(line.childCount,
                         columns_ ? L"(childrenInColumn)<=LONG_MAX" : L"(childrenInRow)<=LONG_MAX");
        if (autoSized) {
            ++line.autoSizedCount;
            checkLayoutCount(line.autoSizedCount, L"(autoSizedChildCount)<=LONG_MAX");
        }
    }

    std::int64_t leftoverOf(const Line& line) const noexcept {
        return std::int64_t{area_.right} - area_.left + 1 - line.width;
    }

    // The last auto-sized child gets what the division leaves over.
    void shareLeftover(Line& line) {
        if (line.autoSizedCount == 0) {
            return;
        }
        const auto count = static_cast<std::int64_t>(line.autoSizedCount);
        const std::int64_t leftover = leftoverOf(line);
        const std::int64_t share = leftover / count;
        std::int64_t remaining = count;
        for (std::size_t i = line.begin; i < line.end; ++i) {
            if (takesPart(i) && children_[i]->placement().autoSized) {
                --remaining;
                line.width += widen(i, remaining == 0 ? leftover - share * (count - 1) : share);
            }
        }
    }

    // How much the child's width has changed.
    std::int64_t widen(std::size_t index, std::int64_t extra) {
        std::int32_t& width = sizes_[index].width;
        const std::int32_t before = width;
        const std::int32_t maximum = turn(children_[index]->placement().maximum).width;
        width = saturate(before + extra);
        if (maximum != 0) {
            width = std::min(width, maximum);
        }
        width = std::max(width, 1);
        return std::int64_t{width} - before;
    }

    // Where the first child begins, and the gap between two.
    std::pair<std::int64_t, std::int64_t> spreadOf(const Line& line) const noexcept {
        const std::int64_t leftover = leftoverOf(line);
        const std::int64_t room = std::max<std::int64_t>(leftover, 0);
        switch (how_.horizontal) {
            case Alignment::kStart:
                return {0, how_.spacing.width};
            case Alignment::kEnd:
                return {room, how_.spacing.width};
            case Alignment::kCentre:
                return {room / 2, how_.spacing.width};
            case Alignment::kJustify:
                // Without the spacing: the leftover is all that there is between the children.
                if (line.childCount >= 2) {
                    return {0, leftover / static_cast<std::int64_t>(line.childCount - 1)};
                }
        }
        return {};
    }

    void placeLine(const Line& line, std::int64_t top, LayoutResult& result) const {
        const auto [offset, gap] = spreadOf(line);
        std::int64_t left = area_.left + offset;
        for (std::size_t i = line.begin; i < line.end; ++i) {
            if (!takesPart(i)) {
                continue;
            }
            const Size size{how_.uniformWidth ? largest_.width : sizes_[i].width,
                            how_.uniformHeight ? largest_.height : sizes_[i].height};
            Rect place = Rect::at({}, size);
            place.moveTo({saturate(left), saturate(top + dropOf(line, size.height))});
            children_[i]->place(turn(place));
            left = std::int64_t{place.right} + 1 + gap;
            noteReach(place, result);
        }
    }

    // How far below its line's top a child lies.
    std::int32_t dropOf(const Line& line, std::int32_t height) const noexcept {
        if (how_.vertical == Alignment::kCentre) {
            // Both halves are cut: among even heights a child sits higher than among odd ones.
            return line.height - 1 - height / 2 - line.height / 2;
        }
        const bool below = how_.vertical == Alignment::kEnd || how_.vertical == Alignment::kJustify;
        return below ? line.height - height : 0;
    }

    void noteReach(const Rect& rect, LayoutResult& result) const noexcept {
        Size& reach = result.contentSize;
        reach.width = std::max(reach.width, saturate(std::int64_t{rect.right} - area_.left + 1));
        reach.height = std::max(reach.height, saturate(std::int64_t{rect.bottom} - area_.top + 1));
        if (rect.top >= area_.top && rect.bottom <= area_.bottom) {
            ++result.fittingCount;
        }
    }

    bool columns_;
    Arrangement how_;
    Rect area_;
    std::span<const std::shared_ptr<Control>> children_;
    // Of the children, one each, until they are placed.
    std::vector<Size> sizes_;
    std::vector<Line> lines_;
    Size largest_;
};

}  // namespace

LayoutResult layOut(const Arrangement& arrangement, const Rect& area,
                    std::span<const std::shared_ptr<Control>> children) {
    return LineLayout(arrangement, area, children).run();
}

Size measureLayout(const Arrangement& arrangement, const Rect& area,
                   std::span<const std::shared_ptr<Control>> children) {
    return LineLayout(arrangement, area, children).measure();
}

void checkLayoutCount(std::size_t count, const wchar_t* text) {
    constexpr auto kLargest = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    ZU_ASSERT_AS(count <= kLargest, text, (SourcePlace{kUnit, __LINE__}));
}

}  // namespace zustd
