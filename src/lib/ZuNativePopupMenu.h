// A menu that pops up at a point and returns what was chosen.
//
// The menu is not part of a control tree when it is shown; its items are plain
// data, filled in before. show() blocks until the menu is gone.
#pragma once

#include "ZuControl.h"

namespace zustd {

// An item of a menu, a separator or the heading of a menu below.
struct PopupMenuItem {
    // What show() returns; 1 or more. 0 stands for a separator.
    std::uint32_t identifier = 0;
    // "&" marks the access key; what follows a tab stands at the right.
    std::wstring caption;
    // Of an image, or 0.
    std::uint64_t bitmap = 0;
    bool enabled = true;
    bool checked = false;
    // An item that has some opens a menu of its own.
    std::vector<PopupMenuItem> items;
};

// What a backend does for a popup menu.
class INativePopupMenuImpl : public IBackend {
public:
    // Shows the menu of the abstraction's items with its corner at a point of
    // the screen; the chosen identifier, 0 when none was.
    virtual std::uint32_t show(Point place) = 0;
};

class NativePopupMenu : public NativeControl<INativePopupMenuImpl> {
public:
    ~NativePopupMenu() override { releaseImplementation(); }

    const std::vector<PopupMenuItem>& items() const noexcept { return items_; }
    void setItems(std::vector<PopupMenuItem> items) { items_ = std::move(items); }
    // Each goes to the menu's end.
    void addItem(std::uint32_t identifier, std::wstring caption) {
        items_.push_back({.identifier = identifier, .caption = std::move(caption), .items = {}});
    }
    void addSeparator() { items_.emplace_back(); }
    // The item with this identifier at any depth, or null. Valid until items are added.
    PopupMenuItem* findItem(std::uint32_t identifier) noexcept;

    // Shows the menu and sends kSelected with the chosen identifier as second
    // word, unless it is 0. Fails the assertion "impl_" without a backend.
    std::uint32_t show(Point placeOnScreen);

private:
    std::vector<PopupMenuItem> items_;
};

}  // namespace zustd
