// The part of a control that has a place and gives its children theirs.
#include "ZuControl.h"

#include <algorithm>
#include <limits>

#include "ZuLayout.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// Room for a layout that is only asked what it needs; half of the range, so
// that positions beyond it are still numbers.
constexpr std::int32_t kUnlimited = std::numeric_limits<std::int32_t>::max() / 2;

std::int32_t roomFor(std::int32_t maximum, std::int32_t margin) noexcept {
    return maximum > 0 ? std::max(saturate(std::int64_t{maximum} - 2 * std::int64_t{margin}), 1)
                       : kUnlimited;
}

std::int32_t withMargins(std::int32_t extent, std::int32_t margin) noexcept {
    return saturate(extent + 2 * std::int64_t{margin});
}

LayoutOptions optionsOf(const Control& control) noexcept {
    LayoutOptions options;
    options.alignment = control.arrangement() == Arrangement::kRows ? control.horizontalAlignment()
                                                                    : control.verticalAlignment();
    options.uniformWidth = control.hasUniformWidth();
    options.uniformHeight = control.hasUniformHeight();
    options.measure = control.measuresChildren();
    options.wrap = control.wraps();
    return options;
}

}  // namespace

// --- Geometry -------------------------------------------------------------------------------

bool Control::setBoundary(const Rect& boundary) {
    const std::shared_ptr<Control> self = sharedReference(this);
    const Rect before = boundaryOnSurface();
    if (!place(boundary)) {
        return false;
    }
    if (backend() == nullptr && parent_ != nullptr) {
        const Control* holder = surface();
        const std::shared_ptr<WindowService> window = holder ? windowService() : nullptr;
        if (window) {
            window->invalidate(before);
        }
    }
    stateChanged();
    synchronizeBelow();
    return true;
}

bool Control::moveTo(Point place) {
    Rect moved = boundary_;
    moved.moveTo(place);
    return setBoundary(moved);
}

bool Control::setSize(Size size) {
    Rect resized = boundary_;
    resized.setSize(size);
    return setBoundary(resized);
}

Rect Control::boundaryOnSurface() const noexcept { return area().movedBy(toSurface({0, 0})); }

Point Control::toSurface(Point point) const noexcept {
    const Control* climbing = this;
    // A surface's own boundary is a matter between it and the screen.
    while (climbing->parent_ != nullptr &&
           const_cast<Control*>(climbing)->inputRouter() == nullptr) {
        point = point.movedBy(climbing->boundary_.position());
        climbing = climbing->parent_;
    }
    return point;
}

Point Control::fromSurface(Point point) const noexcept {
    return point.movedBy(toSurface({0, 0}).negated());
}

Rect Control::area() const noexcept { return Rect::at({0, 0}, boundary_.size()); }

Rect Control::innerArea() const noexcept {
    return area().shrunkBy(horizontalMargin_, verticalMargin_);
}

// --- Layout properties ----------------------------------------------------------------------

bool Control::setArrangement(Arrangement arrangement) { return change(arrangement_, arrangement); }

bool Control::setWraps(bool wraps) { return change(wraps_, wraps); }

bool Control::setUniform(bool width, bool height) {
    const ControlUpdate update(*this);
    const bool widthChanged = change(uniformWidth_, width);
    return change(uniformHeight_, height) || widthChanged;
}

bool Control::setMeasuresChildren(bool measures) { return change(measuresChildren_, measures); }

bool Control::setSpacing(std::int32_t horizontal, std::int32_t vertical) {
    const ControlUpdate update(*this);
    const bool horizontalChanged = change(horizontalSpacing_, horizontal);
    return change(verticalSpacing_, vertical) || horizontalChanged;
}

bool Control::setMargins(std::int32_t horizontal, std::int32_t vertical) {
    const ControlUpdate update(*this);
    const bool horizontalChanged = change(horizontalMargin_, horizontal);
    return change(verticalMargin_, vertical) || horizontalChanged;
}

bool Control::setAlignment(Alignment horizontal, Alignment vertical) {
    const ControlUpdate update(*this);
    const bool horizontalChanged = change(horizontalAlignment_, horizontal);
    return change(verticalAlignment_, vertical) || horizontalChanged;
}

bool Control::setAutoSized(bool autoSized) { return change(autoSized_, autoSized); }

bool Control::setMinimumSize(Size size) { return change(minimumSize_, size); }

bool Control::setMaximumSize(Size size) { return change(maximumSize_, size); }

bool Control::setBreaksLineAfter(bool breaks) { return change(breaksLineAfter_, breaks); }

Size Control::withinLimits(Size size) const noexcept {
    const auto within = [](std::int32_t extent, std::int32_t minimum, std::int32_t maximum) {
        extent = std::max(extent, minimum);
        return maximum > 0 ? std::min(extent, maximum) : extent;
    };
    return {within(size.width, minimumSize_.width, maximumSize_.width),
            within(size.height, minimumSize_.height, maximumSize_.height)};
}

Size Control::preferredSize() {
    return arrangement_ == Arrangement::kManual ? boundary_.size() : sizeWithin(maximumSize_);
}

Size Control::preferredSizeForWidth(std::int32_t width) {
    if (arrangement_ != Arrangement::kRows || !wraps_) {
        return preferredSize();
    }
    width = std::max(maximumSize_.width > 0 ? std::min(width, maximumSize_.width) : width, 1);
    return sizeWithin({width, maximumSize_.height});
}

// What the arrangement needs.
Size Control::sizeWithin(Size maximum) {
    const Size room{roomFor(maximum.width, horizontalMargin_),
                    roomFor(maximum.height, verticalMargin_)};
    const auto measure = arrangement_ == Arrangement::kRows ? measureRows : measureColumns;
    const Size content = measure(*this, Rect::at({0, 0}, room), children_, optionsOf(*this));
    return withinLimits({withMargins(content.width, horizontalMargin_),
                         withMargins(content.height, verticalMargin_)});
}

void Control::arrange() {
    const std::shared_ptr<Control> self = sharedReference(this);
    rearrange();
    showChildren();
}

void Control::rearrange() {
    if (!arranging_) {
        const std::shared_ptr<Control> self = sharedReference(this);
        const Mark arranging(arranging_);
        arrangeChildren();
    }
}

bool Control::place(const Rect& boundary) {
    const Rect normal = Rect::at(boundary.position(), boundary.size());
    const bool changed = normal != boundary_;
    boundary_ = normal;
    // A layout may have given the control its size already.
    if (normal.size() != arrangedSize_) {
        arrangedSize_ = normal.size();
        rearrange();
    }
    return changed;
}

void Control::showChildren() {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (backend() == nullptr || inputRouter() != nullptr) {
        refresh();
    }
    synchronizeBelow();
}

void Control::arrangeChildren() {
    if (arrangement_ == Arrangement::kManual) {
        return;
    }
    // Whatever a child does when it is placed, these stay.
    const Controls kept = children_;
    const auto layOut = arrangement_ == Arrangement::kRows ? layoutInRows : layoutInColumns;
    layOut(*this, innerArea(), kept, optionsOf(*this));
    // What wraps in its share of a row says only then how high it gets.
    const auto wantsOtherHeight = [](const std::shared_ptr<Control>& child) {
        return child->isVisible() && child->isAutoSized() &&
               child->preferredSize().height != child->boundary().height();
    };
    if (arrangement_ == Arrangement::kRows && measuresChildren_ &&
        std::any_of(kept.begin(), kept.end(), wantsOtherHeight)) {
        layOut(*this, innerArea(), kept, optionsOf(*this));
    }
}

}  // namespace zustd
