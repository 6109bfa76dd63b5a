// A view of a control that may be larger than the room for it.
//
// The content lies in a viewport that cuts it. Scroll bars, the system's own, appear beside the
// viewport when the content does not fit and disappear when it does; they scroll in silence when
// the view does. The content is as wide as the viewport, or wider where it cannot be narrower, and
// as high as it wants to be for that width, but not lower than the viewport.
//
// Wheel, arrows, Page Up, Page Down, Home and End scroll. A control inside that gets the focus, or
// asks for it with kShouldScrollChildIntoView, is scrolled into view. When the content says that it
// wants another size (kChangePreferredWidth, kChangePreferredHeight), it is measured again.
#pragma once

#include "ZuControl.h"

namespace zustd {

class NativeScrollBar;

// Shows one control in a viewport, with scroll bars where they are needed.
class ScrollView : public Control {
public:
    ScrollView() { setFocusable(true); }
    void initialize() override;

    // Null before there is any.
    const std::shared_ptr<Control>& contentControl() const noexcept { return content_; }
    void setContent(const std::shared_ptr<Control>& content);
    // Null as long as it has not been needed.
    const auto& scrollBar(bool vertical) const noexcept { return bars_[vertical]; }

    // What of the content lies at the viewport's left top corner.
    Point scrollPosition() const noexcept { return position_; }
    Point highestPosition() const noexcept;
    // Scroll, as far as it goes; whether anything moved. A change sends
    // kScrolled, and kScrolledHorizontally or kScrolledVertically, or both. What
    // a layout moves, to keep to the content's size or to the control with the
    // focus, is not announced: receivers could change what is being laid out.
    bool scrollTo(Point position);
    bool scrollBy(std::int32_t horizontal, std::int32_t vertical) {
        return scrollTo(position_.movedBy({horizontal, vertical}));
    }
    // As little as brings an area of the content, or a control inside of it,
    // into view; of what is too large the left top part.
    bool scrollIntoView(const Rect& area) { return scrollTo(positionShowing(area)); }
    bool scrollTo(const Control& inside) {
        return isInside(&inside) && scrollIntoView(areaOf(inside));
    }

    // Those of the content, within the view's own limits.
    Size preferredSize() override {
        return sizeAround(content_ ? content_->preferredSize() : Size());
    }
    Size preferredSizeForWidth(std::int32_t width) override {
        return sizeAround(content_ ? content_->preferredSizeForWidth(innerWidth(width)) : Size());
    }
    bool onMouse(const MouseEvent& event) override;
    bool onKey(const KeyEvent& event) override;
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

protected:
    void drawSelf(GraphicsService& graphics) override;
    void arrangeChildren() override;
    void onJoinedSurface() override {
        Control::onJoinedSurface();
        arrange();
    }
    void onInputStateChanged() override { refresh(); }

private:
    bool isInside(const Control* control) const noexcept {
        return control != nullptr && content_ && content_->isAncestorOf(*control);
    }
    Point positionShowing(const Rect& area) const noexcept;
    std::int32_t lineSize() const;
    std::int32_t barThickness(bool vertical);
    Size measureContent(Size room);
    void placeBars(Size room, Size thickness);
    void placeContent(Size size);
    void showPosition();
    std::shared_ptr<Control> focusedInView() noexcept;
    // In the content's coordinates.
    Rect areaOf(const Control& inside) const noexcept {
        return inside.boundaryOnSurface().movedBy(content_->toSurface({}).negated());
    }

    std::shared_ptr<Control> viewport_;
    std::shared_ptr<Control> content_;
    // The horizontal one and the vertical one.
    std::shared_ptr<NativeScrollBar> bars_[2];
    Point position_;
    WheelCounter wheel_;
};

// A scroll view of a T, which it makes.
template <class T>
class Scrollable : public ScrollView {
public:
    void initialize() override {
        ScrollView::initialize();
        setContent(makeControl<T>());
    }
    T& content() const noexcept { return static_cast<T&>(*contentControl()); }
};

}  // namespace zustd
