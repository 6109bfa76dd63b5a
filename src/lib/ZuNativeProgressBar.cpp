#include "ZuNativeProgressBar.h"

#include <algorithm>

namespace zustd {

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
    return push(position_, std::clamp(position, minimum_, maximum_),
                &INativeProgressBarImpl::setPosition);
}

bool NativeProgressBar::setMarqueeInterval(std::uint32_t milliseconds) {
    return push(marqueeInterval_, std::max(milliseconds, std::uint32_t{1}),
                &INativeProgressBarImpl::setMarqueeInterval);
}

Size NativeProgressBar::preferredSize() {
    // At a scaling factor of 1, and where there is no backend to ask.
    constexpr Size kUsual{160, 15};
    return {scale(kUsual.width),
            hasImplementation() ? implementation().getThickness() : kUsual.height};
}

}  // namespace zustd
