#include "ZuNativeProgressBar.h"

#include <algorithm>

namespace zustd {

namespace {

// Where there is no backend to ask, and how long bars are, in pixels.
constexpr std::int32_t kUsualThickness = 15;
constexpr std::int32_t kUsualLength = 160;

}  // namespace

NativeProgressBar::~NativeProgressBar() { releaseImplementation(); }

bool NativeProgressBar::setRange(std::int32_t minimum, std::int32_t maximum) {
    maximum = std::max(minimum, maximum);
    if (minimum_ == minimum && maximum_ == maximum) {
        return false;
    }
    minimum_ = minimum;
    maximum_ = maximum;
    if (hasImplementation()) {
        implementation().setRange(minimum_, maximum_);
    }
    setPosition(position_);
    return true;
}

bool NativeProgressBar::setPosition(std::int32_t position) {
    position = std::clamp(position, minimum_, maximum_);
    if (position_ == position) {
        return false;
    }
    position_ = position;
    if (hasImplementation()) {
        implementation().setPosition(position_);
    }
    return true;
}

bool NativeProgressBar::setEnableMarqueeAnimation(bool enable) {
    if (marquee_ == enable) {
        return false;
    }
    marquee_ = enable;
    if (hasImplementation()) {
        implementation().setEnableMarqueeAnimation(enable);
    }
    return true;
}

bool NativeProgressBar::setMarqueeInterval(std::uint32_t milliseconds) {
    milliseconds = std::max(milliseconds, std::uint32_t{1});
    if (marqueeInterval_ == milliseconds) {
        return false;
    }
    marqueeInterval_ = milliseconds;
    if (hasImplementation()) {
        implementation().setMarqueeInterval(milliseconds);
    }
    return true;
}

bool NativeProgressBar::setState(ProgressState state) {
    if (state_ == state) {
        return false;
    }
    state_ = state;
    if (hasImplementation()) {
        implementation().setState(state);
    }
    return true;
}

Size NativeProgressBar::preferredSize() {
    const std::int32_t thickness =
        hasImplementation() ? implementation().getThickness() : kUsualThickness;
    return {scale(kUsualLength), thickness};
}

}  // namespace zustd
