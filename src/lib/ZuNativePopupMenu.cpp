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
