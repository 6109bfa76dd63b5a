#include "ZuLayout.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace zustd {

namespace {

// Log readers know the failed counts as those of the control that is laid out.
constexpr const wchar_t* kUnit = L"src/lib/ZuControl";

// Rows and columns are each other's mirror image at the main diagonal. The
// algorithm below thinks in rows; this turns what goes in and what comes out.
class Axis {
public:
    explicit Axis(bool columns) noexcept : columns_(columns) {}

    Rect turn(const Rect& rect) const noexcept {
        return columns_ ? Rect{rect.top, rect.left, rect.bottom, rect.right} : rect;
    }
    Size turn(Size size) const noexcept { return columns_ ? Size{size.height, size.width} : size; }
    bool isColumns() const noexcept { return columns_; }

private:
    bool columns_;
};

// One row: the children from begin to end that take part, and how many they are.
struct Line {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t childCount = 0;
    std::size_t autoSizedCount = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int32_t height = 0;
};

struct Spread {
    std::int64_t offset = 0;
    std::int64_t gap = 0;
};

bool takesPart(const std::shared_ptr<Control>& child) noexcept {
    return child && child->isVisible();
}

}  // namespace

// One layout. Between its passes a child's size is kept in the child itself.
class LineLayout {
public:
    LineLayout(const Control& parent, const Rect& area,
               std::span<const std::shared_ptr<Control>> children, const LayoutOptions& options,
               Axis axis)
        : axis_(axis),
          area_(axis.turn(area)),
          children_(children),
          options_(options),
          spacing_(axis.turn(Size{parent.horizontalSpacing(), parent.verticalSpacing()})),
          crossAlignment_(axis.isColumns() ? parent.horizontalAlignment()
                                           : parent.verticalAlignment()),
          uniformWidth_(axis.isColumns() ? options.uniformHeight : options.uniformWidth),
          uniformHeight_(axis.isColumns() ? options.uniformWidth : options.uniformHeight) {}

    LayoutResult run() {
        breakLines(true);
        for (Line& line : lines_) {
            shareLeftover(line);
        }
        LayoutResult result;
        result.lineCount = lines_.size();
        std::int64_t top = area_.top;
        for (Line& line : lines_) {
            line.top = top;
            placeLine(line, result);
            top += std::int64_t{line.height} + spacing_.height;
        }
        result.contentSize = axis_.turn(result.contentSize);
        return result;
    }

    Size measure() {
        breakLines(false);
        Size content;
        std::int64_t top = 0;
        for (const Line& line : lines_) {
            std::int64_t width = line.width;
            if (uniformWidth_) {
                const auto count = static_cast<std::int64_t>(line.childCount);
                width = count * largest_.width + (count - 1) * spacing_.width;
            }
            content.width = std::max(content.width, saturate(width));
            // As run() does it: the next line begins below the line's own
            // height, even where its children are made higher.
            const std::int64_t height = uniformHeight_ ? largest_.height : line.height;
            content.height = std::max(content.height, saturate(top + height));
            top += std::int64_t{line.height} + spacing_.height;
        }
        return axis_.turn(content);
    }

private:
    // Sizes the children one after another and cuts them into lines.
    void breakLines(bool keepSizes) {
        std::int64_t x = area_.left;
        bool breakBefore = true;
        for (std::size_t i = 0; i < children_.size(); ++i) {
            if (!takesPart(children_[i])) {
                continue;
            }
            Control& child = *children_[i];
            const Size size = startSize(child);
            if (keepSizes) {
                child.boundary_ = axis_.turn(Rect::at({0, 0}, size));
            }
            largest_.width = std::max(largest_.width, size.width);
            largest_.height = std::max(largest_.height, size.height);
            // Moving a child keeps it out of negative coordinates.
            const std::int64_t left = std::max<std::int64_t>(x, 0);
            const bool reachesBeyond = options_.wrap && left + size.width - 1 > area_.right;
            if (breakBefore || reachesBeyond) {
                openLine(i, size);
                x = std::int64_t{area_.left} + spacing_.width + size.width;
            } else {
                Line& line = lines_.back();
                line.width += std::int64_t{spacing_.width} + size.width;
                line.height = std::max(line.height, size.height);
                x += std::int64_t{spacing_.width} + size.width;
            }
            joinLine(lines_.back(), i, child);
            breakBefore = child.breaksLineAfter();
        }
    }

    Size startSize(Control& child) const {
        Size size = axis_.turn(options_.measure ? child.preferredSize() : child.boundary().size());
        if (child.isAutoSized()) {
            size.width = axis_.turn(child.minimumSize()).width;
        }
        // No control is smaller than a pixel.
        return {std::max(size.width, 1), std::max(size.height, 1)};
    }

    void openLine(std::size_t index, Size size) {
        Line line;
        line.begin = index;
        line.width = size.width;
        line.height = size.height;
        lines_.push_back(line);
    }

    void joinLine(Line& line, std::size_t index, const Control& child) const {
        line.end = index + 1;
        ++line.childCount;
        checkLayoutCount(line.childCount, axis_.isColumns() ? L"(childrenInColumn)<=LONG_MAX"
                                                            : L"(childrenInRow)<=LONG_MAX");
        if (child.isAutoSized()) {
            ++line.autoSizedCount;
            checkLayoutCount(line.autoSizedCount, L"(autoSizedChildCount)<=LONG_MAX");
        }
    }

    std::int64_t leftoverOf(const Line& line) const noexcept {
        return std::int64_t{area_.right} - area_.left + 1 - line.width;
    }

    // The last auto-sized child gets what the division leaves over.
    void shareLeftover(Line& line) const {
        if (line.autoSizedCount == 0) {
            return;
        }
        const auto count = static_cast<std::int64_t>(line.autoSizedCount);
        const std::int64_t leftover = leftoverOf(line);
        const std::int64_t share = leftover / count;
        std::int64_t remaining = count;
        for (std::size_t i = line.begin; i < line.end; ++i) {
            if (!takesPart(children_[i]) || !children_[i]->isAutoSized()) {
                continue;
            }
            --remaining;
            const std::int64_t extra = remaining == 0 ? leftover - share * (count - 1) : share;
            line.width += widen(*children_[i], extra);
        }
    }

    // How much the child's width has changed.
    std::int64_t widen(Control& child, std::int64_t extra) const {
        Size size = axis_.turn(child.boundary_.size());
        const std::int32_t before = size.width;
        const std::int32_t maximum = axis_.turn(child.maximumSize()).width;
        size.width = saturate(before + extra);
        if (maximum != 0) {
            size.width = std::min(size.width, maximum);
        }
        size.width = std::max(size.width, 1);
        child.boundary_ = axis_.turn(Rect::at({0, 0}, size));
        return std::int64_t{size.width} - before;
    }

    Spread spreadOf(const Line& line) const noexcept {
        const std::int64_t leftover = leftoverOf(line);
        const std::int64_t room = std::max<std::int64_t>(leftover, 0);
        switch (options_.alignment) {
            case Alignment::kStart:
                return {0, spacing_.width};
            case Alignment::kEnd:
                return {room, spacing_.width};
            case Alignment::kCentre:
                return {room / 2, spacing_.width};
            case Alignment::kJustify:
                // Without the spacing: the leftover is all that there is
                // between the children.
                if (line.childCount >= 2) {
                    return {0, leftover / static_cast<std::int64_t>(line.childCount - 1)};
                }
                return {};
        }
        return {};
    }

    void placeLine(const Line& line, LayoutResult& result) const {
        const Spread spread = spreadOf(line);
        std::int64_t left = area_.left + spread.offset;
        for (std::size_t i = line.begin; i < line.end; ++i) {
            if (!takesPart(children_[i])) {
                continue;
            }
            Control& child = *children_[i];
            Size size = axis_.turn(child.boundary_.size());
            size.width = uniformWidth_ ? largest_.width : size.width;
            size.height = uniformHeight_ ? largest_.height : size.height;
            const Rect rect = Rect::at({saturate(left), saturate(topOf(line, size.height))}, size);
            // Moving a child keeps it out of negative coordinates, and its size.
            const Rect placed =
                Rect::at({std::max(rect.left, 0), std::max(rect.top, 0)}, rect.size());
            child.place(axis_.turn(placed));
            left = std::int64_t{placed.right} + 1 + spread.gap;
            noteReach(placed, result);
        }
    }

    std::int64_t topOf(const Line& line, std::int32_t height) const noexcept {
        const std::int64_t bottom = line.top + line.height - 1;
        switch (crossAlignment_) {
            case Alignment::kEnd:
            case Alignment::kJustify:
                return bottom - height + 1;
            case Alignment::kCentre:
                // Both halves are cut: among even heights a child sits a pixel
                // higher than among odd ones.
                return bottom - height / 2 - line.height / 2;
            case Alignment::kStart:
                break;
        }
        return line.top;
    }

    void noteReach(const Rect& rect, LayoutResult& result) const noexcept {
        Size& reach = result.contentSize;
        reach.width = std::max(reach.width, saturate(std::int64_t{rect.right} - area_.left + 1));
        reach.height = std::max(reach.height, saturate(std::int64_t{rect.bottom} - area_.top + 1));
        if (rect.top >= area_.top && rect.bottom <= area_.bottom) {
            ++result.fittingCount;
        }
    }

    Axis axis_;
    Rect area_;
    std::span<const std::shared_ptr<Control>> children_;
    LayoutOptions options_;
    Size spacing_;
    Alignment crossAlignment_;
    bool uniformWidth_;
    bool uniformHeight_;
    std::vector<Line> lines_;
    Size largest_;
};

LayoutResult layoutInRows(const Control& parent, const Rect& area,
                          std::span<const std::shared_ptr<Control>> children,
                          const LayoutOptions& options) {
    return LineLayout(parent, area, children, options, Axis(false)).run();
}

LayoutResult layoutInColumns(const Control& parent, const Rect& area,
                             std::span<const std::shared_ptr<Control>> children,
                             const LayoutOptions& options) {
    return LineLayout(parent, area, children, options, Axis(true)).run();
}

Size measureRows(const Control& parent, const Rect& area,
                 std::span<const std::shared_ptr<Control>> children, const LayoutOptions& options) {
    return LineLayout(parent, area, children, options, Axis(false)).measure();
}

Size measureColumns(const Control& parent, const Rect& area,
                    std::span<const std::shared_ptr<Control>> children,
                    const LayoutOptions& options) {
    return LineLayout(parent, area, children, options, Axis(true)).measure();
}

void checkLayoutCount(std::size_t count, const wchar_t* text) {
    constexpr auto kLargest = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    ZU_ASSERT_AS(count <= kLargest, text, (SourcePlace{kUnit, __LINE__}));
}

}  // namespace zustd
