#include "ZuNativeProgressBar.h"

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

Size NativeProgressBar::preferredSize() {
    // At a scaling factor of 1, and where there is no backend to ask.
    constexpr Size kUsual{160, 15};
    return {scale(kUsual.width),
            hasImplementation() ? implementation().getThickness() : kUsual.height};
}

}  // namespace zustd
