// A second backend of the toolkit, without a screen, which records what is asked
// of it. Tests play the user through the portable accept operations and the
// surface's input router, which is all that a real backend does.
#pragma once

#include "ZuApplicationServiceWin32Gdi.h"
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
#include "ZuText.h"
#include "ZuTimer.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd::test {

template <class T>
using Shared = std::shared_ptr<T>;

// All that backends note and logs hear, in order, since it was last taken.
inline std::wstring transcript;
inline std::wstring told() { return std::exchange(transcript, {}); }
inline void tell(const std::wstring& entry) {
    transcript += (transcript.empty() ? L"" : L"; ") + entry;
}

inline std::wstring textOf(std::wstring_view text) { return std::wstring(text); }
// An index of nothing is -1.
std::wstring textOf(std::integral auto number) {
    return std::to_wstring(static_cast<std::int64_t>(number));
}
inline std::wstring textOf(Point point) { return formatWide(L"%d,%d", point.x, point.y); }
inline std::wstring textOf(Size size) { return textOf(Point{size.width, size.height}); }
inline std::wstring textOf(const Rect& rect) {
    return textOf(rect.position()) + L"," + textOf(Point{rect.right, rect.bottom});
}
inline std::wstring textOf(Color color) {
    return formatWide(L"#%02x%02x%02x", int{color.red}, int{color.green}, int{color.blue});
}

template <class... Args>
void note(std::wstring entry, const Args&... args) {
    ((entry += L' ' + textOf(args)), ...);
    tell(entry);
}

// Called whenever a native object is made, brought up to date or given up:
// windows tell all sorts of things meanwhile.
inline std::function<void(Control&)> whileNativeChanges = [](Control&) {};

// A widget's backend. The first synchronisation makes the native object.
template <class Base>
class Recording : public Base {
public:
    void synchronizeWithAbstraction() override {
        const Control& control = this->getAbstraction();
        note((native_ ? L"sync " : L"made ") + textOf(control.boundaryOnSurface()) +
             (control.isShown() ? L"" : L" hidden") + (control.isUsable() ? L"" : L" disabled"));
        native_ = true;
        // Whoever ends the control at the first of them, it is to live to the second.
        whileNativeChanges(this->getAbstraction());
        whileNativeChanges(this->getAbstraction());
    }
    void releaseNativeObject() override {
        if (native_) {
            native_ = false;
            note(L"released");
            whileNativeChanges(this->getAbstraction());
        }
    }
    bool hasNativeObject() const override { return native_; }

private:
    bool native_ = false;
};

template <class A, class I>
using RecordingWidget = Recording<Implementation<A, I>>;

// Never modal: a modal dialog needs a message loop.
class RecordingDialog : public RecordingWidget<NativeDialog, INativeDialogImpl> {
    int show(bool) override {
        const Shared<NativeDialog> self = sharedReference(&getAbstraction());
        synchronizeWithAbstraction();
        getAbstraction().acceptOpen();
        return kAnswerNone;
    }
    void hide(int result) override {
        whileNativeChanges(getAbstraction());
        if (getAbstraction().isOpen()) {
            getAbstraction().acceptClosed(result);
        }
    }
};

inline std::int32_t barThickness = 16;

class RecordingScrollBar : public RecordingWidget<NativeScrollBar, INativeScrollBarImpl> {
    void setRange(std::int32_t low, std::int32_t high) override { note(L"range", low, high); }
    void setPageSize(std::int32_t size) override { note(L"page", size); }
    void setPosition(std::int32_t position) override { note(L"position", position); }
    std::int32_t getPosition() const override { return getAbstraction().position(); }
    bool isTracking() const override { return false; }
    void setEnableArrows(bool back, bool on) override { note(L"arrows", back, on); }
    std::int32_t getThickness() const override { return barThickness; }
};

inline std::int32_t systemTextSize = 11;
inline std::int32_t sizeOf(const Font& font) {
    return font.style().size != 0 ? font.style().size : systemTextSize;
}

// Every character is 7 pixels wide, 8 in bold; a line is the font's size plus 5 pixels high.
class RecordingGraphics : public Implementation<GraphicsService, IGraphicsServiceImpl> {
public:
    void drawGradient(const Rect& area, Color from, Color to, GradientType) override {
        note(L"gradient", area, from, to);
    }
    void drawBitmap(const Bitmap& bitmap, Point place, double alpha) override {
        note(L"bitmap", bitmap.resource().identifier, place, formatWide(L"%.2f", alpha));
    }
    void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) override {
        note(L"stretched", bitmap.resource().identifier, area, formatWide(L"%.2f", alpha));
    }
    void drawFocusFrame(const Rect& area) override { note(L"focus", area); }
    void drawLine(Point from, Point to) override { note(L"line", from, to); }
    void drawRectangle(const Rect& area) override { note(L"frame", area); }
    void drawRectangle(const Rect& area, Color fill) override { note(L"fill", area, fill); }
    void drawText(std::wstring_view text, Point place, const Font&, Color) override {
        note(L"text", place, text);
    }
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat& how) override {
        note(L"text", area, text, sizeOf(font), font.style().underline ? L"u" : L"", color,
             static_cast<int>(how.horizontal), static_cast<int>(how.vertical),
             formatWide(font.style().bold ? L"%d%d%d b" : L"%d%d%d", how.wordWrap, how.ellipsis,
                        how.accelerators));
    }
    Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width) override {
        const Size whole{measureTextWidth(text, font), sizeOf(font) + 5};
        const bool wraps = width > 0 && whole.width > width;
        return wraps ? Size{width, (whole.width + width - 1) / width * whole.height} : whole;
    }
    std::int32_t measureTextWidth(std::wstring_view text, const Font& font) override {
        return static_cast<std::int32_t>(text.size()) * (font.style().bold ? 8 : 7);
    }
    void beginBufferedPaint(const Rect& area) override { note(L"begin", area); }
    void endBufferedPaint() override { note(L"end"); }
    void beginClipping(const Rect& area) override { note(L"clip", area); }
    void endClipping() override { note(L"unclip"); }
    void setClippingArea(const Rect& area) override { note(L"clipArea", area); }
    void clearClippingArea() override { note(L"clearClipArea"); }
    void setPen(Color color, std::int32_t width) override { note(L"pen", color, width); }
    Rect getDrawArea() const override { return {0, 0, 9999, 9999}; }
};

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

inline Shared<ApplicationService> makeRecordingApplicationService() {
    return made<ApplicationServiceWin32Gdi>();
}

// A window service on a screen of 1024 by 768 pixels. What else it
// makes is what ships, without a window.
class RecordingWindowService : public WindowServiceWin32Gdi {
public:
    RecordingWindowService() : WindowServiceWin32Gdi(nullptr) {}
    Shared<NativeDialog> createNativeDialog() override { return createNativeDialog(0); }
    Shared<NativeDialog> createNativeDialog(std::uint32_t style) override {
        return furnished(made<RecordingDialog>(style));
    }
    Shared<NativeWindow> createNativeWindow() override {
        return furnished(made<RecordingWidget<NativeWindow, INativeWindowImpl>>());
    }
    Shared<NativeButton> createNativeButton() override {
        return buttonsLeft-- > 0 ? made<RecordingWidget<NativeButton, INativeButtonImpl>>()
                                 : nullptr;
    }
    Shared<NativeTextBox> createNativeTextBox() override {
        return made<RecordingWidget<NativeTextBox, INativeTextBoxImpl>>();
    }
    void invalidate() override { note(L"invalidate"); }
    void invalidate(const Rect& area) override { note(L"invalidate", area); }
    void setCursor(MouseCursor cursor) override { note(L"cursor", static_cast<int>(cursor)); }
    void captureMouse() override { captured = true; }
    void releaseMouse() override { captured = false; }
    double getScalingFactor() override { return scalingFactor; }
    Rect getWorkArea() const override { return {0, 0, 1023, 767}; }
    Point getClientPosition() const override { return clientPosition; }
    Shared<Font> getFont(const FontStyle& style) override {
        return made<Implementation<Font, IFontImpl>>(style);
    }
    Shared<Bitmap> getBitmap(const ResourceDescriptor& resource, Size size) override {
        auto bitmap = made<Implementation<Bitmap, IBitmapImpl>>(resource, size);
        bitmap->acceptSize(size.isEmpty() ? Size{9, 5} : size);
        return bitmap;
    }
    Shared<NativeScrollBar> createNativeScrollBar(bool vertical) override {
        return made<RecordingScrollBar>(vertical);
    }
    void setFocus(Control& control) override { systemFocus = &control; }

    int buttonsLeft = 9999;
    static inline double scalingFactor = 1.0;
    Point clientPosition;
    Control* systemFocus = nullptr;
    bool captured = false;

private:
    template <class Surface>
    static Shared<Surface> furnished(Shared<Surface> surface) {
        furnishSurface(*surface, made<RecordingWindowService>(), made<RecordingGraphics>());
        return surface;
    }
};

inline Shared<WindowService> makeRecordingWindowService() { return made<RecordingWindowService>(); }

template <class T, class A>
T& recordingOf(const A& abstraction) {
    return dynamic_cast<T&>(abstraction.implementation());
}

class MessageLog : public MessageSink {
public:
    struct Entry {
        MessageWord a;
        MessageWord b;
    };

    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        const std::wstring name(kind.name().substr(0, kind.name().find(L'.')));
        entries.push_back({a, b});
        names_ += (names_.empty() ? L"" : L" ") + name;
        const bool isNumber = b.number() != 0 && kind != Control::kClose;
        tell(name + (isNumber ? L" " + textOf(pointOfWord(b)) : L""));
        return true;
    }
    // The names since the last call, separated by blanks, without the class.
    std::wstring take() {
        entries.clear();
        return std::exchange(names_, {});
    }

    std::vector<Entry> entries;

private:
    std::wstring names_;
};

}  // namespace zustd::test
