#include "ZuScrollable.h"

#include "ZuGraphicsService.h"
#include "ZuNativeScrollBar.h"
#include "ZuScope.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// What an arrow key scrolls by, at a scaling factor of 1.
constexpr std::int32_t kLine = 16;
// Further than any content reaches.
constexpr std::int32_t kToEnd = std::numeric_limits<std::int32_t>::max();

// The nearest place for a window of this extent from which it shows first to
// last; the first when it cannot show all.
std::int32_t nearestView(std::int32_t position, std::int32_t extent, std::int32_t first,
                         std::int32_t last) noexcept {
    const std::int32_t lowest = saturate(std::int64_t{last} - extent + 1);
    return std::min(std::max(position, lowest), first);
}

// What a bar leaves of an extent: something always.
std::int32_t leftBeside(std::int32_t bar, std::int32_t whole) noexcept {
    return std::max(whole - bar, 1);
}

// What the view does to its bars it announces itself, and what a layout does nobody.
template <class Change>
void silently(NativeScrollBar& bar, Change&& change) {
    const ScopeExit back([&bar, sends = bar.isSendingEnabled()] { bar.setSendingEnabled(sends); });
    bar.setSendingEnabled(false);
    change();
}

}  // namespace

void ScrollView::initialize() {
    viewport_ = makeControl<Control>();
    viewport_->setClipsChildren(true);
    viewport_->setTakesMouse(false);
    addChild(viewport_);
}

void ScrollView::setContent(const std::shared_ptr<Control>& content) {
    // Receivers may drop what holds the caller's reference, or the view.
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::shared_ptr<Control> kept = content;
    viewport_->removeAllChildren();
    content_ = kept;
    position_ = {};
    if (content_) {
        // It may be refused, or put elsewhere.
        const ScopeExit stays([this] {
            if (content_ && content_->parentControl() != viewport_.get()) {
                content_.reset();
            }
        });
        viewport_->addChild(content_);
    }
    arrange();
}

Point ScrollView::highestPosition() const noexcept {
    if (!content_) {
        return {};
    }
    const Size content = content_->boundary().size();
    const Size view = viewport_->boundary().size();
    return {std::max(content.width - view.width, 0), std::max(content.height - view.height, 0)};
}

bool ScrollView::scrollTo(Point position) {
    const Point highest = highestPosition();
    const Point before = position_;
    position_ = {std::clamp(position.x, 0, highest.x), std::clamp(position.y, 0, highest.y)};
    if (position_ == before) {
        return false;
    }
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    content_->place(Rect::at(position_.negated(), content_->boundary().size()));
    viewport_->showChildren();
    showPosition();
    const Point now = position_;
    if (now.x != before.x) {
        notify(kScrolled, MessageWord(std::intptr_t{now.x}));
        notify(kScrolledHorizontally, MessageWord(std::intptr_t{now.x}));
    }
    if (now.y != before.y) {
        notify(kScrolled, MessageWord(std::intptr_t{now.y}));
        notify(kScrolledVertically, MessageWord(std::intptr_t{now.y}));
    }
    return true;
}

Point ScrollView::positionShowing(const Rect& area) const noexcept {
    const Size view = viewport_->boundary().size();
    return {nearestView(position_.x, view.width, area.left, area.right),
            nearestView(position_.y, view.height, area.top, area.bottom)};
}

// --- Input ----------------------------------------------------------------------------------

bool ScrollView::onMouse(const MouseEvent& event) {
    const bool horizontal = event.action == MouseAction::kHorizontalWheel;
    // With Ctrl the wheel is for whoever changes the size.
    if ((!horizontal && event.action != MouseAction::kWheel) ||
        (event.modifiers & kModifierControl) != 0) {
        return false;
    }
    // Away from the user is up, or to the left.
    const std::int64_t turn = wheel_.turn(event.wheel, lineSize());
    const std::int32_t pixels = saturate(horizontal ? turn : -turn);
    const bool sideways = horizontal || (event.modifiers & kModifierShift) != 0;
    return sideways ? scrollBy(pixels, 0) : scrollBy(0, pixels);
}

bool ScrollView::onKey(const KeyEvent& event) {
    if (event.has(kModifierControl | kModifierAlt)) {
        return false;
    }
    const std::int32_t line = lineSize();
    // A line of the old page stays in view.
    const std::int32_t page = std::max(viewport_->boundary().height() - line, line);
    const struct {
        std::uint32_t key;
        Point step;
    } keys[] = {
        {kKeyUp, {0, -line}},     {kKeyDown, {0, line}},    {kKeyLeft, {-line, 0}},
        {kKeyRight, {line, 0}},   {kKeyPageUp, {0, -page}}, {kKeyPageDown, {0, page}},
        {kKeyHome, {0, -kToEnd}}, {kKeyEnd, {0, kToEnd}},
    };
    for (const auto& [key, step] : keys) {
        if (event.key == key) {
            return scrollBy(step.x, step.y);
        }
    }
    return false;
}

bool ScrollView::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (kind == kScrolledVertically || kind == kScrolledHorizontally || kind == kScrolled) {
        const auto* bar = dynamic_cast<const NativeScrollBar*>(a.object<Control>());
        if (bar == nullptr || bar != bars_[bar->isVertical()].get()) {
            return false;
        }
        if (!(kind == kScrolled)) {
            const std::int32_t to = saturate(b.number());
            scrollTo(bar->isVertical() ? Point{position_.x, to} : Point{to, position_.y});
        }
        return true;
    }
    if (kind == kChangePreferredWidth || kind == kChangePreferredHeight) {
        arrange();
        return true;
    }
    if (kind == kEnterFocus && isInside(a.object<Control>())) {
        scrollTo(*a.object<Control>());
        return false;
    }
    if (kind == kShouldScrollChildIntoView && isInside(b.object<Control>())) {
        scrollTo(*b.object<Control>());
        return true;
    }
    if (kind == kEnterLeftClicking && isInside(a.object<Control>()) &&
        !a.object<Control>()->isFocusable()) {
        // Whoever clicks into a text wants to scroll it by key.
        takeFocus();
    }
    return Control::onReceiveMessage(kind, a, b);
}

// --- Layout ---------------------------------------------------------------------------------

void ScrollView::drawSelf(GraphicsService& graphics) {
    Control::drawSelf(graphics);
    if (hasFocus()) {
        graphics.drawFocusFrame(area());
    }
}

// The content is measured for the whole room first. A bar takes room from the
// other direction, which may then need its bar as well.
void ScrollView::arrangeChildren() {
    if (!content_) {
        placeBars({}, {});
        return;
    }
    const std::shared_ptr<Control> focused = focusedInView();
    const Size whole = innerArea().size();
    Size room = whole;
    Size thickness;
    Size wanted = measureContent(room);
    const auto giveColumn = [&] {
        thickness.width = barThickness(true);
        room.width = leftBeside(thickness.width, whole.width);
    };
    if (wanted.height > room.height) {
        giveColumn();
        wanted = measureContent(room);
    }
    if (wanted.width > room.width) {
        thickness.height = barThickness(false);
        room.height = leftBeside(thickness.height, whole.height);
        if (thickness.width == 0 && wanted.height > room.height) {
            giveColumn();
        }
    }
    viewport_->place(Rect::at(innerArea().position(), room));
    placeContent({std::max(wanted.width, room.width), std::max(wanted.height, room.height)});
    if (isInside(focused.get())) {
        position_ = positionShowing(areaOf(*focused));
        placeContent(content_->boundary().size());
    }
    placeBars(room, thickness);
}

Size ScrollView::measureContent(Size room) {
    Size wanted = content_->preferredSizeForWidth(room.width);
    if (wanted.width > room.width) {
        // It gets what it cannot do without, and may be lower then.
        wanted.height = content_->preferredSizeForWidth(wanted.width).height;
    }
    return wanted;
}

// Made when it is first needed; 0 where no bar can be had.
std::int32_t ScrollView::barThickness(bool vertical) {
    std::shared_ptr<NativeScrollBar>& bar = bars_[vertical];
    if (!bar && surface() != nullptr) {
        const std::shared_ptr<WindowService> window = windowService();
        bar = window ? window->createNativeScrollBar(vertical) : nullptr;
        if (bar) {
            bar->setVisible(false);
            addChild(bar);
        }
    }
    if (!bar) {
        return 0;
    }
    const Size size = bar->preferredSize();
    return std::max(vertical ? size.width : size.height, 1);
}

void ScrollView::placeContent(Size size) {
    // The highest position depends on the content's size.
    content_->place(Rect::at(position_.negated(), size));
    const Point highest = highestPosition();
    position_ = {std::min(position_.x, highest.x), std::min(position_.y, highest.y)};
    content_->place(Rect::at(position_.negated(), size));
}

void ScrollView::placeBars(Size room, Size thickness) {
    const Point inner = innerArea().position();
    const Size content = content_ ? content_->boundary().size() : Size();
    for (const std::shared_ptr<NativeScrollBar>& bar : bars_) {
        if (!bar) {
            continue;
        }
        const bool vertical = bar->isVertical();
        const bool needed = (vertical ? thickness.width : thickness.height) > 0;
        const ControlUpdate update(*bar);
        silently(*bar, [&] {
            if (needed) {
                bar->setBoundary(vertical ? Rect::at(inner.movedBy({room.width, 0}),
                                                     {thickness.width, room.height})
                                          : Rect::at(inner.movedBy({0, room.height}),
                                                     {room.width, thickness.height}));
                bar->setRange(0, (vertical ? content.height : content.width) - 1);
                bar->setPageSize(vertical ? room.height : room.width);
                bar->setLineSize(lineSize());
            }
            bar->setVisible(needed);
        });
    }
    showPosition();
}

void ScrollView::showPosition() {
    for (const std::shared_ptr<NativeScrollBar>& bar : bars_) {
        if (bar) {
            silently(*bar,
                     [&] { bar->setPosition(bar->isVertical() ? position_.y : position_.x); });
        }
    }
}

std::int32_t ScrollView::lineSize() const { return std::max(scale(kLine), 1); }

// The control that the user works with, when it can be seen whole.
std::shared_ptr<Control> ScrollView::focusedInView() noexcept {
    const std::shared_ptr<Control> focused = focusedOnSurface();
    const Rect view = Rect::at(position_, viewport_->boundary().size());
    const bool seen =
        isInside(focused.get()) && view.intersection(areaOf(*focused)) == areaOf(*focused);
    return seen ? focused : nullptr;
}

}  // namespace zustd
