// A native progress bar, for work whose end is known or not.
#pragma once

#include "ZuControl.h"

namespace zustd {

enum class ProgressState : std::uint32_t { kNormal, kError, kPaused };

// What a backend does for a progress bar. Slot order is fixed. Setters do
// nothing without a native object; synchronisation brings the state then.
class INativeProgressBarImpl : public IBackend {
public:
    // Both inclusive.
    virtual void setRange(std::int32_t minimum, std::int32_t maximum) = 0;
    virtual void setPosition(std::int32_t position) = 0;
    // As the native object has it; the minimum without one.
    virtual std::int32_t getPosition() const = 0;
    // An animation without a position, for work of unknown length.
    virtual void setEnableMarqueeAnimation(bool enable) = 0;
    virtual void setMarqueeInterval(std::uint32_t milliseconds) = 0;
    virtual void setState(ProgressState state) = 0;
    // How high the system's progress bars are, in pixels.
    virtual std::int32_t getThickness() const = 0;
};

class NativeProgressBar : public NativeControl<INativeProgressBarImpl> {
public:
    ~NativeProgressBar() override { releaseImplementation(); }

    std::int32_t minimum() const noexcept { return minimum_; }
    // Never below the minimum.
    std::int32_t maximum() const noexcept { return maximum_; }
    bool setRange(std::int32_t minimum, std::int32_t maximum);
    std::int32_t position() const noexcept { return position_; }
    // Taken into the range.
    bool setPosition(std::int32_t position) {
        return push(position_, std::clamp(position, minimum_, maximum_),
                    &INativeProgressBarImpl::setPosition);
    }
    bool isMarquee() const noexcept { return marquee_; }
    bool setEnableMarqueeAnimation(bool enable) {
        return push(marquee_, enable, &INativeProgressBarImpl::setEnableMarqueeAnimation);
    }
    // Between two steps of the animation; 1 or more.
    std::uint32_t marqueeInterval() const noexcept { return marqueeInterval_; }
    bool setMarqueeInterval(std::uint32_t milliseconds) {
        return push(marqueeInterval_, std::max(milliseconds, std::uint32_t{1}),
                    &INativeProgressBarImpl::setMarqueeInterval);
    }
    ProgressState state() const noexcept { return state_; }
    bool setState(ProgressState state) {
        return push(state_, state, &INativeProgressBarImpl::setState);
    }

    Size preferredSize() override;

private:
    // Assigns and tells the backend; whether there was a change.
    template <class T>
    bool push(T& member, T value, void (INativeProgressBarImpl::*slot)(T)) {
        const bool changed = std::exchange(member, value) != value;
        if (changed && hasImplementation()) {
            (implementation().*slot)(value);
        }
        return changed;
    }

    std::int32_t minimum_ = 0;
    std::int32_t maximum_ = 100;
    std::int32_t position_ = 0;
    std::uint32_t marqueeInterval_ = 30;
    ProgressState state_ = ProgressState::kNormal;
    bool marquee_ = false;
};

}  // namespace zustd
