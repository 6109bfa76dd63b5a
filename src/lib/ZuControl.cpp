#include "ZuControl.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ZuGraphicsService.h"
#include "ZuLayout.h"
#include "ZuTooltip.h"
#include "ZuWindowService.h"

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

// Marks a control as drawing; a control that is drawn from inside its own
// drawing would not end.
class DrawingMark {
public:
    explicit DrawingMark(bool& drawing) : drawing_(drawing) {
        ZU_ASSERT(!drawing);
        drawing_ = true;
    }
    DrawingMark(const DrawingMark&) = delete;
    DrawingMark& operator=(const DrawingMark&) = delete;
    ~DrawingMark() { drawing_ = false; }

private:
    bool& drawing_;
};

// Clipping that ends on every way out.
class ClippingScope {
public:
    ClippingScope(GraphicsService& graphics, const Rect& area) : graphics_(graphics) {
        graphics.beginClipping(area);
    }
    ClippingScope(const ClippingScope&) = delete;
    ClippingScope& operator=(const ClippingScope&) = delete;
    ~ClippingScope() {
        guarded(L"Control::draw", [this] { graphics_.endClipping(); });
    }

private:
    GraphicsService& graphics_;
};

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

MessageWord wordOfPoint(Point point) noexcept {
    const std::uint64_t bits = (std::uint64_t{static_cast<std::uint32_t>(point.y)} << 32) |
                               static_cast<std::uint32_t>(point.x);
    return MessageWord(static_cast<std::intptr_t>(bits));
}

Point pointOfWord(MessageWord word) noexcept {
    const auto bits = static_cast<std::uint64_t>(word.number());
    return {static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)),
            static_cast<std::int32_t>(static_cast<std::uint32_t>(bits >> 32))};
}

Control::Control() = default;

Control::~Control() {
    for (const std::shared_ptr<Control>& child : children_) {
        child->parent_ = nullptr;
    }
}

// --- Tree -----------------------------------------------------------------------------------

std::shared_ptr<ServiceLocator> Control::getParent() const {
    return parent_ != nullptr ? sharedReference<ServiceLocator>(parent_)
                              : ServiceLocator::getParent();
}

Control& Control::requireParent() const {
    ZU_ASSERT_AS(parent_ != nullptr, L"getParent()", ZU_HERE);
    return *parent_;
}

void Control::addChild(const std::shared_ptr<Control>& child) { insertChild(kNullSize, child); }

void Control::insertChild(std::size_t index, const std::shared_ptr<Control>& child) {
    ZU_ASSERT_AS(child && !child->isAncestorOf(*this), L"child && !child->isAncestorOf(*this)",
                 ZU_HERE);
    // The caller may pass the former parent's own reference.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::shared_ptr<Control> kept = child;
    while (kept->parent_ != nullptr) {
        kept->leaveParent();
    }
    const std::size_t place = std::min(index, children_.size());
    children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(place), kept);
    kept->parent_ = this;
    const Control* holder = surface();
    if (holder == nullptr) {
        return;
    }
    kept->onJoinedSurface();
    if (holder->hasNativeObject()) {
        kept->synchronizeTree();
        if (updateDepth_ != 0) {
            updatePending_ = true;
        } else if (kept->backend() == nullptr) {
            kept->refresh();
        }
    }
}

bool Control::removeChild(const Control* child) {
    if (child == nullptr || child->parent_ != this) {
        return false;
    }
    const auto entry = std::find_if(children_.begin(), children_.end(),
                                    [child](const auto& held) { return held.get() == child; });
    const std::shared_ptr<Control> kept = *entry;
    kept->leaveParent();
    return true;
}

void Control::removeAllChildren() {
    // Whoever hears of it may add and remove children meanwhile.
    if (Control* holder = surface()) {
        holder->inputRouter()->forgetBelow(*this);
    }
    const Controls leaving = std::exchange(children_, {});
    for (const std::shared_ptr<Control>& child : leaving) {
        child->parent_ = nullptr;
    }
    for (const std::shared_ptr<Control>& child : leaving) {
        if (child->parent_ == nullptr) {
            child->releaseTree();
        }
    }
    if (!leaving.empty()) {
        refresh();
    }
}

bool Control::isAncestorOf(const Control& control) const noexcept {
    const Control* climbing = &control;
    while (climbing != nullptr && climbing != this) {
        climbing = climbing->parent_;
    }
    return climbing != nullptr;
}

Control* Control::surface() noexcept {
    Control* climbing = this;
    while (climbing != nullptr && climbing->inputRouter() == nullptr) {
        climbing = climbing->parent_;
    }
    return climbing;
}

const Control* Control::surface() const noexcept { return const_cast<Control*>(this)->surface(); }

// The caller holds a reference. Whoever hears that the focus or the pointer is
// lost may be faster, or put the control elsewhere.
void Control::leaveParent() {
    Control* const parent = parent_;
    if (parent == nullptr) {
        return;
    }
    forgetInput();
    if (parent_ == parent) {
        releaseTree();
    }
    if (parent_ == parent) {
        refresh();
    }
    if (parent_ == parent) {
        std::erase_if(parent->children_, [this](const auto& held) { return held.get() == this; });
        parent_ = nullptr;
    }
}

void Control::forgetInput() {
    if (Control* holder = parent_ != nullptr ? parent_->surface() : nullptr) {
        holder->inputRouter()->forget(*this);
    }
}

// --- Geometry -------------------------------------------------------------------------------

bool Control::setBoundary(const Rect& boundary) {
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
    arrangeChildren();
    showChildren();
}

bool Control::place(const Rect& boundary) {
    const Rect normal = Rect::at(boundary.position(), boundary.size());
    const bool changed = normal != boundary_;
    boundary_ = normal;
    // A layout may have given the control its size already.
    if (normal.size() != arrangedSize_) {
        arrangedSize_ = normal.size();
        arrangeChildren();
    }
    return changed;
}

void Control::showChildren() {
    if (backend() == nullptr || inputRouter() != nullptr) {
        refresh();
    }
    synchronizeBelow();
}

void Control::arrangeChildren() {
    if (arrangement_ != Arrangement::kManual) {
        const auto layOut = arrangement_ == Arrangement::kRows ? layoutInRows : layoutInColumns;
        layOut(*this, innerArea(), children_, optionsOf(*this));
    }
}

// --- State ----------------------------------------------------------------------------------

bool Control::changeShown(bool& member, bool value) {
    if (!change(member, value)) {
        return false;
    }
    if (!value) {
        forgetInput();
    }
    synchronizeBelow();
    return true;
}

bool Control::setVisible(bool visible) { return changeShown(visible_, visible); }

bool Control::isShown() const noexcept {
    const Control* climbing = this;
    while (climbing != nullptr && climbing->visible_) {
        climbing = climbing->parent_;
    }
    return climbing == nullptr;
}

bool Control::setEnabled(bool enabled) { return changeShown(enabled_, enabled); }

bool Control::isUsable() const noexcept {
    const Control* climbing = this;
    while (climbing != nullptr && climbing->enabled_) {
        climbing = climbing->parent_;
    }
    return climbing == nullptr;
}

bool Control::takeFocus() {
    Control* holder = surface();
    return holder != nullptr && holder->inputRouter()->setFocus(this);
}

bool Control::setCursor(MouseCursor cursor) {
    if (cursor_ == cursor) {
        return false;
    }
    cursor_ = cursor;
    if (hovered_) {
        if (const std::shared_ptr<WindowService> window = windowService()) {
            window->setCursor(cursor);
        }
    }
    return true;
}

// --- Descriptors ----------------------------------------------------------------------------

bool Control::setColors(const std::shared_ptr<ColorsDescriptor>& colors) {
    if (!changeDescriptor(colors_, colors)) {
        return false;
    }
    synchronizeBelow();
    return true;
}

Color Control::color(ColorRole role) const noexcept {
    for (const Control* climbing = this; climbing != nullptr; climbing = climbing->parent_) {
        if (climbing->colors_) {
            if (const Color color = climbing->colors_->color(role); color.isSet) {
                return color;
            }
        }
    }
    return {};
}

void Control::watch(ChangeTracker* descriptor) {
    if (descriptor != nullptr) {
        descriptor->connect(sharedReference<MessageSink>(this), true);
    }
}

void Control::unwatch(ChangeTracker* descriptor) {
    if (descriptor != nullptr) {
        descriptor->disconnect(this);
    }
}

void Control::onJoinedSurface() {
    for (std::size_t i = 0; i < children_.size(); ++i) {
        children_[i]->onJoinedSurface();
    }
    if (arrangement_ != Arrangement::kManual) {
        arrangeChildren();
    }
}

void Control::onDescriptorChanged() {
    stateChanged();
    // Colours reach down the tree.
    synchronizeBelow();
}

// --- Drawing --------------------------------------------------------------------------------

void Control::draw(GraphicsService& graphics) {
    if (visible_ && overlapsDrawArea(graphics)) {
        const OriginScope origin(graphics, boundary_.position());
        drawHere(graphics);
    }
}

void Control::drawAsRoot(GraphicsService& graphics) {
    if (visible_) {
        drawHere(graphics);
    }
}

bool Control::overlapsDrawArea(const GraphicsService& graphics) const {
    return boundary_.intersects(graphics.getDrawArea());
}

void Control::refresh() {
    if (backend() != nullptr && inputRouter() == nullptr) {
        if (hasNativeObject()) {
            backend()->synchronizeWithAbstraction();
        }
        return;
    }
    const std::shared_ptr<WindowService> window = surface() != nullptr ? windowService() : nullptr;
    if (!window) {
        notify(kShouldRefresh);
    } else if (inputRouter() != nullptr) {
        window->invalidate();
    } else {
        window->invalidate(boundaryOnSurface());
    }
}

double Control::scale(double value) const {
    const std::shared_ptr<WindowService> window = windowService();
    if (!window) {
        ZU_TRACE(L"Control::scale: no window service available; using no scaling factor");
        return value;
    }
    return value * window->getScalingFactor();
}

std::int32_t Control::scale(std::int32_t value) const {
    return saturate(std::llround(scale(static_cast<double>(value))));
}

void Control::drawHere(GraphicsService& graphics) {
    const DrawingMark mark(drawing_);
    drawSelf(graphics);
    if (children_.empty()) {
        return;
    }
    if (clipsChildren_) {
        const ClippingScope clipping(graphics, area());
        drawChildren(graphics);
    } else {
        drawChildren(graphics);
    }
}

void Control::drawChildren(GraphicsService& graphics) {
    const Rect drawArea = graphics.getDrawArea();
    for (const std::shared_ptr<Control>& child : children_) {
        if (child->visible_ && child->boundary_.intersects(drawArea) &&
            child->backend() == nullptr) {
            const OriginScope origin(graphics, child->boundary_.position());
            child->drawHere(graphics);
        }
    }
}

void Control::drawSelf(GraphicsService& graphics) {
    if (colors_) {
        if (const Color background = colors_->color(ColorRole::kBackground); background.isSet) {
            graphics.drawRectangle(area(), background);
        }
    }
}

// --- Services -------------------------------------------------------------------------------

std::shared_ptr<WindowService> Control::windowService() const {
    return getService<WindowService>();
}

std::shared_ptr<GraphicsService> Control::graphicsService() const {
    return getService<GraphicsService>();
}

// --- Native half ----------------------------------------------------------------------------

bool Control::hasNativeObject() const noexcept {
    const IImplementation* native = backend();
    return native != nullptr && native->hasNativeObject();
}

void Control::synchronizeTree() {
    if (IImplementation* native = backend()) {
        native->synchronizeWithAbstraction();
    }
    for (std::size_t i = 0; i < children_.size(); ++i) {
        children_[i]->synchronizeTree();
    }
}

void Control::releaseTree() noexcept {
    // A window that goes hands the focus on, and somebody may hear of it.
    for (std::size_t i = 0; i < children_.size(); ++i) {
        const std::shared_ptr<Control> kept = children_[i];
        kept->releaseTree();
    }
    releaseNative();
}

// Not const: the native object is part of what the control is.
// NOLINTNEXTLINE(readability-make-member-function-const)
void Control::releaseNative() noexcept {
    if (IImplementation* native = backend()) {
        guarded(L"Control::releaseNative", [native] { native->releaseNativeObject(); });
    }
}

bool Control::requestClose() {
    bool staysOpen = false;
    notify(kClose, MessageWord::ofObject(&staysOpen));
    return !staysOpen;
}

// What lies on a surface below moves along with it.
void Control::synchronizeBelow() {
    for (std::size_t i = 0; i < children_.size(); ++i) {
        Control& child = *children_[i];
        if (child.hasNativeObject()) {
            child.backend()->synchronizeWithAbstraction();
        }
        child.synchronizeBelow();
    }
}

void Control::stateChanged() {
    if (updateDepth_ != 0) {
        updatePending_ = true;
    } else {
        showState();
    }
}

void Control::endUpdate() {
    if (--updateDepth_ == 0 && updatePending_) {
        updatePending_ = false;
        guarded(L"ControlUpdate::~ControlUpdate", [this] { showState(); });
    }
}

void Control::showState() {
    if (inputRouter() != nullptr && hasNativeObject()) {
        backend()->synchronizeWithAbstraction();
    }
    refresh();
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
    return takesMouse_ ? this : nullptr;
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
