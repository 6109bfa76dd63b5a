#include "ZuNativePopupMenu.h"

namespace zustd {

namespace {

PopupMenuItem* findIn(std::vector<PopupMenuItem>& items, std::uint32_t identifier) noexcept {
    for (PopupMenuItem& item : items) {
        if (item.identifier == identifier && identifier != 0) {
            return &item;
        }
        if (PopupMenuItem* found = findIn(item.items, identifier)) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace

void NativePopupMenu::setItems(std::vector<PopupMenuItem> items) {
    items_ = std::move(items);
    stateChanged();
}

void NativePopupMenu::addItem(std::uint32_t identifier, std::wstring caption) {
    items_.push_back({.identifier = identifier, .caption = std::move(caption), .items = {}});
    stateChanged();
}

void NativePopupMenu::addSeparator() {
    items_.emplace_back();
    stateChanged();
}

PopupMenuItem* NativePopupMenu::findItem(std::uint32_t identifier) noexcept {
    return findIn(items_, identifier);
}

std::uint32_t NativePopupMenu::show(Point placeOnScreen) {
    // While the menu is open somebody may drop it.
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    const std::uint32_t chosen = implementation().show(placeOnScreen);
    if (chosen != 0) {
        notify(kSelected, MessageWord(std::int64_t{chosen}));
    }
    return chosen;
}

}  // namespace zustd
