// A second backend of the toolkit, without a screen: it makes every portable
// object and records what is asked of it.
//
// Tests reach a widget's backend with recordingOf<T>(*widget) and play the user
// through the portable accept operations and the surface's input router, which
// is all that a real backend does. What native objects then show is the matter
// of the tests of the real backend.
#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
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

template <class T>
using Shared = std::shared_ptr<T>;

// What happened, in order, as "operation argument argument".
using Journal = std::vector<std::wstring>;

std::wstring textOf(std::wstring_view text);
std::wstring textOf(double number);
// An index of nothing is -1.
std::wstring textOf(std::integral auto number) {
    return std::to_wstring(static_cast<std::int64_t>(number));
}
std::wstring textOf(Point point);
std::wstring textOf(const Rect& rect);
std::wstring textOf(Color color);
// The identifier of its resource.
std::wstring textOf(const Bitmap& bitmap);

class Journaling {
public:
    Journal journal;

protected:
    template <class... Args>
    void note(std::wstring entry, const Args&... args) {
        ((entry += L' ' + textOf(args)), ...);
        journal.push_back(std::move(entry));
    }
};

// What a native object would show of any widget.
struct ShownState {
    Rect boundary;
    bool visible = false;
    bool enabled = false;

    friend bool operator==(const ShownState&, const ShownState&) = default;
};

// Called whenever a native object is made, brought up to date or given up:
// windows tell all sorts of things meanwhile.
inline std::function<void(Control&)> whileNativeChanges = [](Control&) {};

// A widget's backend. The life of the native object is counted: it is made by
// the first synchronisation.
template <class Base>
class Recording : public Base, public Journaling {
public:
    void synchronizeWithAbstraction() override {
        created += native_ ? 0U : 1U;
        native_ = true;
        ++synchronized;
        const Control& control = this->getAbstraction();
        shown = {control.boundaryOnSurface(), control.isShown(), control.isUsable()};
        whileNativeChanges(this->getAbstraction());
        fill();
    }
    void releaseNativeObject() override {
        if (native_) {
            native_ = false;
            whileNativeChanges(this->getAbstraction());
            ++released;
        }
    }
    bool hasNativeObject() const override { return native_; }

    unsigned created = 0;
    unsigned released = 0;
    unsigned synchronized = 0;
    ShownState shown;

private:
    // Brings the items of those that have some.
    virtual void fill() {}

    bool native_ = false;
};

template <class A, class I>
using RecordingWidget = Recording<Implementation<A, I>>;

using RecordingButton = RecordingWidget<NativeButton, INativeButtonImpl>;
using RecordingTextBox = RecordingWidget<NativeTextBox, INativeTextBoxImpl>;
using RecordingWindow = RecordingWidget<NativeWindow, INativeWindowImpl>;

// Never modal: a modal dialog needs a message loop.
class RecordingDialog : public RecordingWidget<NativeDialog, INativeDialogImpl> {
public:
    int show(bool modal) override;
    void hide(int result) override;
};

// What is chosen is always 1.
class RecordingPopupMenu : public RecordingWidget<NativePopupMenu, INativePopupMenuImpl> {
public:
    std::uint32_t show(Point) override {
        whileNativeChanges(getAbstraction());
        return 1;
    }
};

class RecordingScrollBar : public RecordingWidget<NativeScrollBar, INativeScrollBarImpl> {
public:
    void setRange(std::int32_t low, std::int32_t high) override { note(L"range", low, high); }
    void setPageSize(std::int32_t size) override { note(L"page", size); }
    void setPosition(std::int32_t position) override { note(L"position", position); }
    std::int32_t getPosition() const override { return getAbstraction().position(); }
    bool isTracking() const override { return false; }
    void setEnableArrows(bool back, bool on) override { note(L"arrows", back, on); }
    std::int32_t getThickness() const override { return 16; }
};

class RecordingProgressBar : public RecordingWidget<NativeProgressBar, INativeProgressBarImpl> {
public:
    void setRange(std::int32_t low, std::int32_t high) override { note(L"range", low, high); }
    void setPosition(std::int32_t position) override { note(L"position", position); }
    std::int32_t getPosition() const override { return getAbstraction().position(); }
    void setEnableMarqueeAnimation(bool enable) override { note(L"marquee", enable); }
    void setMarqueeInterval(std::uint32_t milliseconds) override {
        note(L"interval", milliseconds);
    }
    void setState(ProgressState state) override { note(L"state", static_cast<int>(state)); }
    std::int32_t getThickness() const override { return 12; }
};

class RecordingComboBox : public Recording<ComboBoxImplementation> {
    void fill() override { note(L"fill"); }
    void mirrorAdded(std::size_t index) override { note(L"added", index); }
    void mirrorRemoved(std::size_t index) override { note(L"removed", index); }
    void mirrorCleared() override { note(L"cleared"); }
    void mirrorSelection() override { note(L"selection", getSelectedItem()); }
};

class RecordingGridView : public Recording<GridViewImplementation> {
public:
    void resizeColumns() override { note(L"resizeColumns"); }
    void synchronizeBitmaps() override { note(L"synchronizeBitmaps"); }

private:
    void fill() override;
    void mirrorAdded(std::size_t row) override { note(L"added", row, getRowKey(row)); }
    void mirrorRemoved(std::size_t row) override { note(L"removed", row); }
    void mirrorCleared() override { note(L"cleared"); }
    void mirrorRow(std::size_t row) override { note(L"row", row); }
    void mirrorSelected(std::size_t row, bool on) override { note(L"selected", row, on); }
    void mirrorAllSelected(bool on) override { note(L"allSelected", on); }
};

// Writes down the nodes' keys.
class RecordingTreeView : public Recording<TreeViewImplementation> {
public:
    void ensureNodeVisible(TreeNode node) override { noteNode(L"visible", node); }
    Rect getNodeBoundary(TreeNode) const override { return {}; }

private:
    void fill() override;
    void mirrorAdded(TreeNode node) override { noteNode(L"added", node); }
    void mirrorRemoving(TreeNode node) override { noteNode(L"removing", node); }
    void mirrorCleared() override { note(L"cleared"); }
    void mirrorNode(TreeNode node) override { noteNode(L"node", node); }
    void mirrorExpanded(TreeNode node) override { noteNode(L"expanded", node); }
    void mirrorAllExpanded(TreeNode top) override { noteNode(L"allExpanded", top); }
    void mirrorSelection() override { noteNode(L"selection", getSelectedNode()); }
    void noteNode(const wchar_t* operation, TreeNode node);
};

using RecordingFont = Implementation<Font, IFontImpl>;
using RecordingBitmap = Implementation<Bitmap, IBitmapImpl>;

class RecordingTimer : public Implementation<Timer, ITimerImpl> {
public:
    bool start() override { return running_ = true; }
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

// Every character is 7 pixels wide, 8 in bold; a line is the font's size plus 5
// pixels high.
class RecordingGraphics : public Implementation<GraphicsService, IGraphicsServiceImpl>,
                          public Journaling {
public:
    void drawGradient(const Rect& area, Color from, Color to, GradientType) override {
        note(L"gradient", area, from, to);
    }
    void drawBitmap(const Bitmap& bitmap, Point place, double alpha) override {
        note(L"bitmap", bitmap, place, alpha);
    }
    void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) override {
        note(L"stretched", bitmap, area, alpha);
    }
    void drawFocusFrame(const Rect& area) override { note(L"focus", area); }
    void drawLine(Point from, Point to) override { note(L"line", from, to); }
    void drawRectangle(const Rect& area) override { note(L"frame", area); }
    void drawRectangle(const Rect& area, Color fill) override { note(L"fill", area, fill); }
    void drawText(std::wstring_view text, Point place, const Font&, Color) override {
        note(L"text", place, text);
    }
    void drawText(std::wstring_view text, const Rect& area, const Font&, Color,
                  const TextFormat&) override {
        note(L"text", area, text);
    }
    Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width) override;
    std::int32_t measureTextWidth(std::wstring_view text, const Font& font) override;
    void beginBufferedPaint(const Rect& area) override { note(L"begin", area); }
    void endBufferedPaint() override { note(L"end"); }
    void beginClipping(const Rect& area) override { note(L"clip", area); }
    void endClipping() override { note(L"unclip"); }
    void setClippingArea(const Rect& area) override { note(L"clipArea", area); }
    void clearClippingArea() override { note(L"clearClipArea"); }
    void setPen(Color color, std::int32_t width) override { note(L"pen", color, width); }
    Rect getDrawArea() const override { return drawArea; }

    Rect drawArea{0, 0, 9999, 9999};
};

// A portable object, made of what is given and joined to a backend of this class.
template <class Backend, class... Args>
auto made(Args&&... args) {
    using A = std::remove_reference_t<decltype(std::declval<Backend&>().getAbstraction())>;
    auto abstraction = std::make_shared<A>(std::forward<Args>(args)...);
    if constexpr (requires { abstraction->initialize(); }) {
        abstraction->initialize();
    }
    joinImplementation(*abstraction, std::make_unique<Backend>());
    return abstraction;
}

// A window service with a recording backend.
Shared<WindowService> makeRecordingWindowService();

// The application service as it ships, for its preferences.
Shared<ApplicationService> makeRecordingApplicationService();

// A window service on a screen of 1024 by 768 pixels.
class RecordingWindowService : public Implementation<WindowService, IWindowServiceImpl>,
                               public Journaling {
public:
    Shared<NativeDialog> createNativeDialog() override { return createNativeDialog(0); }
    Shared<NativePopupMenu> createNativePopupMenu() override { return made<RecordingPopupMenu>(); }
    Shared<NativeDialog> createNativeDialog(std::uint32_t style) override {
        return furnished(made<RecordingDialog>(style));
    }
    Shared<NativeGridView> createNativeGridView() override { return made<RecordingGridView>(); }
    Shared<NativeTreeView> createNativeTreeView() override { return made<RecordingTreeView>(); }
    Shared<NativeWindow> createNativeWindow() override {
        return furnished(made<RecordingWindow>());
    }
    Shared<NativeComboBox> createNativeComboBox() override { return made<RecordingComboBox>(); }
    Shared<NativeButton> createNativeButton() override { return made<RecordingButton>(); }
    Shared<NativeProgressBar> createNativeProgressBar() override {
        return made<RecordingProgressBar>();
    }
    Shared<NativeTextBox> createNativeTextBox() override { return made<RecordingTextBox>(); }
    void invalidate() override { note(L"invalidate"); }
    void invalidate(const Rect& area) override { note(L"invalidate", area); }
    void updateWindow() override { note(L"update"); }
    MouseCursor getCursor() const override { return cursor; }
    void setCursor(MouseCursor newCursor) override { cursor = newCursor; }
    Point getMousePosition() const override { return {}; }
    Point getWindowPosition() const override { return clientPosition; }
    Size getWindowSize() const override { return {800, 600}; }
    void captureMouse() override { captured = true; }
    void releaseMouse() override { captured = false; }
    bool isMessageOpen() const override { return false; }
    int showMessage(MessageBoxContent& box) override { return answerTo(L"showMessage", box); }
    void closeMessage(int closing) override { note(L"closeMessage", closing); }
    int askYesNoCancel(MessageBoxContent& box) override { return answerTo(L"askYesNoCancel", box); }
    void playMessageSound(std::uint32_t style) override { note(L"playMessageSound", style); }
    int askYesNo(MessageBoxContent& box) override { return answerTo(L"askYesNo", box); }
    int askOKCancel(MessageBoxContent& box) override { return answerTo(L"askOKCancel", box); }
    double getScalingFactor() override { return scalingFactor; }
    Rect getWorkArea() const override { return {0, 0, 1023, 767}; }
    Point getClientPosition() const override { return clientPosition; }
    Shared<Timer> createTimer(const std::wstring& name) override {
        return made<RecordingTimer>(name);
    }
    void closeWindow() override { note(L"close"); }
    void enableWindow(bool enable) override { note(L"enable", enable); }
    void hideWindow() override { note(L"hide"); }
    void invalidateWindow() override { note(L"invalidateWindow"); }
    bool isWindowVisibleAtPos(Point) const override { return true; }
    void makeWindowVisibleAtPos(Point place) override { note(L"showAt", place); }
    void showWindow() override { note(L"show"); }
    Shared<Font> getFont(const FontStyle& style) override { return made<RecordingFont>(style); }
    Shared<Bitmap> getBitmap(const ResourceDescriptor& resource, Size size) override {
        return made<RecordingBitmap>(resource, size);
    }
    std::wstring selectFileToOpen(const std::wstring& initialFileName,
                                  const std::vector<std::wstring>& patterns,
                                  const std::vector<std::wstring>& patternNames) override;
    Shared<NativeScrollBar> createNativeScrollBar(bool vertical) override {
        return made<RecordingScrollBar>(vertical);
    }
    void setFocus(Control& control) override { systemFocus = &control; }

    // What the user answers, and whether with the check box.
    int answer = kAnswerOk;
    bool checksBox = false;
    std::vector<MessageBoxContent> boxes;
    double scalingFactor = 1.0;
    MouseCursor cursor = MouseCursor::kArrow;
    Point clientPosition;
    Control* systemFocus = nullptr;
    bool captured = false;

private:
    // A surface with services of its own.
    template <class Surface>
    static Shared<Surface> furnished(Shared<Surface> surface) {
        furnishSurface(*surface, makeRecordingWindowService(), made<RecordingGraphics>());
        return surface;
    }
    int answerTo(const wchar_t* operation, MessageBoxContent& box);
};

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
