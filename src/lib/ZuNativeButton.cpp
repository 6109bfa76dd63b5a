#include "ZuNativeButton.h"

#include "ZuAccessKeys.h"
#include "ZuDrawnText.h"

namespace zustd {

Size NativeButton::preferredSize() {
    if (!windowService()) {
        return boundary().size();
    }
    Size content;
    if (caption_) {
        content = measuredText(*this, withoutAccessKeys(accessText()), styleOf(font_));
    }
    if (bitmap_) {
        const Size image = bitmap_->size();
        content.width = saturatedSum(content.width, scale(saturatedSum(image.width, kBitmapGap)));
        content.height = std::max(content.height, scale(image.height));
    }
    // Around the caption of a push button, and beside that of the others, which
    // have their mark there; at a scaling factor of 1.
    const Size padding = isPush() ? Size{24, 10} : Size{20, 4};
    const Size smallest = isPush() ? Size{75, 23} : Size{};
    return {std::max(saturatedSum(content.width, scale(padding.width)), scale(smallest.width)),
            std::max(saturatedSum(content.height, scale(padding.height)), scale(smallest.height))};
}

void NativeButton::click() {
    if (!isUsable()) {
        return;
    }
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (!isPush()) {
        setChecked(kind_ == ButtonKind::kRadio || !checked_);
    }
    notify(kLeftClicked);
}

bool NativeButton::onKey(const KeyEvent& event) {
    const bool backwards = event.key == kKeyLeft || event.key == kKeyUp;
    const bool moves = backwards || event.key == kKeyRight || event.key == kKeyDown;
    return moves && kind_ == ButtonKind::kRadio && !event.has(kModifierControl | kModifierAlt) &&
           chooseNext(backwards);
}

// The other radio buttons among the parent's children, the next one first.
std::vector<std::shared_ptr<NativeButton>> NativeButton::othersOfGroup() const {
    std::vector<std::shared_ptr<NativeButton>> buttons;
    if (parentControl() == nullptr) {
        return buttons;
    }
    std::ptrdiff_t before = 0;
    for (const std::shared_ptr<Control>& sibling : parentControl()->children()) {
        auto button = std::dynamic_pointer_cast<NativeButton>(sibling);
        if (button.get() == this) {
            before = std::ssize(buttons);
        } else if (button && button->kind_ == ButtonKind::kRadio) {
            buttons.push_back(std::move(button));
        }
    }
    std::rotate(buttons.begin(), buttons.begin() + before, buttons.end());
    return buttons;
}

void NativeButton::uncheckSiblings() {
    if (!checked_ || kind_ != ButtonKind::kRadio) {
        return;
    }
    for (const std::shared_ptr<NativeButton>& button : othersOfGroup()) {
        button->setChecked(false);
    }
}

bool NativeButton::chooseNext(bool backwards) {
    auto buttons = othersOfGroup();
    if (backwards) {
        std::ranges::reverse(buttons);
    }
    for (const std::shared_ptr<NativeButton>& button : buttons) {
        if (button->takeFocus()) {
            button->click();
            return true;
        }
    }
    return false;
}

}  // namespace zustd
