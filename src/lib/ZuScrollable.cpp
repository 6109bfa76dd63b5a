#include "ZuScrollable.h"

#include <algorithm>

#include "ZuGraphicsService.h"
#include "ZuNativeScrollBar.h"
#include "ZuScope.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// What an arrow key scrolls by, at a scaling factor of 1.
constexpr std::int32_t kLine = 16;

// The nearest place for a window of this extent from which it shows first to
// last; the first when it cannot show all.
std::int32_t nearestView(std::int32_t position, std::int32_t extent, std::int32_t first,
                         std::int32_t last) noexcept {
    const std::int32_t lowest = saturate(std::int64_t{last} - extent + 1);
    return std::min(std::max(position, lowest), first);
}

// What the view does to its bars it announces itself, and what a layout does
// nobody.
template <class Change>
void silently(NativeScrollBar& bar, Change&& change) {
    const ScopeExit back([&bar, sends = bar.isSendingEnabled()] { bar.setSendingEnabled(sends); });
    bar.setSendingEnabled(false);
    change();
}

}  // namespace

ScrollView::ScrollView() { setFocusable(true); }

ScrollView::~ScrollView() = default;

void ScrollView::initialize() {
    Control::initialize();
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

bool ScrollView::scrollBy(std::int32_t horizontal, std::int32_t vertical) {
    return scrollTo(position_.movedBy({horizontal, vertical}));
}

bool ScrollView::scrollIntoView(const Rect& area) {
    const Size view = viewport_->boundary().size();
    return scrollTo({nearestView(position_.x, view.width, area.left, area.right),
                     nearestView(position_.y, view.height, area.top, area.bottom)});
}

bool ScrollView::scrollTo(const Control& inside) {
    return isInside(&inside) && scrollIntoView(areaOf(inside));
}

Size ScrollView::preferredSize() {
    return sizeAround(content_ ? content_->preferredSize() : Size());
}

Size ScrollView::preferredSizeForWidth(std::int32_t width) {
    return sizeAround(content_ ? content_->preferredSizeForWidth(innerWidth(width)) : Size());
}

// --- Input ----------------------------------------------------------------------------------

bool ScrollView::onMouse(const MouseEvent& event) {
    const bool wheel =
        event.action == MouseAction::kWheel || event.action == MouseAction::kHorizontalWheel;
    // With Ctrl the wheel is for whoever changes the size.
    return wheel && (event.modifiers & kModifierControl) == 0 && scrollByWheel(event);
}

bool ScrollView::onKey(const KeyEvent& event) {
    if (event.has(kModifierControl | kModifierAlt)) {
        return false;
    }
    const std::int32_t line = lineSize();
    // A line of the old page stays in view.
    const std::int32_t page = std::max(viewport_->boundary().height() - line, line);
    switch (event.key) {
        case kKeyUp:
            return scrollBy(0, -line);
        case kKeyDown:
            return scrollBy(0, line);
        case kKeyLeft:
            return scrollBy(-line, 0);
        case kKeyRight:
            return scrollBy(line, 0);
        case kKeyPageUp:
            return scrollBy(0, -page);
        case kKeyPageDown:
            return scrollBy(0, page);
        case kKeyHome:
            return scrollTo(Point{position_.x, 0});
        case kKeyEnd:
            return scrollTo(Point{position_.x, highestPosition().y});
        default:
            return false;
    }
}

bool ScrollView::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    const auto position = [b] { return saturate(b.number()); };
    const Control* sender = nullptr;
    if (kind == kScrolledVertically || kind == kScrolledHorizontally || kind == kScrolled) {
        sender = a.object<Control>();
        const bool vertical = sender == verticalBar_.get();
        if (sender == nullptr || (!vertical && sender != horizontalBar_.get())) {
            return false;
        }
        if (!(kind == kScrolled)) {
            scrollTo(vertical ? Point{position_.x, position()} : Point{position(), position_.y});
        }
        return true;
    }
    if (kind == kChangePreferredWidth || kind == kChangePreferredHeight) {
        arrange();
        return true;
    }
    if (kind == kShouldScrollChildIntoView || kind == kEnterFocus) {
        sender = kind == kEnterFocus ? a.object<Control>() : b.object<Control>();
        const bool found = isInside(sender);
        if (found) {
            scrollTo(*sender);
        }
        return found && kind == kShouldScrollChildIntoView;
    }
    if (kind == kEnterLeftClicking && isInside(a.object<Control>()) &&
        !a.object<Control>()->isFocusable()) {
        // Whoever clicks into a text wants to scroll it by key.
        takeFocus();
    }
    return Control::onReceiveMessage(kind, a, b);
}

bool ScrollView::scrollByWheel(const MouseEvent& event) {
    const bool sideways =
        event.action == MouseAction::kHorizontalWheel || (event.modifiers & kModifierShift) != 0;
    const std::int64_t pixels = wheel_.turn(event.wheel, lineSize());
    if (event.action == MouseAction::kHorizontalWheel) {
        return scrollBy(saturate(pixels), 0);
    }
    // Away from the user is up, or to the left.
    return sideways ? scrollBy(saturate(-pixels), 0) : scrollBy(0, saturate(-pixels));
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
        for (NativeScrollBar* bar : {verticalBar_.get(), horizontalBar_.get()}) {
            if (bar != nullptr) {
                bar->setVisible(false);
            }
        }
        return;
    }
    const std::shared_ptr<Control> focused = focusedInView();
    const Size whole = innerArea().size();
    Size room = whole;
    Size thickness;
    Size wanted = measureContent(room);
    if (wanted.height > room.height) {
        thickness.width = thicknessOf(verticalBar_, true);
        room.width = std::max(whole.width - thickness.width, 1);
        wanted = measureContent(room);
    }
    if (wanted.width > room.width) {
        thickness.height = thicknessOf(horizontalBar_, false);
        room.height = std::max(whole.height - thickness.height, 1);
        if (thickness.width == 0 && wanted.height > room.height) {
            thickness.width = thicknessOf(verticalBar_, true);
            room.width = std::max(whole.width - thickness.width, 1);
        }
    }
    viewport_->place(Rect::at(innerArea().position(), room));
    placeContent({std::max(wanted.width, room.width), std::max(wanted.height, room.height)});
    placeBars(room, thickness);
    if (focused && isInside(focused.get())) {
        const Rect seen = areaOf(*focused);
        position_ = {nearestView(position_.x, room.width, seen.left, seen.right),
                     nearestView(position_.y, room.height, seen.top, seen.bottom)};
        placeContent(content_->boundary().size());
        showPosition();
    }
}

void ScrollView::onJoinedSurface() {
    Control::onJoinedSurface();
    arrange();
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
std::int32_t ScrollView::thicknessOf(std::shared_ptr<NativeScrollBar>& bar, bool vertical) {
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
    const Rect inner = innerArea();
    const Size content = content_->boundary().size();
    const auto show = [this](NativeScrollBar* bar, bool needed, const Rect& place,
                             std::int32_t extent, std::int32_t page) {
        if (bar == nullptr) {
            return;
        }
        const ControlUpdate update(*bar);
        silently(*bar, [&] {
            if (needed) {
                bar->setBoundary(place);
                bar->setRange(0, std::max(extent - 1, 0));
                bar->setPageSize(page);
                bar->setLineSize(lineSize());
            }
            bar->setVisible(needed);
        });
    };
    show(
        verticalBar_.get(), thickness.width > 0,
        Rect::at({saturatedSum(inner.left, room.width), inner.top}, {thickness.width, room.height}),
        content.height, room.height);
    show(horizontalBar_.get(), thickness.height > 0,
         Rect::at({inner.left, saturatedSum(inner.top, room.height)},
                  {room.width, thickness.height}),
         content.width, room.width);
    showPosition();
}

void ScrollView::showPosition() {
    for (NativeScrollBar* bar : {verticalBar_.get(), horizontalBar_.get()}) {
        if (bar != nullptr) {
            silently(*bar,
                     [&] { bar->setPosition(bar->isVertical() ? position_.y : position_.x); });
        }
    }
}

std::int32_t ScrollView::lineSize() const { return std::max(scale(kLine), 1); }

bool ScrollView::isInside(const Control* control) const noexcept {
    return control != nullptr && content_ && content_->isAncestorOf(*control);
}

// The control that the user works with, when it can be seen whole.
std::shared_ptr<Control> ScrollView::focusedInView() const {
    const Control* holder = surface();
    const std::shared_ptr<Control> focused =
        holder != nullptr ? const_cast<Control*>(holder)->inputRouter()->focused() : nullptr;
    return isInside(focused.get()) && isInView(areaOf(*focused)) ? focused : nullptr;
}

bool ScrollView::isInView(const Rect& area) const noexcept {
    const Rect view = Rect::at(position_, viewport_->boundary().size());
    return view.intersection(area) == area;
}

// In the content's coordinates.
Rect ScrollView::areaOf(const Control& inside) const noexcept {
    return inside.boundaryOnSurface().movedBy(content_->toSurface({0, 0}).negated());
}

}  // namespace zustd
