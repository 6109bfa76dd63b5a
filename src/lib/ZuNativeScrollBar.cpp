#include "ZuNativeScrollBar.h"

namespace zustd {

bool NativeScrollBar::setRange(std::int32_t minimum, std::int32_t maximum) {
    maximum = std::max(minimum, maximum);
    if (minimum_ == minimum && maximum_ == maximum) {
        return false;
    }
    minimum_ = minimum;
    maximum_ = maximum;
    pushRange();
    return true;
}

bool NativeScrollBar::setPageSize(std::int32_t size) {
    size = std::max(size, 1);
    if (std::exchange(pageSize_, size) == size) {
        return false;
    }
    pushRange();
    return true;
}

bool NativeScrollBar::setPosition(std::int32_t position) {
    position = std::clamp(position, minimum_, highestPosition());
    if (std::exchange(position_, position) == position) {
        return false;
    }
    if (hasImplementation()) {
        implementation().setPosition(position_);
        pushArrows();
    }
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    const MessageWord word{std::intptr_t{position_}};
    notify(kScrolled, word);
    notify(vertical_ ? kScrolledVertically : kScrolledHorizontally, word);
    return true;
}

Size NativeScrollBar::preferredSize() {
    // The usual one where there is no backend to ask.
    const std::int32_t thickness = hasImplementation() ? implementation().getThickness() : 17;
    return vertical_ ? Size{thickness, boundary().height()} : Size{boundary().width(), thickness};
}

bool NativeScrollBar::onMouse(const MouseEvent& event) {
    const MouseAction wheel = vertical_ ? MouseAction::kWheel : MouseAction::kHorizontalWheel;
    if (event.action != wheel) {
        return false;
    }
    const std::int64_t distance = wheel_.turn(event.wheel, lineSize_);
    if (distance == 0) {
        // What is kept for later is used, unless it never leads anywhere.
        return wheel_.hasRest() && minimum_ < highestPosition();
    }
    // Away from the user is up, to the right is on.
    return setPosition(saturate(vertical_ ? position_ - distance : position_ + distance));
}

bool NativeScrollBar::onKey(const KeyEvent& event) {
    const std::int64_t line = lineSize_;
    const std::int64_t page = pageSize_;
    constexpr std::int64_t kAll = std::numeric_limits<std::uint32_t>::max();
    const std::pair<std::uint32_t, std::int64_t> keys[] = {
        {vertical_ ? kKeyUp : kKeyLeft, -line},
        {vertical_ ? kKeyDown : kKeyRight, line},
        {kKeyPageUp, -page},
        {kKeyPageDown, page},
        {kKeyHome, -kAll},
        {kKeyEnd, kAll},
    };
    for (const auto& [key, distance] : keys) {
        if (event.key == key) {
            return setPosition(saturate(position_ + distance));
        }
    }
    return false;
}

void NativeScrollBar::pushRange() {
    if (hasImplementation()) {
        implementation().setRange(minimum_, maximum_);
        implementation().setPageSize(pageSize_);
    }
    if (!setPosition(position_) && hasImplementation()) {
        pushArrows();
    }
}

}  // namespace zustd
