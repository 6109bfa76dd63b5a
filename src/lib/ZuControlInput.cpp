// The part of a control that hears and tells: messages, mouse and keyboard.
#include "ZuControl.h"

namespace zustd {

using enum MessageWords;

ZU_MESSAGE_KIND(Control::kEnterHovering, kNumbers);
ZU_MESSAGE_KIND(Control::kLeaveHovering, kNumbers);
ZU_MESSAGE_KIND(Control::kEnterLeftClicking, kNumbers);
ZU_MESSAGE_KIND(Control::kLeaveLeftClicking, kNumbers);
ZU_MESSAGE_KIND(Control::kEnterRightClicking, kNumbers);
ZU_MESSAGE_KIND(Control::kLeaveRightClicking, kNumbers);
ZU_MESSAGE_KIND(Control::kEnterFocus, kNumbers);
ZU_MESSAGE_KIND(Control::kLeaveFocus, kNumbers);
ZU_MESSAGE_KIND(Control::kLeftClicked, kNumbers);
ZU_MESSAGE_KIND(Control::kRightClicked, kNumbers);
ZU_MESSAGE_KIND(Control::kDragging, kNumbers);
ZU_MESSAGE_KIND(Control::kDropped, kNumbers);
const MessageKind Control::kScrolledMousewheel(L"scrolledmousewheel.Control", kNumbers);
const MessageKind Control::kCtrlScrolledMousewheel(L"ctrlScrolledmousewheel.Control", kNumbers);
const MessageKind Control::kShiftScrolledMousewheel(L"shiftScrolledmousewheel.Control", kNumbers);
ZU_MESSAGE_KIND(Control::kScrolled, kNumbers);
const MessageKind Control::kScrolledHorizontally(L"scrolledhorizontally.Control", kNumbers);
const MessageKind Control::kScrolledVertically(L"scrolledvertically.Control", kNumbers);
ZU_MESSAGE_KIND(Control::kKeyPressed, kNumbers);
ZU_MESSAGE_KIND(Control::kSelectNextItem, kNumbers);
ZU_MESSAGE_KIND(Control::kSelectPreviousItem, kNumbers);
ZU_MESSAGE_KIND(Control::kMoveUp, kNumbers);
ZU_MESSAGE_KIND(Control::kMoveDown, kNumbers);
ZU_MESSAGE_KIND(Control::kToggleExpandCollapse, kNumbers);
ZU_MESSAGE_KIND(Control::kSelected, kNumbers);
ZU_MESSAGE_KIND(Control::kUnselected, kNumbers);
ZU_MESSAGE_KIND(Control::kChangePreferredWidth, kNumbers);
ZU_MESSAGE_KIND(Control::kChangePreferredHeight, kNumbers);
ZU_MESSAGE_KIND(Control::kShouldRefresh, kNumbers);
ZU_MESSAGE_KIND(Control::kShouldReselectCurrentChild, kNumbers);
ZU_MESSAGE_KIND(Control::kShouldScrollChildIntoView, kObject);
ZU_MESSAGE_KIND(Control::kBeforeDisplayTooltip, kNumbers);
ZU_MESSAGE_KIND(Control::kClose, kObject);

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

void Control::acceptState(bool& member, bool value, const MessageKind& entered,
                          const MessageKind& left) {
    if (member != value) {
        const std::shared_ptr<Control> self = sharedReference(this);
        member = value;
        onInputStateChanged();
        notify(value ? entered : left);
    }
}

void Control::acceptPress(bool left, bool on) {
    acceptState(left ? leftPressed_ : rightPressed_, on,
                left ? kEnterLeftClicking : kEnterRightClicking,
                left ? kLeaveLeftClicking : kLeaveRightClicking);
}

bool Control::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    // A receiver may remove the control, or destroy what holds it.
    const std::shared_ptr<Control> self = sharedReference(this);
    const bool sent = MessageForwarder::sendMessage(kind, a, b);
    if (Control* parent = sent ? parent_ : nullptr) {
        const std::shared_ptr<Control> kept = sharedReference(parent);
        parent->receiveMessage(kind, a, b);
    }
    return sent;
}

bool Control::onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) {
    if (kind == ChangeTracker::kPropertyChanged) {
        onDescriptorChanged();
        return true;
    }
    if ((kind == kChangePreferredWidth || kind == kChangePreferredHeight) &&
        arrangement_.flow != Flow::kManual) {
        // This one may be larger or smaller now too, and goes on to say so.
        arrange();
    }
    return false;
}

std::shared_ptr<SharedObject> Control::sinkOwner() const {
    return std::const_pointer_cast<SharedObject>(SharedObject::weak_from_this().lock());
}

}  // namespace zustd
