#include "support/RecordingBackend.h"

#include <algorithm>

#include "ZuText.h"

namespace zustd::test {

namespace {

std::wstring textOf(Point point) { return formatWide(L"%d,%d", point.x, point.y); }

std::wstring textOf(Color color) {
    return formatWide(L"#%02x%02x%02x", unsigned{color.red}, unsigned{color.green},
                      unsigned{color.blue});
}

template <class A, class B, class... Args>
std::shared_ptr<A> makeJoined(Args&&... args) {
    auto abstraction = makeControl<A>(std::forward<Args>(args)...);
    joinImplementation(*abstraction, std::make_unique<B>());
    return abstraction;
}

// A surface with services of its own.
template <class A, class B, class... Args>
std::shared_ptr<A> makeSurface(Args&&... args) {
    auto surface = makeJoined<A, B>(std::forward<Args>(args)...);
    auto graphics = makeService<GraphicsService>();
    joinImplementation(*graphics, std::make_unique<RecordingGraphics>());
    furnishSurface(*surface, makeRecordingWindowService(), graphics);
    return surface;
}

class PreferencesOnly : public Implementation<ApplicationService, IApplicationServiceImpl> {
public:
    std::shared_ptr<WindowService> createActiveWindowService(bool) override { return nullptr; }
    std::shared_ptr<WindowService> createMainWindowService() override { return nullptr; }
    std::shared_ptr<WindowService> createUnboundWindowService() override { return nullptr; }
    std::shared_ptr<WindowService> createDesktopWindowService() override { return nullptr; }
    std::wstring getApplicationName() const override { return {}; }
    void setApplicationName(const std::wstring&) override {}
    bool openDocument(const std::wstring&) override { return false; }
    std::wstring getComputerName() const override { return {}; }
    std::wstring getMachineSid() const override { return {}; }
    std::wstring getApplicationDirectory() const override { return {}; }
    std::wstring getUserAppDataDirectory() const override { return {}; }
    std::wstring getUserDocumentsDirectory() const override { return {}; }
    std::wstring getApplicationDataDirectory(bool) override { return {}; }
    bool hasCriticalError() const override { return false; }
    std::uint32_t getCriticalError() const override { return 0; }
    void setCriticalError(std::uint32_t) override {}
    std::wstring getCriticalErrorText(std::uint32_t) const override { return {}; }
    bool installKeyboardHook() override { return false; }
    void removeKeyboardHook() override {}
    int runMessageLoop() override { return 0; }
    void quitMessageLoop(int) override {}
    std::uint32_t getApplicationState() const override { return 0; }
    void setApplicationState(std::uint32_t) override {}
    std::shared_ptr<PropertyBag> getPreferences() const override { return preferences_; }

private:
    std::shared_ptr<PropertyBag> preferences_ = std::make_shared<PropertyBag>();
};

}  // namespace

std::wstring textOf(const Rect& rect) {
    return formatWide(L"%d,%d,%d,%d", rect.left, rect.top, rect.right, rect.bottom);
}

// --- Widgets --------------------------------------------------------------------------------

void RecordingButton::capture() {
    Recording::capture();
    const NativeButton& button = getAbstraction();
    caption = button.hasCaption() ? button.caption().text(button) : std::wstring();
    checked = button.isChecked();
}

void RecordingTextBox::capture() {
    Recording::capture();
    text = getAbstraction().text();
}

int RecordingDialog::show(bool modal) {
    synchronizeWithAbstraction();
    places.push_back(getAbstraction().boundary());
    getAbstraction().acceptOpen();
    if (!modal) {
        return kAnswerNone;
    }
    getAbstraction().acceptClosed(answer);
    return answer;
}

void RecordingDialog::hide(int result) {
    if (getAbstraction().isOpen()) {
        getAbstraction().acceptClosed(result);
    }
}

std::uint32_t RecordingPopupMenu::show(Point place) {
    shownAt = place;
    return choice;
}

void RecordingScrollBar::setRange(std::int32_t newMinimum, std::int32_t newMaximum) {
    minimum = newMinimum;
    maximum = newMaximum;
}

void RecordingScrollBar::setPageSize(std::int32_t size) { pageSize = size; }

void RecordingScrollBar::setPosition(std::int32_t newPosition) { position = newPosition; }

void RecordingScrollBar::setEnableArrows(bool towardsMinimum, bool towardsMaximum) {
    canGoBack = towardsMinimum;
    canGoOn = towardsMaximum;
}

void RecordingProgressBar::setRange(std::int32_t newMinimum, std::int32_t newMaximum) {
    minimum = newMinimum;
    maximum = newMaximum;
}

void RecordingProgressBar::setPosition(std::int32_t newPosition) { position = newPosition; }

// --- Combo box ------------------------------------------------------------------------------

void RecordingComboBox::capture() {
    Recording::capture();
    items = getAbstraction().items();
    selected = getAbstraction().getSelectedItem();
    ++rebuilt;
}

void RecordingComboBox::mirrorAdded(std::size_t index) {
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(index),
                 getAbstraction().getItemText(index));
}

void RecordingComboBox::mirrorRemoved(std::size_t index) {
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
}

void RecordingComboBox::mirrorCleared() {
    items.clear();
    selected = kNullSize;
}

void RecordingComboBox::mirrorSelection() { selected = getAbstraction().getSelectedItem(); }

// --- Grid -----------------------------------------------------------------------------------

ShownRow RecordingGridView::rowOf(std::size_t row) const {
    const GridModel& model = getAbstraction().model();
    return {model.key(row), model.cell(row, 0), model.bitmap(row), model.isChecked(row),
            model.isSelected(row)};
}

std::vector<ShownRow> RecordingGridView::wanted() const {
    std::vector<ShownRow> all;
    for (std::size_t row = 0; row < getAbstraction().model().rowCount(); ++row) {
        all.push_back(rowOf(row));
    }
    return all;
}

void RecordingGridView::capture() {
    Recording::capture();
    if (isStale()) {
        rows = wanted();
        ++rebuilt;
        markFresh();
    }
}

void RecordingGridView::mirrorAdded(std::size_t row) {
    rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(row), rowOf(row));
}

void RecordingGridView::mirrorRemoved(std::size_t row) {
    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(row));
}

void RecordingGridView::mirrorCleared() { rows.clear(); }

void RecordingGridView::mirrorRow(std::size_t row) { rows[row] = rowOf(row); }

void RecordingGridView::mirrorSelected(std::size_t row, bool selected) {
    rows[row].selected = selected;
}

void RecordingGridView::mirrorAllSelected(bool selected) {
    for (ShownRow& row : rows) {
        row.selected = selected;
    }
}

// --- Tree -----------------------------------------------------------------------------------

Rect RecordingTreeView::getNodeBoundary(TreeNode node) const {
    return getAbstraction().model().contains(node) ? Rect{0, 0, 99, 15} : Rect();
}

ShownNode RecordingTreeView::nodeOf(TreeNode node) const {
    const TreeModel& model = getAbstraction().model();
    return {model.caption(node),      0,    model.isExpanded(node), model.isChecked(node),
            model.isEmphasized(node), false};
}

void RecordingTreeView::flatten(TreeNode parent, std::size_t depth,
                                std::vector<ShownNode>& out) const {
    const auto found = natives_.find(parent);
    if (found == natives_.end()) {
        return;
    }
    for (const TreeNode child : found->second.children) {
        ShownNode entry = natives_.at(child).shown;
        entry.depth = depth;
        entry.selected = child == selected_;
        out.push_back(entry);
        flatten(child, depth + 1, out);
    }
}

std::vector<ShownNode> RecordingTreeView::flattened() const {
    std::vector<ShownNode> all;
    flatten(kNoNode, 0, all);
    return all;
}

std::vector<ShownNode> RecordingTreeView::wanted() const {
    const TreeModel& model = getAbstraction().model();
    std::vector<ShownNode> all;
    for (TreeNode node = model.firstRoot(); node != kNoNode; node = model.next(node)) {
        ShownNode entry = nodeOf(node);
        for (TreeNode above = model.parent(node); above != kNoNode; above = model.parent(above)) {
            ++entry.depth;
        }
        entry.selected = node == model.selected();
        all.push_back(entry);
    }
    return all;
}

void RecordingTreeView::capture() {
    Recording::capture();
    if (!isStale()) {
        return;
    }
    natives_.clear();
    const TreeModel& model = getAbstraction().model();
    for (TreeNode node = model.firstRoot(); node != kNoNode; node = model.next(node)) {
        natives_[model.parent(node)].children.push_back(node);
        natives_[node].shown = nodeOf(node);
    }
    selected_ = model.selected();
    ++rebuilt;
    markFresh();
}

void RecordingTreeView::mirrorAdded(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    std::vector<TreeNode>& siblings = natives_[model.parent(node)].children;
    const TreeNode previous = model.previousSibling(node);
    auto place = siblings.begin();
    if (previous != kNoNode) {
        place = std::find(siblings.begin(), siblings.end(), previous) + 1;
    }
    siblings.insert(place, node);
    natives_[node].shown = nodeOf(node);
}

void RecordingTreeView::mirrorRemoving(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    std::erase(natives_[model.parent(node)].children, node);
    const TreeNode end = model.nextBeyond(node);
    for (TreeNode leaving = node; leaving != end; leaving = model.next(leaving)) {
        natives_.erase(leaving);
    }
}

void RecordingTreeView::mirrorCleared() {
    natives_.clear();
    selected_ = kNoNode;
}

void RecordingTreeView::mirrorNode(TreeNode node) { natives_.at(node).shown = nodeOf(node); }

void RecordingTreeView::mirrorExpanded(TreeNode node) {
    natives_.at(node).shown.expanded = getAbstraction().model().isExpanded(node);
}

void RecordingTreeView::mirrorAllExpanded(TreeNode top) {
    const TreeModel& model = getAbstraction().model();
    const TreeNode end = top == kNoNode ? kNoNode : model.nextBeyond(top);
    for (TreeNode node = top == kNoNode ? model.firstRoot() : top; node != end;
         node = model.next(node)) {
        mirrorExpanded(node);
    }
}

void RecordingTreeView::mirrorSelection() { selected_ = getAbstraction().model().selected(); }

// --- Timer ----------------------------------------------------------------------------------

bool RecordingTimer::start() {
    running_ = true;
    return true;
}

// --- Graphics -------------------------------------------------------------------------------

void RecordingGraphics::drawGradient(const Rect& area, Color from, Color to, GradientType) {
    journal.push_back(L"gradient " + textOf(area) + L' ' + textOf(from) + L' ' + textOf(to));
}

void RecordingGraphics::drawBitmap(const Bitmap& bitmap, Point place, double alpha) {
    journal.push_back(formatWide(L"bitmap %llu %d,%d %.2f",
                                 static_cast<unsigned long long>(bitmap.resource().identifier),
                                 place.x, place.y, alpha));
}

void RecordingGraphics::drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) {
    journal.push_back(formatWide(L"stretched %llu %ls %.2f",
                                 static_cast<unsigned long long>(bitmap.resource().identifier),
                                 textOf(area).c_str(), alpha));
}

void RecordingGraphics::drawFocusFrame(const Rect& area) {
    journal.push_back(L"focus " + textOf(area));
}

void RecordingGraphics::drawLine(Point from, Point to) {
    journal.push_back(L"line " + textOf(from) + L' ' + textOf(to));
}

void RecordingGraphics::drawRectangle(const Rect& area) {
    journal.push_back(L"frame " + textOf(area));
}

void RecordingGraphics::drawRectangle(const Rect& area, Color fill) {
    journal.push_back(L"fill " + textOf(area) + L' ' + textOf(fill));
}

void RecordingGraphics::drawText(std::wstring_view text, Point place, const Font&, Color) {
    journal.push_back(L"text " + textOf(place) + L' ' + std::wstring(text));
}

void RecordingGraphics::drawText(std::wstring_view text, const Rect& area, const Font&, Color,
                                 const TextFormat&) {
    journal.push_back(L"text " + textOf(area) + L' ' + std::wstring(text));
}

Size RecordingGraphics::measureTextSize(std::wstring_view text, const Font& font,
                                        std::int32_t width) {
    const std::int32_t whole = measureTextWidth(text, font);
    const std::int32_t line = font.style().size + 5;
    if (width <= 0 || whole <= width) {
        return {whole, line};
    }
    return {width, (whole + width - 1) / width * line};
}

std::int32_t RecordingGraphics::measureTextWidth(std::wstring_view text, const Font& font) {
    return static_cast<std::int32_t>(text.size()) * (font.style().bold ? 8 : 7);
}

void RecordingGraphics::beginBufferedPaint(const Rect& area) {
    journal.push_back(L"begin " + textOf(area));
}

void RecordingGraphics::endBufferedPaint() { journal.emplace_back(L"end"); }

void RecordingGraphics::beginClipping(const Rect& area) {
    journal.push_back(L"clip " + textOf(area));
}

void RecordingGraphics::endClipping() { journal.emplace_back(L"unclip"); }

void RecordingGraphics::setClippingArea(const Rect& area) {
    journal.push_back(L"clipArea " + textOf(area));
}

void RecordingGraphics::clearClippingArea() { journal.emplace_back(L"clearClipArea"); }

void RecordingGraphics::setPen(Color color, std::int32_t width) {
    journal.push_back(L"pen " + textOf(color) + formatWide(L" %d", width));
}

// --- Window service -------------------------------------------------------------------------

std::shared_ptr<NativeDialog> RecordingWindowService::createNativeDialog() {
    return createNativeDialog(0);
}

std::shared_ptr<NativePopupMenu> RecordingWindowService::createNativePopupMenu() {
    return makeJoined<NativePopupMenu, RecordingPopupMenu>();
}

std::shared_ptr<NativeDialog> RecordingWindowService::createNativeDialog(std::uint32_t style) {
    return makeSurface<NativeDialog, RecordingDialog>(style);
}

std::shared_ptr<NativeGridView> RecordingWindowService::createNativeGridView() {
    return makeJoined<NativeGridView, RecordingGridView>();
}

std::shared_ptr<NativeTreeView> RecordingWindowService::createNativeTreeView() {
    return makeJoined<NativeTreeView, RecordingTreeView>();
}

std::shared_ptr<NativeWindow> RecordingWindowService::createNativeWindow() {
    return makeSurface<NativeWindow, RecordingWindow>();
}

std::shared_ptr<NativeComboBox> RecordingWindowService::createNativeComboBox() {
    return makeJoined<NativeComboBox, RecordingComboBox>();
}

std::shared_ptr<NativeButton> RecordingWindowService::createNativeButton() {
    return makeJoined<NativeButton, RecordingButton>();
}

std::shared_ptr<NativeProgressBar> RecordingWindowService::createNativeProgressBar() {
    return makeJoined<NativeProgressBar, RecordingProgressBar>();
}

std::shared_ptr<NativeTextBox> RecordingWindowService::createNativeTextBox() {
    return makeJoined<NativeTextBox, RecordingTextBox>();
}

std::shared_ptr<NativeScrollBar> RecordingWindowService::createNativeScrollBar(bool vertical) {
    return makeJoined<NativeScrollBar, RecordingScrollBar>(vertical);
}

std::shared_ptr<Timer> RecordingWindowService::createTimer(const std::wstring& name) {
    auto timer = std::make_shared<Timer>(name);
    joinImplementation(*timer, std::make_unique<RecordingTimer>());
    return timer;
}

void RecordingWindowService::invalidate() { journal.emplace_back(L"invalidate"); }

void RecordingWindowService::invalidate(const Rect& area) {
    journal.push_back(L"invalidate " + textOf(area));
}

void RecordingWindowService::updateWindow() { journal.emplace_back(L"update"); }

void RecordingWindowService::captureMouse() { captured = true; }

void RecordingWindowService::releaseMouse() { captured = false; }

int RecordingWindowService::answerTo(const wchar_t* operation, MessageBoxContent& box) {
    journal.emplace_back(operation);
    box.doNotShowAgain = checksBox && !box.checkBoxText.empty();
    boxes.push_back(box);
    return answer;
}

int RecordingWindowService::showMessage(MessageBoxContent& box) {
    return answerTo(L"showMessage", box);
}

void RecordingWindowService::closeMessage(int closing) {
    journal.push_back(formatWide(L"closeMessage %d", closing));
}

int RecordingWindowService::askYesNoCancel(MessageBoxContent& box) {
    return answerTo(L"askYesNoCancel", box);
}

void RecordingWindowService::playMessageSound(std::uint32_t style) {
    journal.push_back(formatWide(L"playMessageSound %u", style));
}

int RecordingWindowService::askYesNo(MessageBoxContent& box) { return answerTo(L"askYesNo", box); }

int RecordingWindowService::askOKCancel(MessageBoxContent& box) {
    return answerTo(L"askOKCancel", box);
}

void RecordingWindowService::closeWindow() { journal.emplace_back(L"close"); }

void RecordingWindowService::enableWindow(bool enable) {
    journal.emplace_back(enable ? L"enable" : L"disable");
}

void RecordingWindowService::hideWindow() { journal.emplace_back(L"hide"); }

void RecordingWindowService::invalidateWindow() { journal.emplace_back(L"invalidateWindow"); }

bool RecordingWindowService::isWindowVisibleAtPos(Point place) const {
    return Rect{0, 0, 799, 599}.contains(place);
}

void RecordingWindowService::makeWindowVisibleAtPos(Point place) {
    journal.push_back(L"showAt " + textOf(place));
}

void RecordingWindowService::showWindow() { journal.emplace_back(L"show"); }

std::shared_ptr<Font> RecordingWindowService::getFont(const FontStyle& style) {
    auto font = std::make_shared<Font>(style);
    joinImplementation(*font, std::make_unique<RecordingFont>());
    return font;
}

std::shared_ptr<Bitmap> RecordingWindowService::getBitmap(const ResourceDescriptor& resource,
                                                          Size size) {
    auto bitmap = std::make_shared<Bitmap>(resource, size);
    joinImplementation(*bitmap, std::make_unique<RecordingBitmap>());
    return bitmap;
}

std::wstring RecordingWindowService::selectFileToOpen(
    const std::wstring& initialFileName, const std::vector<std::wstring>& patterns,
    const std::vector<std::wstring>& patternNames) {
    journal.push_back(formatWide(L"selectFileToOpen %ls %llu %llu", initialFileName.c_str(),
                                 static_cast<unsigned long long>(patterns.size()),
                                 static_cast<unsigned long long>(patternNames.size())));
    return L"chosen.txt";
}

void RecordingWindowService::setFocus(Control& control) { systemFocus = &control; }

// --- Services -------------------------------------------------------------------------------

std::shared_ptr<WindowService> makeRecordingWindowService() {
    auto service = makeService<WindowService>();
    joinImplementation(*service, std::make_unique<RecordingWindowService>());
    return service;
}

std::shared_ptr<ApplicationService> makeRecordingApplicationService() {
    auto service = makeService<ApplicationService>();
    joinImplementation(*service, std::make_unique<PreferencesOnly>());
    return service;
}

bool MessageLog::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    entries.push_back({std::wstring(kind.name()), a, b});
    return true;
}

std::wstring MessageLog::take() {
    std::wstring names;
    for (const Entry& entry : entries) {
        names += names.empty() ? L"" : L" ";
        names += entry.name.substr(0, entry.name.find(L'.'));
    }
    entries.clear();
    return names;
}

}  // namespace zustd::test
