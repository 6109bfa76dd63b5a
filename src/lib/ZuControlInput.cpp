// The part of a control that hears and tells: messages, mouse and keyboard.
#include "ZuControl.h"

#include "ZuTooltip.h"

namespace zustd {

const MessageKind Control::kEnterHovering(L"enterHovering.Control");
const MessageKind Control::kLeaveHovering(L"leaveHovering.Control");
const MessageKind Control::kEnterLeftClicking(L"enterLeftClicking.Control");
const MessageKind Control::kLeaveLeftClicking(L"leaveLeftClicking.Control");
const MessageKind Control::kEnterRightClicking(L"enterRightClicking.Control");
const MessageKind Control::kLeaveRightClicking(L"leaveRightClicking.Control");
const MessageKind Control::kEnterFocus(L"enterFocus.Control");
const MessageKind Control::kLeaveFocus(L"leaveFocus.Control");
const MessageKind Control::kLeftClicked(L"leftClicked.Control");
const MessageKind Control::kRightClicked(L"rightClicked.Control");
const MessageKind Control::kDragging(L"dragging.Control");
const MessageKind Control::kDropped(L"dropped.Control");
const MessageKind Control::kScrolledMousewheel(L"scrolledmousewheel.Control");
const MessageKind Control::kCtrlScrolledMousewheel(L"ctrlScrolledmousewheel.Control");
const MessageKind Control::kShiftScrolledMousewheel(L"shiftScrolledmousewheel.Control");
const MessageKind Control::kScrolled(L"scrolled.Control");
const MessageKind Control::kScrolledHorizontally(L"scrolledhorizontally.Control");
const MessageKind Control::kScrolledVertically(L"scrolledvertically.Control");
const MessageKind Control::kKeyPressed(L"keyPressed.Control");
const MessageKind Control::kSelectNextItem(L"selectNextItem.Control");
const MessageKind Control::kSelectPreviousItem(L"selectPreviousItem.Control");
const MessageKind Control::kMoveUp(L"moveUp.Control");
const MessageKind Control::kMoveDown(L"moveDown.Control");
const MessageKind Control::kToggleExpandCollapse(L"toggleExpandCollapse.Control");
const MessageKind Control::kSelected(L"selected.Control");
const MessageKind Control::kUnselected(L"unselected.Control");
const MessageKind Control::kChangePreferredWidth(L"changePreferredWidth.Control");
const MessageKind Control::kChangePreferredHeight(L"changePreferredHeight.Control");
const MessageKind Control::kShouldRefresh(L"shouldRefresh.Control");
const MessageKind Control::kShouldReselectCurrentChild(L"shouldReselectCurrentChild.Control");
const MessageKind Control::kShouldScrollChildIntoView(L"shouldScrollChildIntoView.Control");
const MessageKind Control::kBeforeDisplayTooltip(L"beforeDisplayTooltip.Control");
const MessageKind Control::kClose(L"close.Control");

MessageWord wordOfPoint(Point point) noexcept {
    const std::uint64_t bits = (std::uint64_t{static_cast<std::uint32_t>(point.y)} << 32) |
                               static_cast<std::uint32_t>(point.x);
    return MessageWord(static_cast<std::int64_t>(bits));
}

Point pointOfWord(MessageWord word) noexcept {
    const auto bits = static_cast<std::uint64_t>(word.number());
    return {static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)),
            static_cast<std::int32_t>(static_cast<std::uint32_t>(bits >> 32))};
}

// --- Input ----------------------------------------------------------------------------------

bool Control::onMouse(const MouseEvent&) { return false; }

bool Control::onKey(const KeyEvent&) { return false; }

bool Control::notify(const MessageKind& kind, MessageWord b) {
    return sendMessage(kind, MessageWord::ofObject(this), b);
}

Control* Control::controlAt(Point point) noexcept {
    if (!visible_ || !area().contains(point)) {
        return nullptr;
    }
    for (auto child = children_.rbegin(); child != children_.rend(); ++child) {
        const Point inChild = point.movedBy((*child)->boundary_.position().negated());
        if (Control* found = (*child)->controlAt(inChild)) {
            return found;
        }
    }
    return takesMouse_ || !tooltip_.isEmpty() ? this : nullptr;
}

void Control::showTooltip(Point place) { startTooltip(*this, place); }

void Control::hideTooltip() { stopTooltip(*this); }

void Control::acceptHover(bool hovered) {
    if (hovered_ != hovered) {
        hovered_ = hovered;
        onInputStateChanged();
        notify(hovered ? kEnterHovering : kLeaveHovering);
    }
}

void Control::acceptPress(bool left, bool pressed) {
    bool& state = left ? leftPressed_ : rightPressed_;
    if (state == pressed) {
        return;
    }
    state = pressed;
    onInputStateChanged();
    if (left) {
        notify(pressed ? kEnterLeftClicking : kLeaveLeftClicking);
    } else {
        notify(pressed ? kEnterRightClicking : kLeaveRightClicking);
    }
}

void Control::acceptFocus(bool focused) {
    if (focused_ != focused) {
        focused_ = focused;
        onInputStateChanged();
        notify(focused ? kEnterFocus : kLeaveFocus);
    }
}

void Control::onInputStateChanged() {}

// --- Messages -------------------------------------------------------------------------------

bool Control::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    // A receiver may remove the control, or destroy what holds it.
    const std::shared_ptr<Control> self = sharedReference(this);
    if (!MessageForwarder::sendMessage(kind, a, b)) {
        return false;
    }
    if (Control* parent = parent_) {
        const std::shared_ptr<Control> kept = sharedReference(parent);
        parent->receiveMessage(kind, a, b);
    }
    return true;
}

bool Control::onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) {
    if (kind == ChangeTracker::kPropertyChanged) {
        onDescriptorChanged();
        return true;
    }
    return false;
}

std::shared_ptr<SharedObject> Control::sinkOwner() const {
    return std::const_pointer_cast<SharedObject>(SharedObject::weak_from_this().lock());
}

std::shared_ptr<SharedObject> Control::sourceOwner() const { return sinkOwner(); }

}  // namespace zustd
