// Points, sizes and rectangles in whole pixels, and the index of nothing.
//
// A rectangle's right and bottom are inclusive: its width is right - left + 1, so the smallest
// boundary of a control, one pixel, has left == right. A rectangle whose right lies left of its
// left, or whose bottom lies above its top, covers nothing.
//
// All arithmetic saturates at the ends of 32 bits. Sizes come from markup and
// from callers and may be absurd; they then give an absurd but defined result.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace zustd {

// "No row", "no item", "no index".
inline constexpr std::size_t kNullSize = std::numeric_limits<std::size_t>::max();

// The nearest number that 32 bits can hold.
constexpr std::int32_t saturate(std::int64_t number) noexcept {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(number, std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::int32_t>::max()));
}

// The sum, saturated.
constexpr std::int32_t saturatedSum(std::int32_t left, std::int32_t right) noexcept {
    return saturate(std::int64_t{left} + right);
}

// The extent, but no more than a maximum; 0 is no limit.
constexpr std::int32_t limited(std::int32_t extent, std::int32_t maximum) noexcept {
    return maximum > 0 ? std::min(extent, maximum) : extent;
}

struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;

    // Each coordinate saturates by itself.
    constexpr Point movedBy(Point offset) const noexcept {
        return {saturatedSum(x, offset.x), saturatedSum(y, offset.y)};
    }
    constexpr Point negated() const noexcept {
        return {saturate(-std::int64_t{x}), saturate(-std::int64_t{y})};
    }

    friend constexpr bool operator==(const Point&, const Point&) = default;
};

// Width and height.
struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;

    // A size of no area, which as a maximum means "no limit".
    constexpr bool isEmpty() const noexcept { return width <= 0 || height <= 0; }

    // With a border on both sides of each axis.
    constexpr Size grownBy(Size border) const noexcept {
        return {saturate(width + 2 * std::int64_t{border.width}),
                saturate(height + 2 * std::int64_t{border.height})};
    }
    // Without such a border, 1 pixel or more.
    constexpr Size shrunkBy(Size border) const noexcept {
        return {std::max(saturate(width - 2 * std::int64_t{border.width}), 1),
                std::max(saturate(height - 2 * std::int64_t{border.height}), 1)};
    }

    friend constexpr bool operator==(const Size&, const Size&) = default;
};

// The pixels from left top to right bottom, all four inclusive.
struct Rect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = -1;
    std::int32_t bottom = -1;

    // The rectangle of this size at a place; never smaller than one pixel.
    static constexpr Rect at(Point place, Size size) noexcept {
        return {place.x, place.y, lastOf(place.x, size.width), lastOf(place.y, size.height)};
    }

    constexpr std::int32_t width() const noexcept { return extent(left, right); }
    constexpr std::int32_t height() const noexcept { return extent(top, bottom); }
    constexpr Size size() const noexcept { return {width(), height()}; }
    constexpr Point position() const noexcept { return {left, top}; }
    constexpr bool isEmpty() const noexcept { return right < left || bottom < top; }

    // Keeps the place; right and bottom never come to lie before it.
    constexpr void setSize(Size size) noexcept { *this = at(position(), size); }
    // Keeps the size; negative coordinates are taken for 0.
    constexpr void moveTo(Point place) noexcept {
        *this = at({std::max(place.x, 0), std::max(place.y, 0)}, size());
    }

    // Each edge saturates by itself.
    constexpr Rect movedBy(Point offset) const noexcept {
        return {saturatedSum(left, offset.x), saturatedSum(top, offset.y),
                saturatedSum(right, offset.x), saturatedSum(bottom, offset.y)};
    }
    // Without the given margins on both sides of each axis; may become empty.
    constexpr Rect shrunkBy(std::int32_t horizontal, std::int32_t vertical) const noexcept {
        return {saturatedSum(left, horizontal), saturatedSum(top, vertical),
                saturate(std::int64_t{right} - horizontal),
                saturate(std::int64_t{bottom} - vertical)};
    }

    // Never for an empty rectangle.
    constexpr bool contains(Point point) const noexcept {
        return point.x >= left && point.x <= right && point.y >= top && point.y <= bottom;
    }
    // Whether any pixel lies in both; never for empty rectangles.
    constexpr bool intersects(const Rect& other) const noexcept {
        return !intersection(other).isEmpty();
    }
    // The pixels that lie in both; empty when there are none.
    constexpr Rect intersection(const Rect& other) const noexcept {
        return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
                std::min(bottom, other.bottom)};
    }
    // The smallest rectangle around both; an empty one adds nothing.
    constexpr Rect unionWith(const Rect& other) const noexcept {
        if (isEmpty() || other.isEmpty()) {
            return isEmpty() ? other : *this;
        }
        return {std::min(left, other.left), std::min(top, other.top), std::max(right, other.right),
                std::max(bottom, other.bottom)};
    }

    friend constexpr bool operator==(const Rect&, const Rect&) = default;

private:
    static constexpr std::int32_t extent(std::int32_t first, std::int32_t last) noexcept {
        return saturate(std::max<std::int64_t>(std::int64_t{last} - first + 1, 0));
    }
    static constexpr std::int32_t lastOf(std::int32_t first, std::int32_t extent) noexcept {
        return saturate(std::int64_t{first} + std::max(extent, 1) - 1);
    }
};

}  // namespace zustd
