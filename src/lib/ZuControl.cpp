#include "ZuControl.h"

#include <cmath>

#include "ZuGraphicsService.h"
#include "ZuScope.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// Does it to each child; whatever that does to the list, it lives meanwhile.
template <class Do>
void forEach(Controls& children, Do&& act) {
    for (std::size_t i = 0; i < children.size(); ++i) {
        const std::shared_ptr<Control> child = children[i];
        act(*child);
    }
}

// The first control from here upwards that is the one; null when none is.
template <class Is>
const Control* climb(const Control* from, Is&& is) noexcept {
    while (from != nullptr && !is(*from)) {
        from = from->parentControl();
    }
    return from;
}

}  // namespace

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

void Control::insertChild(std::size_t index, const std::shared_ptr<Control>& child) {
    checkChild(child.get());
    // The caller may pass the former parent's own reference.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::shared_ptr<Control> kept = child;
    const std::shared_ptr<Control> self = sharedReference(this);
    kept->leaveParent();
    if (kept->parent_ != nullptr) {
        return;
    }
    // Whoever heard that it left may have put this control below it.
    checkChild(kept.get());
    const std::size_t place = std::min(index, children_.size());
    children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(place), kept);
    kept->parent_ = this;
    if (surface() != nullptr) {
        kept->onJoinedSurface();
    }
    const Control* holder = kept->parent_ == this ? surface() : nullptr;
    if (holder == nullptr || !holder->hasNativeObject()) {
        return;
    }
    kept->synchronizeTree();
    if (updateDepth_ != 0) {
        updatePending_ = true;
    } else if (kept->parent_ == this && kept->backend() == nullptr) {
        kept->refresh();
    }
}

void Control::checkChild(const Control* child) const {
    ZU_ASSERT_AS(child && !child->isAncestorOf(*this), L"child && !child->isAncestorOf(*this)",
                 ZU_HERE);
}

void Control::removeChild(const Control* child) {
    const auto entry = std::ranges::find(children_, child, &std::shared_ptr<Control>::get);
    if (entry != children_.end()) {
        const std::shared_ptr<Control> kept = *entry;
        kept->leaveParent();
    }
}

void Control::removeAllChildren() {
    // Whoever hears of it may add and remove children meanwhile.
    const std::shared_ptr<Control> self = sharedReference(this);
    if (Control* holder = surface()) {
        holder->inputRouter()->forget(*this, false);
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
    return climb(&control, [this](const Control& at) { return &at == this; }) != nullptr;
}

Control* Control::surface() noexcept {
    Control* climbing = this;
    while (climbing != nullptr && climbing->inputRouter() == nullptr) {
        climbing = climbing->parent_;
    }
    return climbing;
}

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
        holder->inputRouter()->forget(*this, true);
    }
}

// --- State ----------------------------------------------------------------------------------

void Control::changeShown(bool& member, bool value) {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (change(member, value)) {
        if (!member) {
            forgetInput();
        }
        synchronizeBelow();
    }
}

bool Control::isShown() const noexcept {
    return climb(this, [](const Control& at) { return !at.visible_; }) == nullptr;
}

bool Control::isUsable() const noexcept {
    return climb(this, [](const Control& at) { return !at.enabled_; }) == nullptr;
}

bool Control::setCursor(MouseCursor cursor) {
    if (std::exchange(cursor_, cursor) == cursor) {
        return false;
    }
    if (const auto window = hovered_ ? windowService() : nullptr) {
        window->setCursor(cursor);
    }
    return true;
}

// --- Descriptors ----------------------------------------------------------------------------

void Control::setColors(const ColorsRef& colors) {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (changeDescriptor(colors_, colors)) {
        synchronizeBelow();
    }
}

Color Control::color(ColorRole role, Color otherwise) const noexcept {
    const Control* setter = climb(
        this, [role](const Control& at) { return at.colors_ && at.colors_->color(role).isSet; });
    return setter != nullptr ? setter->colors_->color(role) : otherwise;
}

void Control::watch(ChangeTracker* descriptor) {
    if (descriptor != nullptr) {
        descriptor->connect(sharedReference<MessageSink>(this), true);
    }
}

void Control::onJoinedSurface() {
    forEach(children_, [](Control& child) { child.onJoinedSurface(); });
    if (arrangement_.flow != Flow::kManual) {
        rearrange();
    }
}

void Control::onDescriptorChanged() {
    stateChanged();
    // Colours reach down the tree.
    synchronizeBelow();
}

// --- Drawing --------------------------------------------------------------------------------

void Control::draw(GraphicsService& graphics) {
    if (backend() == nullptr && overlapsDrawArea(graphics)) {
        const Point outer = graphics.origin();
        const ScopeExit back([&graphics, outer] { graphics.setOrigin(outer); });
        graphics.setOrigin(outer.movedBy(boundary_.position()));
        drawAsRoot(graphics);
    }
}

void Control::drawAsRoot(GraphicsService& graphics) {
    if (!visible_) {
        return;
    }
    const std::shared_ptr<Control> self = sharedReference(this);
    // A control that is drawn from inside its own drawing would not end.
    ZU_ASSERT(!drawing_);
    const ScopedValue drawing(drawing_, true);
    drawSelf(graphics);
    const bool clips = clipsChildren_ && !children_.empty();
    if (clips) {
        graphics.beginClipping(area());
    }
    const ScopeExit clipping([&graphics, clips] {
        if (clips) {
            guarded(L"Control::draw", [&graphics] { graphics.endClipping(); });
        }
    });
    // Asked for once: of thousands of words few are on the screen.
    const Rect shown = graphics.getDrawArea();
    for (std::size_t i = 0; i < children_.size(); ++i) {
        if (children_[i]->boundary_.intersects(shown)) {
            children_[i]->draw(graphics);
        }
    }
}

bool Control::overlapsDrawArea(const GraphicsService& graphics) const {
    return boundary_.intersects(graphics.getDrawArea());
}

void Control::refresh() {
    if (backend() != nullptr && inputRouter() == nullptr) {
        if (hasNativeObject()) {
            const std::shared_ptr<Control> self = sharedReference(this);
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

void Control::drawBackground(GraphicsService& graphics) const {
    // Inherited colours are those of what lies behind: painted already.
    const Color background = colors_ ? colors_->color(ColorRole::kBackground) : Color();
    if (background.isSet) {
        graphics.drawRectangle(area(), background);
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

void Control::synchronizeTree() {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (IImplementation* native = backend()) {
        native->synchronizeWithAbstraction();
    }
    forEach(children_, [](Control& child) { child.synchronizeTree(); });
}

void Control::showAnew() {
    // Those who hear of it may drop the control.
    const std::shared_ptr<Control> self = sharedReference(this);
    onJoinedSurface();
    synchronizeTree();
    refresh();
}

void Control::releaseTree() noexcept {
    // A window that goes hands the focus on, and somebody may hear of it.
    const std::shared_ptr<Control> self = sharedReference(this);
    forEach(children_, [](Control& child) { child.releaseTree(); });
    if (IImplementation* native = backend()) {
        guarded(ZU_OPERATION, [native] { native->releaseNativeObject(); });
    }
}

bool Control::requestClose() {
    bool staysOpen = false;
    notify(kClose, MessageWord::ofObject(&staysOpen));
    return !staysOpen;
}

// What lies on a surface below moves along with it. The caller holds a reference.
void Control::synchronizeBelow() {
    forEach(children_, [](Control& child) {
        if (child.hasNativeObject()) {
            child.backend()->synchronizeWithAbstraction();
        }
        child.synchronizeBelow();
    });
}

void Control::stateChanged() {
    if (updateDepth_ != 0) {
        updatePending_ = true;
    } else {
        showState();
    }
}

void Control::endUpdate() {
    if (--updateDepth_ == 0 && std::exchange(updatePending_, false)) {
        guarded(ZU_OPERATION, [this] { showState(); });
    }
}

// Native widgets synchronise, drawn ones refresh.
void Control::showState() {
    const std::shared_ptr<Control> self = sharedReference(this);
    if (inputRouter() != nullptr && hasNativeObject()) {
        backend()->synchronizeWithAbstraction();
    }
    refresh();
}

}  // namespace zustd
