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
#include "ZuTimerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

// The backends of the widgets are not there yet.

std::shared_ptr<NativeDialog> WindowServiceWin32Gdi::createNativeDialog() { return nullptr; }

std::shared_ptr<NativePopupMenu> WindowServiceWin32Gdi::createNativePopupMenu() { return nullptr; }

std::shared_ptr<NativeDialog> WindowServiceWin32Gdi::createNativeDialog(std::uint32_t) {
    return nullptr;
}

std::shared_ptr<NativeGridView> WindowServiceWin32Gdi::createNativeGridView() { return nullptr; }

std::shared_ptr<NativeTreeView> WindowServiceWin32Gdi::createNativeTreeView() { return nullptr; }

std::shared_ptr<NativeWindow> WindowServiceWin32Gdi::createNativeWindow() { return nullptr; }

std::shared_ptr<NativeComboBox> WindowServiceWin32Gdi::createNativeComboBox() { return nullptr; }

std::shared_ptr<NativeButton> WindowServiceWin32Gdi::createNativeButton() { return nullptr; }

std::shared_ptr<NativeProgressBar> WindowServiceWin32Gdi::createNativeProgressBar() {
    return nullptr;
}

std::shared_ptr<NativeTextBox> WindowServiceWin32Gdi::createNativeTextBox() { return nullptr; }

std::shared_ptr<NativeScrollBar> WindowServiceWin32Gdi::createNativeScrollBar(bool) {
    return nullptr;
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

void WindowServiceWin32Gdi::setFocus(Control&) {
    if (window_ != nullptr) {
        SetFocus(window_);
    }
}

}  // namespace zustd
