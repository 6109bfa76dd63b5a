#include "ZuButtonWin32Gdi.h"
#include "ZuComboBoxWin32Gdi.h"
#include "ZuDialogWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuGridViewWin32Gdi.h"
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
#include "ZuPopupMenuWin32Gdi.h"
#include "ZuProgressBarWin32Gdi.h"
#include "ZuScrollBarWin32Gdi.h"
#include "ZuTextBoxWin32Gdi.h"
#include "ZuTimerWin32Gdi.h"
#include "ZuTreeViewWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "ZuWindowWin32Gdi.h"

namespace zustd {

namespace {

// A surface with services of its own; the creator is the service that makes it.
template <class Backend, class Surface>
std::shared_ptr<Surface> furnished(const std::shared_ptr<Surface>& surface,
                                   WindowService& creator) {
    const std::shared_ptr<WindowService> windowService = makeWindowService(nullptr);
    const std::shared_ptr<GraphicsService> graphicsService = makeGraphicsService();
    joinImplementation(*surface, std::make_unique<Backend>(sharedReference<WindowService>(&creator),
                                                           windowService, graphicsService));
    furnishSurface(*surface, windowService, graphicsService);
    return surface;
}

// A widget joined to its backend; null when that fails.
template <class Widget, class Backend, class... Args>
std::shared_ptr<Widget> madeControl(const wchar_t* operation, HWND hostWindow, Args... args) {
    return guarded(operation, std::shared_ptr<Widget>(), [&] {
        auto widget = makeControl<Widget>(args...);
        joinImplementation(*widget, std::make_unique<Backend>(hostWindow));
        return widget;
    });
}

}  // namespace

std::shared_ptr<NativeDialog> WindowServiceWin32Gdi::createNativeDialog() {
    return createNativeDialog(0);
}

std::shared_ptr<NativePopupMenu> WindowServiceWin32Gdi::createNativePopupMenu() {
    return guarded(L"WindowServiceWin32Gdi::createNativePopupMenu",
                   std::shared_ptr<NativePopupMenu>(), [this] {
                       auto menu = makeControl<NativePopupMenu>();
                       joinImplementation(*menu,
                                          std::make_unique<PopupMenuWin32Gdi>(
                                              sharedReference<WindowService>(&getAbstraction())));
                       return menu;
                   });
}

std::shared_ptr<NativeDialog> WindowServiceWin32Gdi::createNativeDialog(std::uint32_t style) {
    return guarded(L"WindowServiceWin32Gdi::createNativeDialog", std::shared_ptr<NativeDialog>(),
                   [this, style] {
                       return furnished<DialogWin32Gdi>(makeControl<NativeDialog>(style),
                                                        getAbstraction());
                   });
}

std::shared_ptr<NativeGridView> WindowServiceWin32Gdi::createNativeGridView() {
    return madeControl<NativeGridView, GridViewWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeGridView", window_);
}

std::shared_ptr<NativeTreeView> WindowServiceWin32Gdi::createNativeTreeView() {
    return madeControl<NativeTreeView, TreeViewWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeTreeView", window_);
}

std::shared_ptr<NativeWindow> WindowServiceWin32Gdi::createNativeWindow() {
    return guarded(
        L"WindowServiceWin32Gdi::createNativeWindow", std::shared_ptr<NativeWindow>(), [this] {
            return furnished<WindowWin32Gdi>(makeControl<NativeWindow>(), getAbstraction());
        });
}

std::shared_ptr<NativeComboBox> WindowServiceWin32Gdi::createNativeComboBox() {
    return madeControl<NativeComboBox, ComboBoxWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeComboBox", window_);
}

std::shared_ptr<NativeButton> WindowServiceWin32Gdi::createNativeButton() {
    return madeControl<NativeButton, ButtonWin32Gdi>(L"WindowServiceWin32Gdi::createNativeButton",
                                                     window_);
}

std::shared_ptr<NativeProgressBar> WindowServiceWin32Gdi::createNativeProgressBar() {
    return madeControl<NativeProgressBar, ProgressBarWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeProgressBar", window_);
}

std::shared_ptr<NativeTextBox> WindowServiceWin32Gdi::createNativeTextBox() {
    return madeControl<NativeTextBox, TextBoxWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeTextBox", window_);
}

std::shared_ptr<NativeScrollBar> WindowServiceWin32Gdi::createNativeScrollBar(bool vertical) {
    return madeControl<NativeScrollBar, ScrollBarWin32Gdi>(
        L"WindowServiceWin32Gdi::createNativeScrollBar", window_, vertical);
}

std::shared_ptr<Timer> WindowServiceWin32Gdi::createTimer(const std::wstring& name) {
    return guarded(L"WindowServiceWin32Gdi::createTimer", std::shared_ptr<Timer>(), [&] {
        auto timer = std::make_shared<Timer>(name);
        joinImplementation(*timer, std::make_unique<TimerWin32Gdi>(createTimerWindow()));
        return timer;
    });
}

std::shared_ptr<Font> WindowServiceWin32Gdi::getFont(const FontStyle& style) {
    return guarded(L"WindowServiceWin32Gdi::getFont", std::shared_ptr<Font>(),
                   [&] { return getCachedFont(style); });
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::getBitmap(const ResourceDescriptor& resource,
                                                         Size size) {
    return guarded(L"WindowServiceWin32Gdi::getBitmap", std::shared_ptr<Bitmap>(),
                   [&] { return getCachedBitmap(resource, size); });
}

void WindowServiceWin32Gdi::setFocus(Control& control) {
    if (WindowHandlerWin32Gdi* surface = handler()) {
        surface->giveFocus(control);
    } else if (window_ != nullptr) {
        const HWND native = nativeWindowOf(control);
        SetFocus(native != nullptr ? native : window_);
    }
}

}  // namespace zustd
