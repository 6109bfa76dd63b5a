#include "ZuPopupMenuWin32Gdi.h"

#include "ZuBitmapWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

namespace {

using MenuHandle = Handle<NullHandleTraits<HMENU, &DestroyMenu>>;

// A native menu and what it shows. Items are numbered from 1 in the order of
// their making: the menu's own numbers have 16 bits only.
class NativeMenu {
public:
    NativeMenu(WindowService* service, const std::vector<PopupMenuItem>& items)
        : service_(service), menu_(make(items)) {}

    HMENU handle() const noexcept { return menu_.get(); }
    // 0 for 0, which is none.
    std::uint32_t identifierOf(int number) const {
        return identifiers_.at(static_cast<std::size_t>(number));
    }

private:
    MenuHandle make(const std::vector<PopupMenuItem>& items) {
        MenuHandle menu(ZU_SYSTEM(CreatePopupMenu()));
        for (const PopupMenuItem& item : items) {
            append(menu.get(), item);
        }
        return menu;
    }

    void append(HMENU menu, const PopupMenuItem& item) {
        MENUITEMINFOW info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_ID;
        MenuHandle below;
        if (item.identifier == 0 && item.items.empty()) {
            info.fType = MFT_SEPARATOR;
        } else {
            info.wID = static_cast<UINT>(identifiers_.size());
            identifiers_.push_back(item.identifier);
            below = item.items.empty() ? MenuHandle() : make(item.items);
            info.fMask |= MIIM_STRING | MIIM_BITMAP | MIIM_SUBMENU;
            info.dwTypeData = const_cast<wchar_t*>(item.caption.c_str());
            info.fState = (item.enabled ? MFS_ENABLED : MFS_DISABLED) |
                          (item.checked ? MFS_CHECKED : MFS_UNCHECKED);
            info.hbmpItem = imageOf(item);
            info.hSubMenu = below.get();
        }
        ZU_SYSTEM(InsertMenuItemW(menu, UINT_MAX, TRUE, &info));
        // The menu that it opens from destroys it.
        static_cast<void>(below.release());
    }

    HBITMAP imageOf(const PopupMenuItem& item) {
        const auto image = service_ != nullptr
                               ? service_->getBitmap(BitmapDescriptor(
                                     item.bitmap, {kSmallImageSize, kSmallImageSize}))
                               : nullptr;
        if (!image) {
            return nullptr;
        }
        images_.push_back(image);
        return bitmapBackend(*image).handle();
    }

    WindowService* service_;
    std::vector<std::uint32_t> identifiers_{0};
    std::vector<std::shared_ptr<Bitmap>> images_;
    MenuHandle menu_;
};

// Null where the service has no window of this thread.
HWND windowOf(const std::shared_ptr<WindowService>& service) {
    const WindowServiceWin32Gdi* backend = windowServiceBackend(service.get());
    const HWND window = backend != nullptr ? backend->window() : nullptr;
    return GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId() ? window : nullptr;
}

}  // namespace

std::uint32_t PopupMenuWin32Gdi::show(Point place) {
    return guarded(ZU_OPERATION, std::uint32_t{}, [&] {
        const std::shared_ptr<WindowService> service = creator_.lock();
        const NativeMenu menu(service.get(), getAbstraction().items());
        WindowHandle standIn;
        HWND owner = windowOf(service);
        if (owner == nullptr) {
            // A menu needs an owner to get the keyboard.
            standIn = makeHiddenWindow(nullptr);
            owner = standIn.get();
        }
        // Otherwise the menu would not go when the user clicks elsewhere.
        SetForegroundWindow(owner);
        const UINT alignment =
            GetSystemMetrics(SM_MENUDROPALIGNMENT) != 0 ? TPM_RIGHTALIGN : TPM_LEFTALIGN;
        // From here on this object may be gone.
        const int chosen = TrackPopupMenuEx(
            menu.handle(), alignment | TPM_RETURNCMD | TPM_NONOTIFY | TPM_RIGHTBUTTON, place.x,
            place.y, owner, nullptr);
        PostMessageW(owner, WM_NULL, 0, 0);
        return menu.identifierOf(chosen);
    });
}

}  // namespace zustd
