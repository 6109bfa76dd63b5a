#include "ZuWindowHandlerWin32Gdi.h"

#include "ZuGeometryWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuNativeControlWin32Gdi.h"
#include "ZuResourceService.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

namespace {

constexpr wchar_t kHandlerProperty[] = L"ZuWindowHandler";

// What caption and borders add to the client area.
Size frameSizeOf(HWND window) noexcept {
    const Size outer = windowRect(window).size();
    const Size client = clientSizeOf(window);
    return {outer.width - client.width, outer.height - client.height};
}

class LanguageListener : public MessageSink {
public:
    explicit LanguageListener(Control& surface) noexcept : surface_(surface) {}

    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        const bool isLanguage = kind == ResourceService::kLanguageChanged;
        if (isLanguage) {
            surface_.showAnew();
        }
        return isLanguage;
    }

private:
    Control& surface_;
};

}  // namespace

HWND nativeWindowOf(const Control& control) noexcept {
    const IImplementation* backend = control.backend();
    if (const auto* widget = dynamic_cast<const NativeControlWin32Gdi*>(backend)) {
        return widget->window();
    }
    const auto* handler = dynamic_cast<const WindowHandlerWin32Gdi*>(backend);
    return handler != nullptr ? handler->window() : nullptr;
}

// The pointer is only looked at where it was written: in this thread.
WindowHandlerWin32Gdi* WindowHandlerWin32Gdi::of(HWND window) noexcept {
    const bool isHere = GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId();
    return isHere ? static_cast<WindowHandlerWin32Gdi*>(GetPropW(window, kHandlerProperty))
                  : nullptr;
}

WindowHandlerWin32Gdi* WindowHandlerWin32Gdi::around(HWND window) noexcept {
    WindowHandlerWin32Gdi* found = nullptr;
    while (window != nullptr && (found = of(window)) == nullptr) {
        window = GetAncestor(window, GA_PARENT);
    }
    return found;
}

HWND WindowHandlerWin32Gdi::creatorWindow() const {
    const WindowServiceWin32Gdi* backend = windowServiceBackend(services_.creator.lock().get());
    const HWND window = backend != nullptr ? backend->window() : nullptr;
    return window != GetDesktopWindow() && IsWindow(window) ? window : nullptr;
}

// --- The window's life ----------------------------------------------------------------------

WindowHandlerWin32Gdi::WindowHandlerWin32Gdi(SurfaceServices services,
                                             const wchar_t* operation) noexcept
    : services_(std::move(services)), operation_(operation) {}

void WindowHandlerWin32Gdi::adopt(HWND window) {
    window_ = window;
    size_ = clientSizeOf(window);
    caption_.clear();
    enabled_ = true;
    SetPropW(window, kHandlerProperty, this);
    windowServiceBackend(services_.window.get())->connect(window);
    if (const auto resources = surface().getService<ResourceService>()) {
        languageListener_ = std::make_shared<LanguageListener>(surface());
        resources->connect(languageListener_, true);
    }
}

// The window itself may go on for a while, or has come to its end.
HWND WindowHandlerWin32Gdi::forgetWindow() noexcept {
    const HWND window = std::exchange(window_, nullptr);
    RemovePropW(window, kHandlerProperty);
    windowServiceBackend(services_.window.get())->connect(nullptr);
    languageListener_.reset();
    blocked_ = false;
    tracksLeaving_ = false;
    keptFocusWindow_ = nullptr;
    return window;
}

void WindowHandlerWin32Gdi::destroyWindow() noexcept {
    if (window_ != nullptr) {
        const LastErrorKeeper keeper;
        DestroyWindow(forgetWindow());
    }
}

bool WindowHandlerWin32Gdi::deliver(const WindowMessage& message, LRESULT& result) noexcept {
    WindowHandlerWin32Gdi* handler = of(message.window);
    if (handler == nullptr) {
        return false;
    }
    // Whoever hears of it may drop the surface.
    const std::shared_ptr<Control> alive = sharedReference<Control>(&handler->surface());
    return guarded(handler->operation_, false, [&] { return handler->dispatch(message, result); });
}

LRESULT CALLBACK WindowHandlerWin32Gdi::windowProcedure(HWND window, UINT id, WPARAM wide,
                                                        LPARAM extra) noexcept {
    LRESULT result = 0;
    return deliver({window, id, wide, extra}, result) ? result
                                                      : DefWindowProcW(window, id, wide, extra);
}

INT_PTR CALLBACK WindowHandlerWin32Gdi::dialogProcedure(HWND window, UINT id, WPARAM wide,
                                                        LPARAM extra) noexcept {
    LRESULT result = 0;
    if (!deliver({window, id, wide, extra}, result)) {
        return FALSE;
    }
    // These are answered by the return value itself.
    if (id >= WM_CTLCOLORMSGBOX && id <= WM_CTLCOLORSTATIC) {
        return result;
    }
    SetWindowLongPtrW(window, DWLP_MSGRESULT, result);
    return TRUE;
}

bool WindowHandlerWin32Gdi::dispatch(const WindowMessage& message, LRESULT& result) {
    return onWindowMessage(message, result) ||
           (message.window == window_ &&
            (handleFrame(message) || handlePainting(message, result) ||
             handleMouse(message, result) || handleKey(message, result) || handleFocus(message)));
}

// --- State ----------------------------------------------------------------------------------

void WindowHandlerWin32Gdi::synchronizeSize() {
    const Size wanted = surface().boundary().size();
    if (wanted == size_ || IsIconic(window_)) {
        return;
    }
    size_ = wanted;
    const Size frame = frameSizeOf(window_);
    SetWindowPos(window_, nullptr, 0, 0, saturatedSum(wanted.width, frame.width),
                 saturatedSum(wanted.height, frame.height),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER);
    // A window that was as large as it can be by then says nothing of it.
    const Size got = window_ != nullptr ? clientSizeOf(window_) : wanted;
    if (got != wanted) {
        size_ = got;
        surface().acceptSize(got);
    }
}

void WindowHandlerWin32Gdi::synchronizeCaption(const std::wstring& caption) {
    if (std::exchange(caption_, caption) != caption) {
        SetWindowTextW(window_, caption.c_str());
    }
}

void WindowHandlerWin32Gdi::synchronizeEnabled() {
    const bool enabled = surface().isUsable() && takesInput_ && !blocked_;
    if (std::exchange(enabled_, enabled) != enabled) {
        EnableWindow(window_, enabled ? TRUE : FALSE);
    }
}

bool WindowHandlerWin32Gdi::handleFrame(const WindowMessage& message) {
    switch (message.id) {
        case WM_SIZE:
            if (message.wide != SIZE_MINIMIZED) {
                size_ = {LOWORD(message.extra), HIWORD(message.extra)};
                surface().acceptSize(size_);
            }
            break;
        case WM_GETMINMAXINFO:
            applyLimits(*reinterpret_cast<MINMAXINFO*>(message.extra));
            break;
        case WM_DPICHANGED: {
            const Rect area = portableRect(*reinterpret_cast<const RECT*>(message.extra));
            SetWindowPos(window_, nullptr, area.left, area.top, area.width(), area.height(),
                         SWP_NOZORDER | SWP_NOACTIVATE);
            return true;
        }
        case WM_SYSCOLORCHANGE:
            // The common controls hear of it only from here.
            for (HWND child = GetWindow(window_, GW_CHILD); child != nullptr;
                 child = GetWindow(child, GW_HWNDNEXT)) {
                SendMessageW(child, message.id, message.wide, message.extra);
            }
            surface().showChildren();
            break;
        case WM_THEMECHANGED:
            InvalidateRect(window_, nullptr, FALSE);
            break;
        case WM_CLOSE:
            if (!blocked_) {
                onCloseRequest();
            }
            return true;
        case WM_NCDESTROY:
            // It went with its parent or owner.
            forgetWindow();
            onWindowLost();
            break;
        default:
            break;
    }
    return false;
}

void WindowHandlerWin32Gdi::applyLimits(MINMAXINFO& limits) const {
    const Size frame = frameSizeOf(window_);
    const auto limit = [&frame](POINT& size, Size client) {
        size.x = client.width > 0 ? saturatedSum(client.width, frame.width) : size.x;
        size.y = client.height > 0 ? saturatedSum(client.height, frame.height) : size.y;
    };
    limit(limits.ptMinTrackSize, surface().placement().minimum);
    limit(limits.ptMaxTrackSize, surface().placement().maximum);
}

// --- Painting -------------------------------------------------------------------------------

bool WindowHandlerWin32Gdi::handlePainting(const WindowMessage& message, LRESULT& result) {
    switch (message.id) {
        case WM_ERASEBKGND:
            // Painting covers the background.
            result = 1;
            return true;
        case WM_PAINT:
            paintWindow();
            return true;
        case WM_PRINTCLIENT: {
            // Also what native widgets that let their background through ask
            // for; one of them may do so while it is painted as part of this.
            const auto context = reinterpret_cast<HDC>(message.wide);
            RECT clip{};
            GetClipBox(context, &clip);
            const Rect area = portableRect(clip).intersection(Rect::at({}, clientSizeOf(window_)));
            if (drawArea_.isEmpty() && !area.isEmpty()) {
                paint(context, area);
            }
            return true;
        }
        case WM_CTLCOLORSTATIC:
        case WM_CTLCOLORBTN:
            return colorControl(message, result);
        default:
            return false;
    }
}

void WindowHandlerWin32Gdi::paintWindow() {
    PAINTSTRUCT request{};
    const HDC context = BeginPaint(window_, &request);
    const HWND window = window_;
    const Rect area = portableRect(request.rcPaint);
    if (!drawArea_.isEmpty()) {
        missedArea_ = missedArea_.unionWith(area);
    } else if (!area.isEmpty()) {
        paint(context, area);
    }
    EndPaint(window, &request);
}

void WindowHandlerWin32Gdi::paint(HDC context, const Rect& area) {
    GraphicsService& graphics = *services_.graphics;
    guarded(operation_, [&] {
        const ScopedValue painting(drawArea_, area);
        graphicsBackend(graphics).connect(context, area);
        const ScopeExit connected([&]() noexcept { graphicsBackend(graphics).disconnect(); });
        // Shown on every way out.
        graphics.beginBufferedPaint(area);
        const ScopeExit buffered(
            [&]() noexcept { guarded(operation_, [&] { graphics.endBufferedPaint(); }); });
        const Color background = surface().color(ColorRole::kBackground);
        graphics.drawRectangle(area, background.isSet ? background : systemColor(COLOR_BTNFACE));
        surface().drawAsRoot(graphics);
    });
    if (!missedArea_.isEmpty()) {
        services_.window->invalidate(std::exchange(missedArea_, {}));
    }
}

bool WindowHandlerWin32Gdi::colorControl(const WindowMessage& message, LRESULT& result) {
    // The drawn control that the native widget lies on.
    const auto child = reinterpret_cast<HWND>(message.extra);
    const Control* found = surface().controlAt(windowRect(child, window_).position());
    const Control& holder = found != nullptr ? *found : surface();
    const Color background = holder.color(ColorRole::kBackground);
    if (!background.isSet) {
        return false;
    }
    const auto context = reinterpret_cast<HDC>(message.wide);
    result = answerBackground(context, background);
    if (const Color text = holder.color(ColorRole::kText); text.isSet) {
        SetTextColor(context, nativeColor(text));
    }
    return true;
}

}  // namespace zustd
