// The Windows half of a window service.
#pragma once

#include "ZuGeometryWin32Gdi.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuWindowService.h"

namespace zustd {

class MessageBoxWin32Gdi;
struct TimerWindowWin32Gdi;

class WindowServiceWin32Gdi : public Implementation<WindowService, IWindowServiceImpl> {
public:
    // The window is not owned; null binds the service to no window.
    explicit WindowServiceWin32Gdi(HWND window) noexcept : window_(window) {}

    std::shared_ptr<NativeDialog> createNativeDialog() override { return createNativeDialog(0); }
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
    void updateWindow() override { UpdateWindow(window_); }
    MouseCursor getCursor() const override { return cursor_; }
    void setCursor(MouseCursor cursor) override;
    Point getMousePosition() const override;
    Point getWindowPosition() const override { return windowRect(window_).position(); }
    Size getWindowSize() const override { return windowRect(window_).size(); }
    void captureMouse() override;
    void releaseMouse() override;
    bool isMessageOpen() const override { return !openBoxes_.empty(); }
    int showMessage(MessageBoxContent& box) override {
        return showBox(ZU_OPERATION, L"Could not show message", box);
    }
    void closeMessage(int answer) override;
    int askYesNoCancel(MessageBoxContent& box) override { return ask(ZU_OPERATION, box); }
    void playMessageSound(std::uint32_t style) override { MessageBeep(style & kMessageIconMask); }
    int askYesNo(MessageBoxContent& box) override { return ask(ZU_OPERATION, box); }
    int askOKCancel(MessageBoxContent& box) override { return ask(ZU_OPERATION, box); }
    double getScalingFactor() override;
    Rect getWorkArea() const override { return workAreaAround(window_); }
    Point getClientPosition() const override;
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

    HWND window() const noexcept { return window_; }
    // To the window that a surface's backend has made; null when it loses it.
    void connect(HWND window) noexcept { window_ = window; }
    // What is being painted; empty outside of a paint and for a window of somebody else.
    Rect getDrawArea() const noexcept;
    // An identifier that no other native control has had for long.
    static int getNewId() noexcept;

    // From caches that are the UI thread's and serve all window services.
    std::shared_ptr<Font> getCachedFont(const FontStyle& style);
    std::shared_ptr<Bitmap> getCachedBitmap(const ResourceDescriptor& resource, Size size);
    // New ones, joined to their backends and synchronised.
    std::shared_ptr<Font> createFont(const FontStyle& style);
    std::shared_ptr<Bitmap> createBitmap(const ResourceDescriptor& resource, Size size);
    // The caller's own; empty when the system has none to give.
    FontHandle createFontHandle(const FontStyle& style);
    // Shared by this thread's timers.
    static std::shared_ptr<TimerWindowWin32Gdi> createTimerWindow();

    // For all window services, from the next font and image on; 0.0 goes back to the system's.
    static void setScalingFactor(double factor);
    // Lets go of what the caches hold.
    static void clearDrawingCaches() noexcept;

private:
    int showBox(const wchar_t* operation, const wchar_t* failure, MessageBoxContent& box);
    int ask(const wchar_t* operation, MessageBoxContent& box) {
        return showBox(operation, L"Could not ask question", box);
    }

    HWND window_;
    MouseCursor cursor_ = MouseCursor::kArrow;
    // Those that wait for their answers, the innermost last.
    std::vector<MessageBoxWin32Gdi*> openBoxes_;
};

// The backend of a window service; null for null and for one of another origin.
WindowServiceWin32Gdi* windowServiceBackend(const WindowService* service) noexcept;

// A window service with its backend.
std::shared_ptr<WindowService> makeWindowService(HWND window);

}  // namespace zustd
