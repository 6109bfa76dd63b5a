// The Windows half of a window service.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ZuWindowService.h"
#include "ZuWindows.h"

namespace zustd {

class MessageBoxWin32Gdi;

class WindowServiceWin32Gdi : public Implementation<WindowService, IWindowServiceImpl> {
public:
    // The window is not owned; null binds the service to no window.
    explicit WindowServiceWin32Gdi(HWND window) noexcept : window_(window) {}

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
    MouseCursor getCursor() const override;
    void setCursor(MouseCursor cursor) override;
    Point getMousePosition() const override;
    Point getWindowPosition() const override;
    Size getWindowSize() const override;
    void captureMouse() override;
    void releaseMouse() override;
    bool isMessageOpen() const override;
    int showMessage(MessageBoxContent& box) override;
    void closeMessage(int answer) override;
    int askYesNoCancel(MessageBoxContent& box) override;
    void playMessageSound(std::uint32_t style) override;
    int askYesNo(MessageBoxContent& box) override;
    int askOKCancel(MessageBoxContent& box) override;
    double getScalingFactor() override;
    Rect getWorkArea() const override;
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
    // For a surface's backend, which makes and loses its window.
    void setWindow(HWND window) noexcept { window_ = window; }
    // An identifier for a native control, a menu item or a timer that no other
    // one has had for long.
    static int getNewId() noexcept;

private:
    int showBox(const wchar_t* operation, const wchar_t* failure, MessageBoxContent& box);

    HWND window_;
    MouseCursor cursor_ = MouseCursor::kArrow;
    // Those that wait for their answers, the innermost last.
    std::vector<MessageBoxWin32Gdi*> openBoxes_;
};

// A window service with its backend.
std::shared_ptr<WindowService> makeWindowService(HWND window);

}  // namespace zustd
