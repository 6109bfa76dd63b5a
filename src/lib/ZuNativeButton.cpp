#include "ZuNativeButton.h"

#include <algorithm>

#include "ZuAccessKeys.h"
#include "ZuDrawnText.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// Around the caption of a push button, and beside that of the others, which
// have their mark there; at a scaling factor of 1.
constexpr Size kPushPadding{24, 10};
constexpr Size kMarkPadding{20, 4};
constexpr Size kSmallestPush{75, 23};

}  // namespace

NativeButton::NativeButton() { setFocusable(true); }

bool NativeButton::setKind(ButtonKind kind) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (!change(kind_, kind)) {
        return false;
    }
    uncheckSiblings();
    return true;
}

bool NativeButton::setChecked(bool checked) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (!change(checked_, checked)) {
        return false;
    }
    uncheckSiblings();
    return true;
}

Size NativeButton::preferredSize() {
    if (!windowService()) {
        return boundary().size();
    }
    Size content;
    if (caption_) {
        content = measuredText(*this, withoutAccessKeys(caption_->text(*this)), styleOf(font_));
    }
    if (bitmap_) {
        const Size image = bitmap_->size();
        content.width = saturatedSum(content.width, scale(saturatedSum(image.width, kBitmapGap)));
        content.height = std::max(content.height, scale(image.height));
    }
    const Size padding = isPush() ? kPushPadding : kMarkPadding;
    const Size smallest = isPush() ? kSmallestPush : Size{};
    return {std::max(saturatedSum(content.width, scale(padding.width)), scale(smallest.width)),
            std::max(saturatedSum(content.height, scale(padding.height)), scale(smallest.height))};
}

void NativeButton::click() {
    if (!isUsable()) {
        return;
    }
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (kind_ == ButtonKind::kCheck) {
        setChecked(!checked_);
    } else if (kind_ == ButtonKind::kRadio) {
        setChecked(true);
    }
    notify(kLeftClicked);
}

bool NativeButton::onKey(const KeyEvent& event) {
    if (kind_ != ButtonKind::kRadio || event.has(kModifierControl | kModifierAlt)) {
        return false;
    }
    switch (event.key) {
        case kKeyLeft:
        case kKeyUp:
            return chooseNext(true);
        case kKeyRight:
        case kKeyDown:
            return chooseNext(false);
        default:
            return false;
    }
}

std::wstring NativeButton::accessText() const {
    return caption_ ? caption_->text(*this) : std::wstring();
}

// The radio buttons among the parent's children, this one included.
std::vector<std::shared_ptr<NativeButton>> NativeButton::group() const {
    std::vector<std::shared_ptr<NativeButton>> buttons;
    if (parentControl() != nullptr) {
        for (const std::shared_ptr<Control>& sibling : parentControl()->children()) {
            auto button = std::dynamic_pointer_cast<NativeButton>(sibling);
            if (button && button->kind_ == ButtonKind::kRadio) {
                buttons.push_back(std::move(button));
            }
        }
    }
    return buttons;
}

void NativeButton::uncheckSiblings() {
    if (!checked_ || kind_ != ButtonKind::kRadio) {
        return;
    }
    for (const std::shared_ptr<NativeButton>& button : group()) {
        if (button.get() != this) {
            button->setChecked(false);
        }
    }
}

bool NativeButton::chooseNext(bool backwards) {
    auto buttons = group();
    if (backwards) {
        std::reverse(buttons.begin(), buttons.end());
    }
    const auto self = std::find_if(buttons.begin(), buttons.end(),
                                   [this](const auto& button) { return button.get() == this; });
    // The next one comes first, this one last.
    std::rotate(buttons.begin(), self == buttons.end() ? self : self + 1, buttons.end());
    for (const std::shared_ptr<NativeButton>& button : buttons) {
        if (button.get() != this && button->takeFocus()) {
            button->click();
            return true;
        }
    }
    return false;
}

}  // namespace zustd
