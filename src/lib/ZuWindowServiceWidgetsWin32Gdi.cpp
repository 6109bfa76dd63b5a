// The part of a window service that makes what applications show: widgets, surfaces,
// menus and timers.
#include "ZuWindowServiceWin32Gdi.h"

#include "ZuButtonWin32Gdi.h"
#include "ZuComboBoxWin32Gdi.h"
#include "ZuDialogWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuGridViewWin32Gdi.h"
#include "ZuPopupMenuWin32Gdi.h"
#include "ZuProgressBarWin32Gdi.h"
#include "ZuScrollBarWin32Gdi.h"
#include "ZuTextBoxWin32Gdi.h"
#include "ZuTimerWin32Gdi.h"
#include "ZuTreeViewWin32Gdi.h"
#include "ZuWindowWin32Gdi.h"

namespace zustd {

namespace {

// What a backend is the native half of.
template <class Backend>
using PortableHalf = std::remove_reference_t<decltype(std::declval<Backend>().getAbstraction())>;

// A surface with services of its own; the creator is the service that makes it.
template <class Backend, class... Args>
auto madeSurface(const wchar_t* operation, WindowService& creator, Args... args) {
    using Surface = PortableHalf<Backend>;
    return guarded(operation, std::shared_ptr<Surface>(), [&] {
        auto surface = makeControl<Surface>(args...);
        const SurfaceServices services{sharedReference<WindowService>(&creator),
                                       makeWindowService(nullptr), makeGraphicsService()};
        joinImplementation(*surface, std::make_unique<Backend>(services));
        furnishSurface(*surface, services.window, services.graphics);
        return surface;
    });
}

// A widget joined to its backend; null when that fails.
template <class Backend, class Host, class... Args>
auto made(const wchar_t* operation, Host host, Args... args) {
    using Widget = PortableHalf<Backend>;
    return guarded(operation, std::shared_ptr<Widget>(), [&] {
        auto widget = makeControl<Widget>(args...);
        joinImplementation(*widget, std::make_unique<Backend>(host));
        return widget;
    });
}

}  // namespace

std::shared_ptr<NativePopupMenu> WindowServiceWin32Gdi::createNativePopupMenu() {
    return made<PopupMenuWin32Gdi>(ZU_OPERATION, sharedReference<WindowService>(&getAbstraction()));
}

std::shared_ptr<NativeDialog> WindowServiceWin32Gdi::createNativeDialog(std::uint32_t style) {
    return madeSurface<DialogWin32Gdi>(ZU_OPERATION, getAbstraction(), style);
}

std::shared_ptr<NativeGridView> WindowServiceWin32Gdi::createNativeGridView() {
    return made<GridViewWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeTreeView> WindowServiceWin32Gdi::createNativeTreeView() {
    return made<TreeViewWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeWindow> WindowServiceWin32Gdi::createNativeWindow() {
    return madeSurface<WindowWin32Gdi>(ZU_OPERATION, getAbstraction());
}

std::shared_ptr<NativeComboBox> WindowServiceWin32Gdi::createNativeComboBox() {
    return made<ComboBoxWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeButton> WindowServiceWin32Gdi::createNativeButton() {
    return made<ButtonWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeProgressBar> WindowServiceWin32Gdi::createNativeProgressBar() {
    return made<ProgressBarWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeTextBox> WindowServiceWin32Gdi::createNativeTextBox() {
    return made<TextBoxWin32Gdi>(ZU_OPERATION, window_);
}

std::shared_ptr<NativeScrollBar> WindowServiceWin32Gdi::createNativeScrollBar(bool vertical) {
    return made<ScrollBarWin32Gdi>(ZU_OPERATION, window_, vertical);
}

std::shared_ptr<Timer> WindowServiceWin32Gdi::createTimer(const std::wstring& name) {
    return guarded(ZU_OPERATION, std::shared_ptr<Timer>(), [&] {
        auto timer = std::make_shared<Timer>(name);
        joinImplementation(*timer, std::make_unique<TimerWin32Gdi>(createTimerWindow()));
        return timer;
    });
}

std::shared_ptr<TimerWindowWin32Gdi> WindowServiceWin32Gdi::createTimerWindow() {
    return TimerWindowWin32Gdi::ofThisThread();
}

}  // namespace zustd
