#include "ZuForkControl.h"

namespace zustd {

namespace {

// At a scaling factor of 1: the square that the arrow is drawn in, the space
// on its both sides, and the one above and below the caption.
constexpr std::int32_t kArrow = 8;
constexpr std::int32_t kArrowGap = 4;
constexpr std::int32_t kHeaderPadding = 3;

}  // namespace

ForkControl::ForkControl(const std::wstring& caption) : DrawnText(caption) {
    changeFormat({.vertical = TextAlignment::kCentre, .ellipsis = true});
    setFocusable(true);
}

void ForkControl::initialize() {
    body_ = makeControl<Control>();
    body_->setArrangement({.flow = Flow::kColumns});
    body_->setTakesMouse(false);
    body_->setVisible(open_);
    addChild(body_);
}

bool ForkControl::setOpen(bool open) {
    if (open_ == open) {
        return false;
    }
    // Its receivers may remove the fork.
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    const std::shared_ptr<Control> focused = focusedOnSurface();
    if (!open && focused && body_->isAncestorOf(*focused)) {
        // What is hidden would lose it to nobody.
        takeFocus();
        if (open_ == open) {
            return false;
        }
    }
    {
        const ControlUpdate update(*this);
        change(open_, open);
        takeHeight();
        body_->setVisible(open);
    }
    notify(kToggleExpandCollapse);
    tellHeight();
    return true;
}

std::int32_t ForkControl::headerHeight() const {
    const std::int32_t text = textSize().height;
    return saturatedSum(std::max(text, scale(kArrow)), 2 * scale(kHeaderPadding));
}

Size ForkControl::preferredSizeForWidth(std::int32_t width) {
    const std::int32_t room = saturate(std::int64_t{width} - indent());
    return withBody(open_ ? body_->preferredSizeForWidth(room) : Size());
}

bool ForkControl::onKey(const KeyEvent& event) {
    if (!hasFocus()) {
        // A key of something in the body.
        return false;
    }
    if (isPressingKey(event)) {
        return setOpen(!open_);
    }
    return (event.key == kKeyRight || event.key == kKeyLeft) && setOpen(event.key == kKeyRight);
}

bool ForkControl::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (kind == kLeftClicked && a.object<Control>() == this && header().contains(pointOfWord(b))) {
        setOpen(!open_);
    }
    return DrawnText::sendMessage(kind, a, b);
}

bool ForkControl::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (kind == kChangePreferredHeight && open_) {
        // Something in the body is higher or lower now: so is the fork.
        takeHeight();
        tellHeight();
        return true;
    }
    return DrawnText::onReceiveMessage(kind, a, b);
}

void ForkControl::drawSelf(GraphicsService& graphics) {
    drawBackground(graphics);
    drawArrow(graphics);
    Rect caption = header();
    caption.left = std::min(indent(), caption.right);
    drawTextIn(graphics, caption,
               frontColor(*this, isHovered() ? ColorRole::kHoverText : ColorRole::kText));
    if (hasFocus()) {
        graphics.drawFocusFrame(header());
    }
}

void ForkControl::arrangeChildren() {
    if (open_) {
        body_->place({indent(), headerHeight(), area().right, area().bottom});
    }
}

void ForkControl::onJoinedSurface() {
    DrawnText::onJoinedSurface();
    if (open_) {
        // The height of the texts may be known only by now.
        takeHeight();
    }
}

void ForkControl::onDescriptorChanged() {
    if (open_) {
        takeHeight();
        arrange();
        tellHeight();
    }
    DrawnText::onDescriptorChanged();
}

std::int32_t ForkControl::indent() const { return scale(kArrow + 2 * kArrowGap); }

// An angle that points to the right, or down when the fork is open.
void ForkControl::drawArrow(GraphicsService& graphics) const {
    const std::int32_t half = scale(kArrow) / 2;
    const Point middle{scale(kArrowGap) + half, headerHeight() / 2};
    const std::int32_t reach = half / 2;
    const auto at = [&](std::int32_t along, std::int32_t across) {
        return middle.movedBy(open_ ? Point{across, along} : Point{along, across});
    };
    const ColorRole role = isHovered() ? ColorRole::kSelectedBackground : ColorRole::kText;
    graphics.setPen(frontColor(*this, role), std::max(scale(1), 1));
    graphics.drawLine(at(-reach, -half), at(reach, 0));
    graphics.drawLine(at(reach, 0), at(-reach, half));
}

Size ForkControl::withBody(Size body) const {
    const std::int32_t caption = saturatedSum(indent(), textSize().width);
    return withinLimits({std::max(caption, saturatedSum(indent(), body.width)),
                         saturatedSum(headerHeight(), body.height)});
}

}  // namespace zustd
