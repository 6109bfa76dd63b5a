// The part of a control that has a place and gives its children theirs.
#include "ZuControl.h"

#include "ZuScope.h"
#include "ZuWindowService.h"

namespace zustd {

bool Control::setBoundary(const Rect& boundary) {
    const std::shared_ptr<Control> self = sharedReference(this);
    const Rect before = boundaryOnSurface();
    if (!place(boundary)) {
        return false;
    }
    const bool drawn = backend() == nullptr && parent_ != nullptr && surface() != nullptr;
    if (const auto window = drawn ? windowService() : nullptr) {
        window->invalidate(before);
    }
    stateChanged();
    synchronizeBelow();
    return true;
}

Point Control::toSurface(Point point) const noexcept {
    // A surface's own boundary is a matter between it and the screen.
    const Control* top = surface();
    for (const Control* at = this; at != top && at->parent_ != nullptr; at = at->parent_) {
        point = point.movedBy(at->boundary_.position());
    }
    return point;
}

Size Control::withinLimits(Size size) const noexcept {
    const auto within = [](std::int32_t extent, std::int32_t minimum, std::int32_t maximum) {
        return limited(std::max(extent, minimum), maximum);
    };
    return {within(size.width, placement_.minimum.width, placement_.maximum.width),
            within(size.height, placement_.minimum.height, placement_.maximum.height)};
}

Size Control::preferredSize() {
    return arrangement_.flow == Flow::kManual ? boundary_.size() : sizeWithin(placement_.maximum);
}

Size Control::preferredSizeForWidth(std::int32_t width) {
    if (arrangement_.flow != Flow::kRows || !arrangement_.wrap) {
        return preferredSize();
    }
    const Size maximum = placement_.maximum;
    return sizeWithin({std::max(limited(width, maximum.width), 1), maximum.height});
}

// What the arrangement needs.
Size Control::sizeWithin(Size maximum) {
    const Size inner = maximum.shrunkBy(arrangement_.margin);
    const Size room{maximum.width > 0 ? inner.width : kUnlimited,
                    maximum.height > 0 ? inner.height : kUnlimited};
    return sizeAround(measureLayout(arrangement_, Rect::at({}, room), children_));
}

void Control::arrange() {
    const std::shared_ptr<Control> self = sharedReference(this);
    rearrange();
    showChildren();
}

void Control::rearrange() {
    if (!arranging_) {
        const std::shared_ptr<Control> self = sharedReference(this);
        const ScopedValue arranging(arranging_, true);
        arrangeChildren();
    }
}

bool Control::place(const Rect& boundary) {
    const Rect normal = Rect::at(boundary.position(), boundary.size());
    const Rect before = std::exchange(boundary_, normal);
    if (normal.size() != before.size()) {
        rearrange();
    }
    return normal != before;
}

void Control::showChildren() {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (backend() == nullptr || inputRouter() != nullptr) {
        refresh();
    }
    synchronizeBelow();
}

void Control::arrangeChildren() {
    if (arrangement_.flow == Flow::kManual) {
        return;
    }
    // Whatever a child does when it is placed, these stay.
    const Controls kept = children_;
    layOut(arrangement_, innerArea(), kept);
    // What wraps in its share of a row says only then how high it gets.
    const auto wantsOtherHeight = [](const std::shared_ptr<Control>& child) {
        return child->isVisible() && child->placement().autoSized &&
               child->preferredSize().height != child->boundary().height();
    };
    if (arrangement_.flow == Flow::kRows && arrangement_.measure &&
        std::ranges::any_of(kept, wantsOtherHeight)) {
        layOut(arrangement_, innerArea(), kept);
    }
}

}  // namespace zustd
