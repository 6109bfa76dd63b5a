// The base of every widget: a node of the control tree.
//
// A control owns its children; a child knows its parent without owning it. The tree hangs below a
// surface, a native window or dialog, whose backend paints the drawn controls, keeps the native
// widgets in place, and feeds the input router. A control outside of a surface has all its state
// but nothing to show it on. What a control sends reaches its own sinks first and then its parent,
// which handles it or sends it on; services are looked for upwards too.
//
// Setters change the state, return whether it did change, and then show it: drawn controls ask for
// a repaint, native widgets synchronise their native object if there is one by now. Several changes
// in a row are shown once when a ControlUpdate is around them.
//
// Controls are made with makeControl and live in shared references; those on the stack work, but
// listen to no descriptor and get no input. Whoever hears a message, also one that an operation
// sends under way, may change the tree and drop the control, its parent or its surface: they live
// to the operation's end.
#pragma once

#include "ZuAbstraction.h"
#include "ZuDescriptors.h"
#include "ZuId.h"
#include "ZuInput.h"
#include "ZuLayout.h"
#include "ZuMessaging.h"
#include "ZuServiceLocator.h"

namespace zustd {

class GraphicsService;
class WindowService;
struct TooltipOptions;
using TooltipRef = std::shared_ptr<TooltipOptions>;

// A position in one word of a message.
MessageWord wordOfPoint(Point point) noexcept;
Point pointOfWord(MessageWord word) noexcept;

using Controls = std::vector<std::shared_ptr<Control>>;

class Control : public MessageForwarder, public Id, public ServiceLocator {
public:
    // The first word of every message is its sender; the second is 0 unless said otherwise.

    // State of mouse and focus.
    static const MessageKind kEnterHovering, kLeaveHovering, kEnterFocus, kLeaveFocus;
    static const MessageKind kEnterLeftClicking, kLeaveLeftClicking;
    static const MessageKind kEnterRightClicking, kLeaveRightClicking;
    // A press and a release on the same control; moved with the left button held, and released
    // then. Second word of these: the position in the control (wordOfPoint).
    static const MessageKind kLeftClicked, kRightClicked, kDragging, kDropped;
    // Second word: the turn of the wheel in steps of MouseEvent::kWheelStep.
    static const MessageKind kScrolledMousewheel, kCtrlScrolledMousewheel, kShiftScrolledMousewheel;
    // A scroll bar or scrolled content has moved. Second word: the position.
    static const MessageKind kScrolled, kScrolledHorizontally, kScrolledVertically;
    // Second word: the key.
    static const MessageKind kKeyPressed;
    // Keys that lists understand.
    static const MessageKind kSelectNextItem, kSelectPreviousItem, kMoveUp, kMoveDown;
    static const MessageKind kToggleExpandCollapse, kSelected, kUnselected;
    // Requests to whoever holds the control; the first two are heard by all
    // that is above, which arranges its children anew. Second word of these: the
    // size in pixels; of kShouldScrollChildIntoView: the Control*.
    static const MessageKind kChangePreferredWidth, kChangePreferredHeight;
    static const MessageKind kShouldScrollChildIntoView, kShouldReselectCurrentChild;
    static const MessageKind kShouldRefresh, kBeforeDisplayTooltip;
    // The user closes a surface. Second word: a bool; a receiver that sets it keeps it open.
    static const MessageKind kClose;

    ~Control() override;

    // --- Tree ---

    // For a control without parent control what setParent() gave.
    std::shared_ptr<ServiceLocator> getParent() const override;
    Control* parentControl() const noexcept { return parent_; }
    // Fails the assertion "getParent()" when there is no parent control.
    Control& requireParent() const;
    const Controls& children() const noexcept { return children_; }
    // A child leaves its former parent first; a receiver that hears of it and puts the child
    // elsewhere has its way. Null, the control itself and its ancestors are refused by the
    // assertion "child && !child->isAncestorOf(*this)".
    void addChild(const std::shared_ptr<Control>& child) { insertChild(kNullSize, child); }
    // An index past the end appends.
    void insertChild(std::size_t index, const std::shared_ptr<Control>& child);
    // Gives up the native objects of the child and of all below it; nothing when it is no child.
    void removeChild(const Control* child);
    void removeAllChildren();
    // True for the control itself.
    bool isAncestorOf(const Control& control) const noexcept;
    // The nearest control upwards, beginning with itself, that is a surface; null outside of one.
    Control* surface() noexcept;
    const Control* surface() const noexcept { return const_cast<Control*>(this)->surface(); }
    // Only a surface has one.
    virtual InputRouter* inputRouter() noexcept { return nullptr; }

    // --- Geometry, in pixels of the parent ---

    const Rect& boundary() const noexcept { return boundary_; }
    // Right and bottom never lie before left and top. A new size rearranges the children.
    virtual bool setBoundary(const Rect& boundary);
    // Keeps the size; negative coordinates are taken for 0.
    bool moveTo(Point place) {
        Rect moved = boundary_;
        moved.moveTo(place);
        return setBoundary(moved);
    }
    bool setSize(Size size) { return setBoundary(Rect::at(boundary_.position(), size)); }
    // The same pixels in the coordinates of the surface; without one, of the topmost control.
    Rect boundaryOnSurface() const noexcept { return area().movedBy(toSurface({})); }
    Point toSurface(Point point) const noexcept;
    Point fromSurface(Point point) const noexcept { return point.movedBy(toSurface({}).negated()); }
    // Its own area from 0, 0.
    Rect area() const noexcept { return Rect::at({}, boundary_.size()); }
    // Inside of the margins, where children are arranged.
    Rect innerArea() const noexcept {
        return area().shrunkBy(arrangement_.margin.width, arrangement_.margin.height);
    }

    // --- Layout ---

    // Changes of these two show the control but move nothing: call arrange(),
    // of this control or of the parent, when all are made.
    const Arrangement& arrangement() const noexcept { return arrangement_; }
    bool setArrangement(const Arrangement& how) { return change(arrangement_, how); }
    const Placement& placement() const noexcept { return placement_; }
    bool setPlacement(const Placement& placement) { return change(placement_, placement); }

    // The size with its minimum and, where there is one, its maximum kept to.
    Size withinLimits(Size size) const noexcept;
    // What a content of this size gives the control: the margins around it, within the limits.
    Size sizeAround(Size content) const noexcept {
        return withinLimits(content.grownBy(arrangement_.margin));
    }
    // The width inside of the margins; 1 or more.
    std::int32_t innerWidth(std::int32_t width) const noexcept {
        return Size{.width = width}.shrunkBy(arrangement_.margin).width;
    }
    // The size that the control would like to have; the base answers with its present one, or with
    // what its arrangement needs, margins included, within the limits.
    virtual Size preferredSize();
    // The same for a width that is given: what wraps keeps to it where it can
    // and says how high it gets then. The others answer as above.
    virtual Size preferredSizeForWidth(std::int32_t width);
    // Puts the children into place, unless the control is at it already. Done by itself when the
    // size changes, and when a child asks for another (kChangePreferredWidth and -Height).
    void arrange();
    // Sets the boundary without showing it: for layouts, which show the parent
    // and what is native below it once when all its children are in place.
    bool place(const Rect& boundary);
    void showChildren();

    // --- State ---

    bool isVisible() const noexcept { return visible_; }
    void setVisible(bool visible) { changeShown(visible_, visible); }
    bool isEnabled() const noexcept { return enabled_; }
    void setEnabled(bool enabled) { changeShown(enabled_, enabled); }
    // Visible, and enabled, together with all ancestors.
    bool isShown() const noexcept;
    bool isUsable() const noexcept;
    bool isHovered() const noexcept { return hovered_; }
    bool isLeftPressed() const noexcept { return leftPressed_; }
    bool hasFocus() const noexcept { return focused_; }

    // Controls that do not take the mouse let it through to what is below.
    void setTakesMouse(bool takes) noexcept { takesMouse_ = takes; }
    // Whether a press on the control may become a drag, with its messages.
    bool isDraggable() const noexcept { return draggable_; }
    void setDraggable(bool draggable) noexcept { draggable_ = draggable; }
    // Whether keys can come here, as at first to what can be pressed, edited, chosen or scrolled.
    bool isFocusable() const noexcept { return focusable_; }
    void setFocusable(bool focusable) noexcept { focusable_ = focusable; }
    // Tab visits lower numbers first and, among equal ones, tree order.
    std::int32_t focusOrder() const noexcept { return focusOrder_; }
    void setFocusOrder(std::int32_t order) noexcept { focusOrder_ = order; }
    // Asks the surface for the focus; false when it cannot be had.
    bool takeFocus() {
        Control* holder = surface();
        return holder != nullptr && holder->inputRouter()->setFocus(this);
    }
    // Who has the focus of the control's surface; null when nobody has.
    std::shared_ptr<Control> focusedOnSurface() noexcept {
        Control* holder = surface();
        return holder != nullptr ? holder->inputRouter()->focused() : nullptr;
    }
    // What the pointer looks like over the control.
    MouseCursor cursor() const noexcept { return cursor_; }
    bool setCursor(MouseCursor cursor);

    // --- Descriptors ---

    // Its own; empty for no tooltip. The mouse finds a control that has one in any case.
    TextDescriptor& tooltip() noexcept { return tooltip_; }
    const TextDescriptor& tooltip() const noexcept { return tooltip_; }
    // May be null: the defaults.
    const TooltipRef& tooltipOptions() const noexcept { return tooltipOptions_; }
    void setTooltipOptions(const TooltipRef& options) noexcept { tooltipOptions_ = options; }
    // Null for the colours of the nearest ancestor that has some.
    const ColorsRef& colors() const noexcept { return colors_; }
    void setColors(const ColorsRef& colors);
    // The control's own or that of the nearest ancestor that sets it; otherwise when none does.
    Color color(ColorRole role, Color otherwise = {}) const noexcept;

    // --- Drawing ---

    // Paints the control and its drawn children on a parent that is painting: nothing when it is
    // invisible, native or outside of the area that is being painted.
    void draw(GraphicsService& graphics);
    // Paints a control without drawn parent, such as a surface, with its left top as the origin.
    void drawAsRoot(GraphicsService& graphics);
    // Whether the control, where its parent draws it, meets the area that is being painted.
    bool overlapsDrawArea(const GraphicsService& graphics) const;
    // Lets the control be painted again soon; without a surface kShouldRefresh is sent instead.
    virtual void refresh();
    // The value times the window service's scaling factor.
    double scale(double value) const;
    // The same in whole pixels, rounded.
    std::int32_t scale(std::int32_t value) const;
    // Children are cut at the control's edges.
    void setClipsChildren(bool clips) noexcept { clipsChildren_ = clips; }

    // --- Services ---

    // Found from this control; empty when there is none.
    std::shared_ptr<WindowService> windowService() const;
    std::shared_ptr<GraphicsService> graphicsService() const;

    // --- Native half ---

    // The backend of a native widget; null for a drawn control.
    virtual IImplementation* backend() const noexcept { return nullptr; }
    bool hasNativeObject() const noexcept {
        const IImplementation* native = backend();
        return native != nullptr && native->hasNativeObject();
    }
    // While a ControlUpdate is running for this very control.
    bool isUpdating() const noexcept { return updateDepth_ != 0; }
    // Of this control and of all below it: synchronises the native widgets, which makes their
    // native objects; measures, arranges and shows after something changed that no descriptor tells
    // of, such as the language of the texts; gives up the native objects.
    void synchronizeTree();
    void showAnew();
    void releaseTree() noexcept;

    // --- Input, for the router and for native backends ---

    // An event, before its messages and with its position in this control; whether it was used.
    virtual bool onMouse(const MouseEvent&) { return false; }
    virtual bool onKey(const KeyEvent&) { return false; }
    // The text that marks the control's access key, which does what activate() does; or empty.
    virtual std::wstring accessText() const { return {}; }
    // As if the user pressed the control.
    virtual void activate() {}
    // The window of this surface has another client area.
    void acceptSize(Size size) {
        if (place(Rect::at(boundary_.position(), size))) {
            showChildren();
        }
    }
    // Sends a message of this control; the first word is added. Returns false when a gate refused.
    bool notify(const MessageKind& kind, MessageWord b = {}) {
        return sendMessage(kind, MessageWord::ofObject(this), b);
    }
    // The deepest visible control at a point of this one that takes the mouse, also a disabled one.
    virtual Control* controlAt(Point point) noexcept;
    // The pointer rests on the control, at a point of the surface: starts the delay of its tooltip,
    // if it has one on a surface and the application's preference "showTooltips" is not off; before
    // it appears, kBeforeDisplayTooltip may still set the text. The pointer is gone.
    void showTooltip(Point place);
    void hideTooltip() const;
    // Set by the router. Each sends the message of the change.
    void acceptHover(bool on) { acceptState(hovered_, on, kEnterHovering, kLeaveHovering); }
    void acceptFocus(bool on) { acceptState(focused_, on, kEnterFocus, kLeaveFocus); }
    void acceptPress(bool left, bool on);

    // --- Messages ---

    bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;
    // Derived classes hand on what they do not know.
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;
    std::shared_ptr<SharedObject> sinkOwner() const override;
    std::shared_ptr<SharedObject> sourceOwner() const override { return sinkOwner(); }

protected:
    // Paints the control itself, its left top corner being 0, 0; nothing cuts
    // what goes beyond its edges. This one paints the background where a colour
    // is set for it, and a derived class that wants one calls it.
    virtual void drawSelf(GraphicsService& graphics) { drawBackground(graphics); }
    void drawBackground(GraphicsService& graphics) const;
    // Puts the children into place without showing it; the base applies the
    // arrangement. Sends nothing, and is not called again from inside.
    virtual void arrangeChildren();
    // The control, by itself or with an ancestor, can reach the services of a
    // surface now. The base hands it on to the children and arranges them.
    virtual void onJoinedSurface();
    // A descriptor of this control has changed. The base shows the state.
    virtual void onDescriptorChanged();
    // Hover, press or focus has changed; controls that show it refresh.
    virtual void onInputStateChanged() {}

    // Shows a change now, or at the end of the running update.
    void stateChanged();
    // Assigns and shows; whether there was a change.
    template <class T>
    bool change(T& member, const T& value) {
        if (member == value) {
            return false;
        }
        member = value;
        stateChanged();
        return true;
    }
    // The same for a descriptor, which is listened to from now on; it serves one member.
    template <class D>
    bool changeDescriptor(std::shared_ptr<D>& member, const std::shared_ptr<D>& descriptor) {
        if (member == descriptor) {
            return false;
        }
        if (member) {
            member->disconnect(this);
        }
        watch(descriptor.get());
        return change(member, descriptor);
    }
    void watch(ChangeTracker* descriptor);
    // Sends kClose; false when a receiver wants the surface to stay.
    bool requestClose();

private:
    friend class ControlUpdate;

    Size sizeWithin(Size maximum);
    void rearrange();
    void checkChild(const Control* child) const;
    void leaveParent();
    void forgetInput();
    void showState();
    void synchronizeBelow();
    void changeShown(bool& member, bool value);
    void acceptState(bool& member, bool value, const MessageKind& entered, const MessageKind& left);
    void endUpdate();

    // What layouts read and write of every child lies close together.
    Controls children_;
    Control* parent_ = nullptr;
    Rect boundary_ = Rect::at({}, {});
    Placement placement_;
    bool visible_ = true;
    bool enabled_ = true;
    bool hovered_ = false;
    bool leftPressed_ = false;
    bool rightPressed_ = false;
    bool focused_ = false;
    bool takesMouse_ = true;
    bool focusable_ = false;
    bool draggable_ = false;
    bool clipsChildren_ = false;
    bool drawing_ = false;
    bool arranging_ = false;
    bool updatePending_ = false;
    Arrangement arrangement_;
    MouseCursor cursor_ = MouseCursor::kArrow;
    std::int32_t focusOrder_ = 0;
    std::uint32_t updateDepth_ = 0;
    TextDescriptor tooltip_;
    TooltipRef tooltipOptions_;
    ColorsRef colors_;
};

// Shows the changes made while it lives once, at its end. Nests.
class ControlUpdate {
public:
    explicit ControlUpdate(Control& control) noexcept
        : self_(sharedReference(&control)), control_(control) {
        ++control_.updateDepth_;
    }
    ControlUpdate(const ControlUpdate&) = delete;
    ControlUpdate& operator=(const ControlUpdate&) = delete;
    ~ControlUpdate() { control_.endUpdate(); }

private:
    std::shared_ptr<Control> self_;
    Control& control_;
};

// A native widget: a control with a backend.
template <class I>
class NativeControl : public Abstraction<I>, public Control {
public:
    IImplementation* backend() const noexcept override { return this->untypedImplementation(); }

protected:
    // The backend, for a change of items: what an update defers is shown at its end.
    I& changing() {
        I& implementation = this->implementation();
        if (isUpdating()) {
            stateChanged();
        }
        return implementation;
    }
};

// A new, initialised control.
template <class T, class... Args>
std::shared_ptr<T> makeControl(Args&&... args) {
    auto control = std::make_shared<T>(std::forward<Args>(args)...);
    control->initialize();
    return control;
}

}  // namespace zustd
