// A second backend of the toolkit, without a screen: it makes every portable
// object, records what is asked of it, and keeps mirrors of what a native
// object would show.
//
// Tests reach a widget's backend with recordingOf<T>(*widget) and play the user
// through the portable accept operations and the surface's input router, which
// is all that a real backend does.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ZuApplicationService.h"
#include "ZuControl.h"
#include "ZuGraphicsService.h"
#include "ZuNativeButton.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeDialog.h"
#include "ZuNativeGridView.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "ZuNativeTreeView.h"
#include "ZuNativeWindow.h"
#include "ZuTimer.h"
#include "ZuWindowService.h"

namespace zustd::test {

// What happened, in order, as "operation argument argument".
using Journal = std::vector<std::wstring>;

std::wstring textOf(const Rect& rect);

// What a native object would show of any widget.
struct ShownState {
    Rect boundary;
    bool visible = false;
    bool enabled = false;

    friend bool operator==(const ShownState&, const ShownState&) = default;
};

// The life of a native object: made by the first synchronisation, counted.
template <class Base>
class Recording : public Base {
public:
    void synchronizeWithAbstraction() override {
        if (failsToCreate) {
            return;
        }
        created += native_ ? 0U : 1U;
        native_ = true;
        ++synchronized;
        capture();
    }
    void releaseNativeObject() override {
        released += native_ ? 1U : 0U;
        native_ = false;
    }
    bool hasNativeObject() const override { return native_; }

    unsigned created = 0;
    unsigned released = 0;
    unsigned synchronized = 0;
    bool failsToCreate = false;
    ShownState shown;

protected:
    // Copies what a native object would be given.
    virtual void capture() {
        const Control& control = this->getAbstraction();
        shown = {control.boundaryOnSurface(), control.isShown(), control.isUsable()};
    }

private:
    bool native_ = false;
};

class RecordingButton : public Recording<Implementation<NativeButton, INativeButtonImpl>> {
public:
    std::wstring caption;
    bool checked = false;

protected:
    void capture() override;
};

class RecordingTextBox : public Recording<Implementation<NativeTextBox, INativeTextBoxImpl>> {
public:
    std::wstring text;

protected:
    void capture() override;
};

using RecordingWindow = Recording<Implementation<NativeWindow, INativeWindowImpl>>;

class RecordingDialog : public Recording<Implementation<NativeDialog, INativeDialogImpl>> {
public:
    int show(bool modal) override;
    void hide(int result) override;

    // What the user answers to a modal dialog.
    int answer = kAnswerCancel;
    // Places where it was shown.
    std::vector<Rect> places;
};

class RecordingPopupMenu : public Recording<Implementation<NativePopupMenu, INativePopupMenuImpl>> {
public:
    std::uint32_t show(Point place) override;

    std::uint32_t choice = 0;
    Point shownAt;
};

class RecordingScrollBar : public Recording<Implementation<NativeScrollBar, INativeScrollBarImpl>> {
public:
    void setRange(std::int32_t minimum, std::int32_t maximum) override;
    void setPageSize(std::int32_t size) override;
    void setPosition(std::int32_t position) override;
    std::int32_t getPosition() const override { return position; }
    bool isTracking() const override { return tracking; }
    void setEnableArrows(bool towardsMinimum, bool towardsMaximum) override;
    std::int32_t getThickness() const override { return 16; }

    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t pageSize = 0;
    std::int32_t position = 0;
    bool tracking = false;
    bool canGoBack = false;
    bool canGoOn = false;
};

class RecordingProgressBar
    : public Recording<Implementation<NativeProgressBar, INativeProgressBarImpl>> {
public:
    void setRange(std::int32_t minimum, std::int32_t maximum) override;
    void setPosition(std::int32_t position) override;
    std::int32_t getPosition() const override { return position; }
    void setEnableMarqueeAnimation(bool enable) override { marquee = enable; }
    void setMarqueeInterval(std::uint32_t milliseconds) override { interval = milliseconds; }
    void setState(ProgressState newState) override { state = newState; }
    std::int32_t getThickness() const override { return 12; }

    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t position = 0;
    bool marquee = false;
    std::uint32_t interval = 0;
    ProgressState state = ProgressState::kNormal;
};

class RecordingComboBox : public Recording<ComboBoxImplementation> {
public:
    std::vector<std::wstring> items;
    std::size_t selected = kNullSize;
    unsigned rebuilt = 0;

protected:
    void capture() override;
    void mirrorAdded(std::size_t index) override;
    void mirrorRemoved(std::size_t index) override;
    void mirrorCleared() override;
    void mirrorSelection() override;
};

struct ShownRow {
    std::wstring key;
    std::wstring firstCell;
    std::int32_t bitmap = GridModel::kNoBitmap;
    bool checked = false;
    bool selected = false;

    friend bool operator==(const ShownRow&, const ShownRow&) = default;
};

class RecordingGridView : public Recording<GridViewImplementation> {
public:
    void resizeColumns() override { ++columnsResized; }
    void synchronizeBitmaps() override { ++bitmapsSynchronized; }

    // What the model holds, to compare the mirror with.
    std::vector<ShownRow> wanted() const;

    std::vector<ShownRow> rows;
    unsigned rebuilt = 0;
    unsigned columnsResized = 0;
    unsigned bitmapsSynchronized = 0;

protected:
    void capture() override;
    void mirrorAdded(std::size_t row) override;
    void mirrorRemoved(std::size_t row) override;
    void mirrorCleared() override;
    void mirrorRow(std::size_t row) override;
    void mirrorSelected(std::size_t row, bool selected) override;
    void mirrorAllSelected(bool selected) override;

private:
    ShownRow rowOf(std::size_t row) const;
};

struct ShownNode {
    std::wstring caption;
    std::size_t depth = 0;
    bool expanded = false;
    bool checked = false;
    bool emphasized = false;
    bool selected = false;

    friend bool operator==(const ShownNode&, const ShownNode&) = default;
};

class RecordingTreeView : public Recording<TreeViewImplementation> {
public:
    void ensureNodeVisible(TreeNode node) override { madeVisible = node; }
    Rect getNodeBoundary(TreeNode node) const override;

    // All nodes in the order of the expanded tree: as the native object has
    // them, and as the model does.
    std::vector<ShownNode> flattened() const;
    std::vector<ShownNode> wanted() const;

    unsigned rebuilt = 0;
    TreeNode madeVisible = kNoNode;

protected:
    void capture() override;
    void mirrorAdded(TreeNode node) override;
    void mirrorRemoving(TreeNode node) override;
    void mirrorCleared() override;
    void mirrorNode(TreeNode node) override;
    void mirrorExpanded(TreeNode node) override;
    void mirrorAllExpanded(TreeNode top) override;
    void mirrorSelection() override;

private:
    struct Native {
        ShownNode shown;
        std::vector<TreeNode> children;
    };

    ShownNode nodeOf(TreeNode node) const;
    void flatten(TreeNode parent, std::size_t depth, std::vector<ShownNode>& out) const;

    // The roots are the children of kNoNode.
    std::map<TreeNode, Native> natives_;
    TreeNode selected_ = kNoNode;
};

class RecordingTimer : public Implementation<Timer, ITimerImpl> {
public:
    bool start() override;
    void stop() override { running_ = false; }
    bool isRunning() const override { return running_; }
    void setInterval(std::uint32_t milliseconds) override { interval_ = milliseconds; }
    std::uint32_t getInterval() const override { return interval_; }
    void setRepeating(bool repeating) override { repeating_ = repeating; }
    bool isRepeating() const override { return repeating_; }

private:
    std::uint32_t interval_ = 1;
    bool repeating_ = true;
    bool running_ = false;
};

class RecordingFont : public Implementation<Font, IFontImpl> {};
class RecordingBitmap : public Implementation<Bitmap, IBitmapImpl> {};

// Every character is 7 pixels wide, 8 in bold; a line is the font's size plus 5
// pixels high.
class RecordingGraphics : public Implementation<GraphicsService, IGraphicsServiceImpl> {
public:
    void drawGradient(const Rect& area, Color from, Color to, GradientType type) override;
    void drawBitmap(const Bitmap& bitmap, Point place, double alpha) override;
    void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) override;
    void drawFocusFrame(const Rect& area) override;
    void drawLine(Point from, Point to) override;
    void drawRectangle(const Rect& area) override;
    void drawRectangle(const Rect& area, Color fill) override;
    void drawText(std::wstring_view text, Point place, const Font& font, Color color) override;
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat& format) override;
    Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width) override;
    std::int32_t measureTextWidth(std::wstring_view text, const Font& font) override;
    void beginBufferedPaint(const Rect& area) override;
    void endBufferedPaint() override;
    void beginClipping(const Rect& area) override;
    void endClipping() override;
    void setClippingArea(const Rect& area) override;
    void clearClippingArea() override;
    void setPen(Color color, std::int32_t width) override;
    Rect getDrawArea() const override { return drawArea; }

    Journal journal;
    Rect drawArea{0, 0, 9999, 9999};
};

class RecordingWindowService : public Implementation<WindowService, IWindowServiceImpl> {
public:
    std::shared_ptr<NativeDialog> createNativeDialog() override;
    std::shared_ptr<NativePopupMenu> createNativePopupMenu() override;
    std::shared_ptr<NativeDialog> createNativeDialog(std::uint32_t style) override;
    std::shared_ptr<NativeGridView> createNativeGridView() override;
    std::shared_ptr<NativeTreeView> createNativeTreeView() override;
    std::shared_ptr<NativeWindow> createNativeWindow() override;
    std::shared_ptr<NativeComboBox> createNativeComboBox() override;
    std::shared_ptr<NativeButton> createNativeButton() override;
    std::shared_ptr<NativeProgressBar> createNativeProgressBar() override;
    std::shared_ptr<NativeTextBox> createNativeTextBox() override;
    void invalidate() override;
    void invalidate(const Rect& area) override;
    void updateWindow() override;
    MouseCursor getCursor() const override { return cursor; }
    void setCursor(MouseCursor newCursor) override { cursor = newCursor; }
    Point getMousePosition() const override { return mouse; }
    Point getWindowPosition() const override { return clientPosition; }
    Size getWindowSize() const override { return {800, 600}; }
    void captureMouse() override;
    void releaseMouse() override;
    bool isMessageOpen() const override { return false; }
    int showMessage(MessageBoxContent& box) override;
    void closeMessage(int closing) override;
    int askYesNoCancel(MessageBoxContent& box) override;
    void playMessageSound(std::uint32_t style) override;
    int askYesNo(MessageBoxContent& box) override;
    int askOKCancel(MessageBoxContent& box) override;
    double getScalingFactor() override { return scalingFactor; }
    Rect getWorkArea() const override { return {0, 0, 1023, 767}; }
    Point getClientPosition() const override { return clientPosition; }
    std::shared_ptr<Timer> createTimer(const std::wstring& name) override;
    void closeWindow() override;
    void enableWindow(bool enable) override;
    void hideWindow() override;
    void invalidateWindow() override;
    bool isWindowVisibleAtPos(Point place) const override;
    void makeWindowVisibleAtPos(Point place) override;
    void showWindow() override;
    std::shared_ptr<Font> getFont(const FontStyle& style) override;
    std::shared_ptr<Bitmap> getBitmap(const ResourceDescriptor& resource, Size size) override;
    std::wstring selectFileToOpen(const std::wstring& initialFileName,
                                  const std::vector<std::wstring>& patterns,
                                  const std::vector<std::wstring>& patternNames) override;
    std::shared_ptr<NativeScrollBar> createNativeScrollBar(bool vertical) override;
    void setFocus(Control& control) override;

    Journal journal;
    // What the user answers, and whether with the check box.
    int answer = kAnswerOk;
    bool checksBox = false;
    std::vector<MessageBoxContent> boxes;
    double scalingFactor = 1.0;
    MouseCursor cursor = MouseCursor::kArrow;
    Point mouse;
    Point clientPosition;
    Control* systemFocus = nullptr;
    bool captured = false;

private:
    int answerTo(const wchar_t* operation, MessageBoxContent& box);
};

// A window service with a recording backend.
std::shared_ptr<WindowService> makeRecordingWindowService();

// An application service that has preferences and nothing else.
std::shared_ptr<ApplicationService> makeRecordingApplicationService();

template <class T, class A>
T& recordingOf(const A& abstraction) {
    return dynamic_cast<T&>(abstraction.implementation());
}

// Collects the messages that reach a control's own sinks, as their names.
class MessageLog : public MessageSink {
public:
    struct Entry {
        std::wstring name;
        MessageWord a;
        MessageWord b;
    };

    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

    // The names since the last call, separated by blanks, without the class.
    std::wstring take();

    std::vector<Entry> entries;
};

}  // namespace zustd::test
