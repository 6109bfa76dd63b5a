#include "ZuInput.h"

#include <cstdlib>

#include "ZuControl.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// How far the pointer moves, in pixels on an axis, before a press is a drag.
constexpr std::int32_t kDragThreshold = 4;

MouseEvent eventFor(const Control& control, MouseEvent event) noexcept {
    event.position = control.fromSurface(event.position);
    return event;
}

bool isFar(Point from, Point to) noexcept {
    return std::abs(std::int64_t{from.x} - to.x) > kDragThreshold ||
           std::abs(std::int64_t{from.y} - to.y) > kDragThreshold;
}

const MessageKind& wheelMessage(std::uint32_t modifiers) noexcept {
    if ((modifiers & kModifierControl) != 0) {
        return Control::kCtrlScrolledMousewheel;
    }
    return (modifiers & kModifierShift) != 0 ? Control::kShiftScrolledMousewheel
                                             : Control::kScrolledMousewheel;
}

void collectFocusable(Control& control, std::vector<Control*>& out) {
    if (!control.isVisible() || !control.isEnabled()) {
        return;
    }
    if (control.isFocusable()) {
        out.push_back(&control);
    }
    for (const std::shared_ptr<Control>& child : control.children()) {
        collectFocusable(*child, out);
    }
}

// Asks a control and then those above it, up to the last, until one uses the
// event; null for the last asks them all.
template <class Use>
bool offerUpwards(const std::shared_ptr<Control>& first, const Control* last, Use&& use) {
    for (std::shared_ptr<Control> climbing = first; climbing;) {
        if (climbing->isUsable() && use(*climbing)) {
            return true;
        }
        climbing = sharedReference(climbing.get() == last ? nullptr : climbing->parentControl());
    }
    return false;
}

// Surfaces on a surface take turns with it in one focus order.
Control& outermost(Control& surface) noexcept {
    Control* holder = surface.parentControl();
    Control* above = holder != nullptr ? holder->surface() : nullptr;
    return above != nullptr ? outermost(*above) : surface;
}

}  // namespace

template <class Tell>
void InputRouter::tellWindow(Tell&& tell) const {
    if (const auto window = surface_.windowService()) {
        tell(*window);
    }
}

// --- Mouse ----------------------------------------------------------------------------------

bool InputRouter::routeMouse(const MouseEvent& event) {
    const std::shared_ptr<Control> alive = sharedReference(&surface_);
    const std::shared_ptr<Control> held = pressed();
    const std::shared_ptr<Control> under = sharedReference(surface_.controlAt(event.position));
    switch (event.action) {
        case MouseAction::kMove:
            // During a press only its control is hovered.
            moveHover(held && under != held ? nullptr : under, event.position);
            drag(event);
            return deliver(held ? held : under, event);
        case MouseAction::kLeave:
            moveHover(nullptr, event.position);
            break;
        case MouseAction::kLeftDown:
        case MouseAction::kLeftDouble:
        case MouseAction::kRightDown:
            // A second button during a press belongs to the first one's control.
            if (held) {
                return deliver(held, event);
            }
            if (!under || !under->isUsable()) {
                return false;
            }
            deliver(under, event);
            press(under, event);
            return true;
        case MouseAction::kLeftUp:
        case MouseAction::kRightUp:
            release(event);
            return held != nullptr;
        case MouseAction::kWheel:
        case MouseAction::kHorizontalWheel:
            return scroll(held ? held : under, event);
    }
    return false;
}

void InputRouter::moveHover(const std::shared_ptr<Control>& target, Point position) {
    const std::shared_ptr<Control> before = hovered_.lock();
    if (before == target) {
        return;
    }
    hovered_ = target;
    if (before) {
        before->hideTooltip();
        before->acceptHover(false);
    }
    // Whoever heard of the leaving may have moved on, and so may who hears of the entering.
    if (target && hovered_.lock() == target) {
        target->acceptHover(true);
    }
    if (!target || hovered_.lock() != target) {
        return;
    }
    tellWindow([&](WindowService& window) { window.setCursor(target->cursor()); });
    if (press_.button == Button::kNone) {
        target->showTooltip(position);
    }
}

void InputRouter::press(const std::shared_ptr<Control>& target, const MouseEvent& event) {
    // The control has had the event, and may have gone by it.
    if (press_.button != Button::kNone || !target->isUsable() || target->surface() != &surface_) {
        return;
    }
    const Button button = event.action == MouseAction::kRightDown ? Button::kRight : Button::kLeft;
    press_ = {button, target, event.position};
    tellWindow([&](WindowService& window) { window.captureMouse(); });
    target->hideTooltip();
    if (target->isFocusable()) {
        setFocus(target.get());
    }
    // Whoever heard of the focus may have ended the press.
    if (press_.button == button && pressed() == target) {
        target->acceptPress(button == Button::kLeft, true);
    }
}

void InputRouter::release(const MouseEvent& event) {
    const bool left = event.action == MouseAction::kLeftUp;
    if (press_.button != (left ? Button::kLeft : Button::kRight)) {
        return;
    }
    const Press ended = std::exchange(press_, {});
    const std::shared_ptr<Control> held = ended.control.lock();
    tellWindow([&](WindowService& window) { window.releaseMouse(); });
    if (!held) {
        return;
    }
    const MessageWord place = wordOfPoint(held->fromSurface(event.position));
    const bool inside = surface_.controlAt(event.position) == held.get();
    deliver(held, event);
    held->acceptPress(left, false);
    if (ended.dragging) {
        held->notify(Control::kDropped, place);
    } else if (inside && held->isUsable() && held->surface() == &surface_) {
        held->notify(left ? Control::kLeftClicked : Control::kRightClicked, place);
    }
}

void InputRouter::drag(const MouseEvent& event) {
    const std::shared_ptr<Control> held = pressed();
    if (press_.button != Button::kLeft || !held || !held->isDraggable()) {
        return;
    }
    press_.dragging = press_.dragging || isFar(press_.position, event.position);
    if (press_.dragging) {
        held->notify(Control::kDragging, wordOfPoint(held->fromSurface(event.position)));
    }
}

bool InputRouter::scroll(const std::shared_ptr<Control>& target, const MouseEvent& event) {
    if (!target) {
        return false;
    }
    target->hideTooltip();
    if (offerUpwards(target, &surface_,
                     [&](Control& control) { return control.onMouse(eventFor(control, event)); })) {
        return true;
    }
    target->notify(wheelMessage(event.modifiers), MessageWord(std::intptr_t{event.wheel}));
    return false;
}

bool InputRouter::deliver(const std::shared_ptr<Control>& target, const MouseEvent& event) {
    return target && target->isUsable() && target->onMouse(eventFor(*target, event));
}

void InputRouter::cancelPress() {
    const Press ended = std::exchange(press_, {});
    if (const auto held = ended.control.lock()) {
        held->acceptPress(ended.button == Button::kLeft, false);
    }
}

// --- Keyboard -------------------------------------------------------------------------------

bool InputRouter::routeKey(const KeyEvent& event) {
    const std::shared_ptr<Control> focused = focused_.lock();
    return routeKeyFrom(focused ? *focused : surface_, event);
}

bool InputRouter::routeKeyFrom(Control& control, const KeyEvent& event) {
    const std::shared_ptr<Control> alive = sharedReference(&surface_);
    const std::shared_ptr<Control> first = sharedReference(&control);
    if (offerUpwards(first, nullptr, [&](Control& above) { return above.onKey(event); })) {
        return true;
    }
    if (first) {
        first->notify(Control::kKeyPressed, MessageWord(std::int64_t{event.key}));
    }
    return navigate(event);
}

bool InputRouter::navigate(const KeyEvent& event) {
    if (event.key == kKeyTab && !event.has(kModifierControl | kModifierAlt)) {
        return moveFocus(event.has(kModifierShift));
    }
    const std::shared_ptr<Control> focused = focused_.lock();
    if (focused && (event.key == kKeyUp || event.key == kKeyDown)) {
        const bool up = event.key == kKeyUp;
        const auto& item = up ? Control::kSelectPreviousItem : Control::kSelectNextItem;
        const auto& move = up ? Control::kMoveUp : Control::kMoveDown;
        focused->notify(event.has(kModifierControl) ? move : item);
    }
    return false;
}

bool InputRouter::setFocus(Control* control) {
    const std::shared_ptr<Control> alive = sharedReference(&surface_);
    if (control == nullptr) {
        changeFocus(nullptr);
        return true;
    }
    if (!control->isFocusable() || !control->isUsable() || !control->isShown() ||
        control->surface() != &surface_) {
        return false;
    }
    const std::shared_ptr<Control> kept = sharedReference(control);
    changeFocus(kept);
    // Whoever heard of it may have given the focus to another control.
    if (focused_.lock() != kept) {
        return false;
    }
    tellWindow([&](WindowService& window) { window.setFocus(*control); });
    return true;
}

bool InputRouter::moveFocus(bool backwards) {
    std::vector<Control*> order;
    collectFocusable(outermost(surface_), order);
    if (order.empty()) {
        return false;
    }
    std::ranges::stable_sort(order, {}, &Control::focusOrder);
    if (backwards) {
        std::ranges::reverse(order);
    }
    const auto at = std::ranges::find(order, focused().get());
    const bool last = at == order.end() || at + 1 == order.end();
    const std::shared_ptr<Control> chosen = sharedReference(last ? order.front() : *(at + 1));
    if (chosen->surface() != &surface_) {
        changeFocus(nullptr);
    }
    return chosen->takeFocus();
}

void InputRouter::acceptFocus(Control* control) {
    const std::shared_ptr<Control> alive = sharedReference(&surface_);
    changeFocus(sharedReference(control));
}

void InputRouter::changeFocus(const std::shared_ptr<Control>& control) {
    const std::shared_ptr<Control> before = focused_.lock();
    if (before == control) {
        return;
    }
    focused_ = control;
    if (before) {
        before->acceptFocus(false);
    }
    if (control && focused_.lock() == control) {
        control->acceptFocus(true);
    }
}

// --- Leaving --------------------------------------------------------------------------------

void InputRouter::forget(const Control& control, bool itself) {
    const std::shared_ptr<Control> alive = sharedReference(&surface_);
    const auto leaves = [&control, itself](const std::shared_ptr<Control>& other) {
        return other && control.isAncestorOf(*other) && (itself || other.get() != &control);
    };
    if (leaves(pressed())) {
        tellWindow([&](WindowService& window) { window.releaseMouse(); });
        cancelPress();
    }
    if (leaves(hovered())) {
        moveHover(nullptr, {});
    }
    if (leaves(focused())) {
        changeFocus(nullptr);
    }
}

}  // namespace zustd
