// The Windows half of a popup menu.
//
// The native menu lives only while it is shown, with the items of that moment.
#pragma once

#include "ZuNativePopupMenu.h"
#include "ZuWindowService.h"

namespace zustd {

class PopupMenuWin32Gdi : public Implementation<NativePopupMenu, INativePopupMenuImpl> {
public:
    // The creator's window is the menu's owner.
    explicit PopupMenuWin32Gdi(std::weak_ptr<WindowService> creator) noexcept
        : creator_(std::move(creator)) {}

    std::uint32_t show(Point place) override;

private:
    std::weak_ptr<WindowService> creator_;
};

}  // namespace zustd
