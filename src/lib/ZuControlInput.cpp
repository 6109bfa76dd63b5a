// The part of a control that hears and tells: messages, mouse and keyboard.
#include "ZuControl.h"

namespace zustd {

using enum MessageWords;

const MessageKind Control::kEnterHovering(L"enterHovering.Control", kNumbers);
const MessageKind Control::kLeaveHovering(L"leaveHovering.Control", kNumbers);
const MessageKind Control::kEnterLeftClicking(L"enterLeftClicking.Control", kNumbers);
const MessageKind Control::kLeaveLeftClicking(L"leaveLeftClicking.Control", kNumbers);
const MessageKind Control::kEnterRightClicking(L"enterRightClicking.Control", kNumbers);
const MessageKind Control::kLeaveRightClicking(L"leaveRightClicking.Control", kNumbers);
const MessageKind Control::kEnterFocus(L"enterFocus.Control", kNumbers);
const MessageKind Control::kLeaveFocus(L"leaveFocus.Control", kNumbers);
const MessageKind Control::kLeftClicked(L"leftClicked.Control", kNumbers);
const MessageKind Control::kRightClicked(L"rightClicked.Control", kNumbers);
const MessageKind Control::kDragging(L"dragging.Control", kNumbers);
const MessageKind Control::kDropped(L"dropped.Control", kNumbers);
const MessageKind Control::kScrolledMousewheel(L"scrolledmousewheel.Control", kNumbers);
const MessageKind Control::kCtrlScrolledMousewheel(L"ctrlScrolledmousewheel.Control", kNumbers);
const MessageKind Control::kShiftScrolledMousewheel(L"shiftScrolledmousewheel.Control", kNumbers);
const MessageKind Control::kScrolled(L"scrolled.Control", kNumbers);
const MessageKind Control::kScrolledHorizontally(L"scrolledhorizontally.Control", kNumbers);
const MessageKind Control::kScrolledVertically(L"scrolledvertically.Control", kNumbers);
const MessageKind Control::kKeyPressed(L"keyPressed.Control", kNumbers);
const MessageKind Control::kSelectNextItem(L"selectNextItem.Control", kNumbers);
const MessageKind Control::kSelectPreviousItem(L"selectPreviousItem.Control", kNumbers);
const MessageKind Control::kMoveUp(L"moveUp.Control", kNumbers);
const MessageKind Control::kMoveDown(L"moveDown.Control", kNumbers);
const MessageKind Control::kToggleExpandCollapse(L"toggleExpandCollapse.Control", kNumbers);
const MessageKind Control::kSelected(L"selected.Control", kNumbers);
const MessageKind Control::kUnselected(L"unselected.Control", kNumbers);
const MessageKind Control::kChangePreferredWidth(L"changePreferredWidth.Control", kNumbers);
const MessageKind Control::kChangePreferredHeight(L"changePreferredHeight.Control", kNumbers);
const MessageKind Control::kShouldRefresh(L"shouldRefresh.Control", kNumbers);
const MessageKind Control::kShouldReselectCurrentChild(L"shouldReselectCurrentChild.Control",
                                                       kNumbers);
const MessageKind Control::kShouldScrollChildIntoView(L"shouldScrollChildIntoView.Control",
                                                      kObject);
const MessageKind Control::kBeforeDisplayTooltip(L"beforeDisplayTooltip.Control", kNumbers);
const MessageKind Control::kClose(L"close.Control", kObject);

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
