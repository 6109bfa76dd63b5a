// What the backends of trees and grids have in common: native controls with
// items that mirror a portable model.
//
// Images come in two lists, both owned here: the items' own, made from a descriptor,
// and the two pictures of a check box in the look of the theme, which the control
// shows as an item's state.
#pragma once

#include <optional>

#include "ZuHandleWin32Gdi.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

using ImageListHandle = Handle<NullHandleTraits<HIMAGELIST, &ImageList_Destroy>>;

class ItemControlWin32Gdi : public NativeControlWin32Gdi {
public:
    ~ItemControlWin32Gdi() override { ItemControlWin32Gdi::destroyWindow(); }

protected:
    using NativeControlWin32Gdi::NativeControlWin32Gdi;

    // A Mirroring of many items, shown at its end.
    class BulkMirroring : Mirroring {
    public:
        explicit BulkMirroring(ItemControlWin32Gdi& control) noexcept
            : Mirroring(control), control_(control) {
            ++control_.burst_;
            control_.send(WM_SETREDRAW, FALSE);
        }
        ~BulkMirroring() { control_.settle(); }

    private:
        ItemControlWin32Gdi& control_;
    };

    // A message that is a Mirroring of its own.
    void sendMirroring(UINT id, WPARAM wide, LPARAM extra = {}) {
        const Mirroring mirroring(*this);
        send(id, wide, extra);
    }

    // Single items come and go in bursts: nothing is shown from here to the
    // window's next message, which is on its way then. How many changes the
    // burst has by now.
    std::size_t deferRedraw() noexcept;
    void settle() noexcept;

    // A message of the window: the window is brought up to date; check boxes and the
    // menu key are dealt with; what the backend answers itself is, with true; then the
    // window answers. What the user did is reported at the end of a message that
    // neither the backend nor another message caused, and not on the window's
    // notification: a receiver may end the window, which would not survive that then.
    virtual void catchUp() {}
    virtual bool onItemMessage(const WindowMessage& message, LRESULT& result) = 0;
    virtual void reportActions() = 0;
    // Switches the check box at a point of the client area, or that of the item
    // with the focus; false when there is none.
    virtual bool toggleAt(LPARAM point) = 0;
    virtual bool toggleFocused() = 0;
    virtual void reportMenuKey() = 0;

    // The window's messages, the kinds of its two lists of images, and its first state
    // of a check box: a tree counts from none, which shows nothing, a list from kUnchecked.
    struct Look {
        UINT setTextColor;
        UINT setBackground;
        UINT setImageList;
        WPARAM images;
        WPARAM checkImages;
        UINT firstState;
    };
    // Font, colours (the control's own, or the system's for a field), images and check
    // boxes, as far as the window lacks them. Null: the default font, no images.
    void pushLook(const Look& look, const std::shared_ptr<FontDescriptor>& font,
                  const BitmapListDescriptor* bitmaps, bool checkBoxes);
    // The next look has them made anew.
    void forgetImages() noexcept { images_.request.reset(); }
    bool hasCheckBoxes() const noexcept { return static_cast<bool>(checkImages_.list); }

    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;

    // For a window that was made: it has nothing of what was pushed before.
    void startAnew() noexcept;
    void destroyWindow() noexcept override;

private:
    // Identifiers, size and scaling factor.
    using ItemImageRequest = std::tuple<std::vector<std::uint64_t>, Size, double>;
    // Extent, background and colour of the mark; no extent where none are wanted.
    using CheckImageRequest = std::tuple<std::int32_t, COLORREF, COLORREF>;
    // What the window draws with, and what it was made from.
    template <class Request>
    struct Images {
        std::optional<Request> request;
        ImageListHandle list;
    };

    bool answers(const WindowMessage& message);

    // Changes since redrawing was put off; 0 while it is not.
    std::size_t burst_ = 0;
    // Text and background.
    std::optional<std::pair<COLORREF, COLORREF>> colors_;
    Images<ItemImageRequest> images_;
    Images<CheckImageRequest> checkImages_;
};

// What an item control is told where an item has no image.
constexpr int nativeImage(std::int32_t bitmap) noexcept {
    return bitmap < 0 ? I_IMAGENONE : bitmap;
}

// An item's state as it shows its check box.
constexpr UINT kUnchecked = 1;
constexpr UINT kChecked = 2;
constexpr UINT nativeCheck(bool checked) noexcept {
    return INDEXTOSTATEIMAGEMASK(checked ? kChecked : kUnchecked);
}

}  // namespace zustd
