// A native scroll bar.
//
// The position runs from the minimum to the maximum less the page: a page of
// the content is always visible. Every change sends kScrolled and
// kScrolledHorizontally or kScrolledVertically with the position.
#pragma once

#include "ZuControl.h"

namespace zustd {

// What a backend does for a scroll bar. Slot order is fixed. Setters do nothing
// without a native object; synchronisation brings the state then.
class INativeScrollBarImpl : public IBackend {
public:
    // Both inclusive.
    virtual void setRange(std::int32_t minimum, std::int32_t maximum) = 0;
    virtual void setPageSize(std::int32_t size) = 0;
    virtual void setPosition(std::int32_t position) = 0;
    // As the native object has it; the minimum without one.
    virtual std::int32_t getPosition() const = 0;
    // While the user drags the thumb.
    virtual bool isTracking() const = 0;
    // Whether the arrows towards the minimum and the maximum can be pressed.
    virtual void setEnableArrows(bool towardsMinimum, bool towardsMaximum) = 0;
    // How thick the system's scroll bars are, in pixels.
    virtual std::int32_t getThickness() const = 0;
};

class NativeScrollBar : public NativeControl<INativeScrollBarImpl> {
public:
    explicit NativeScrollBar(bool vertical = true) : vertical_(vertical) {}
    ~NativeScrollBar() override { releaseImplementation(); }

    bool isVertical() const noexcept { return vertical_; }
    std::int32_t minimum() const noexcept { return minimum_; }
    // Inclusive; never below the minimum.
    std::int32_t maximum() const noexcept { return maximum_; }
    bool setRange(std::int32_t minimum, std::int32_t maximum);
    std::int32_t pageSize() const noexcept { return pageSize_; }
    bool setPageSize(std::int32_t size);
    // What an arrow moves by; 1 or more.
    std::int32_t lineSize() const noexcept { return lineSize_; }
    bool setLineSize(std::int32_t size) {
        size = std::max(size, 1);
        return std::exchange(lineSize_, size) != size;
    }
    std::int32_t position() const noexcept { return position_; }
    // Taken to the nearest position that there is; kScrolled and the kind of its
    // direction are sent, whoever moves it.
    bool setPosition(std::int32_t position);
    std::int32_t highestPosition() const noexcept {
        return saturate(std::max<std::int64_t>(std::int64_t{maximum_} - pageSize_ + 1, minimum_));
    }

    bool isTracking() const { return hasImplementation() && implementation().isTracking(); }
    Size preferredSize() override;
    // The wheel and the arrow keys move the bar.
    bool onMouse(const MouseEvent& event) override;
    bool onKey(const KeyEvent& event) override;

    // For the backend: the user has scrolled. Steps of lines and pages are passed as positions too.
    void acceptPosition(std::int32_t position) { setPosition(position); }

private:
    void pushArrows() {
        implementation().setEnableArrows(position_ > minimum_, position_ < highestPosition());
    }
    void pushRange();

    std::int32_t minimum_ = 0;
    std::int32_t maximum_ = 100;
    std::int32_t pageSize_ = 1;
    std::int32_t lineSize_ = 1;
    std::int32_t position_ = 0;
    WheelCounter wheel_;
    const bool vertical_;
};

}  // namespace zustd
