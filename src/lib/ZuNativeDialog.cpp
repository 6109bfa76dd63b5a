#include "ZuNativeDialog.h"

#include "ZuNativeButton.h"

namespace zustd {

void NativeDialog::setDefaultButton(const std::shared_ptr<NativeButton>& button) {
    if (defaultButton() != button) {
        defaultButton_ = button;
        stateChanged();
    }
}

bool NativeDialog::onKey(const KeyEvent& event) {
    if (event.key == kKeyEscape) {
        acceptClose();
        return true;
    }
    const auto button = event.key == kKeyEnter ? buttonForEnter() : nullptr;
    if (button) {
        button->click();
    }
    return button != nullptr;
}

std::shared_ptr<NativeButton> NativeDialog::buttonForEnter() const {
    auto button = std::dynamic_pointer_cast<NativeButton>(router_.focused());
    return button && button->isPush() ? button : defaultButton();
}

bool NativeDialog::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if ((kind == kEnterFocus || kind == kLeaveFocus) && hasNativeObject()) {
        // Another button may look like the default one now.
        synchronize();
    }
    return Control::onReceiveMessage(kind, a, b);
}

void NativeDialog::acceptClose() {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if ((style_ & kStyleNotClosable) == 0 && requestClose()) {
        hide(kAnswerCancel);
    }
}

}  // namespace zustd
