#include "ZuNativeDialog.h"

#include "ZuNativeButton.h"

namespace zustd {

bool NativeDialog::setDefaultButton(const std::shared_ptr<NativeButton>& button) {
    if (defaultButton_.lock() == button) {
        return false;
    }
    defaultButton_ = button;
    stateChanged();
    return true;
}

// Not held meanwhile: a modal dialog ends when its last owner drops it.
int NativeDialog::show(bool modal) { return implementation().show(modal); }

void NativeDialog::hide(int result) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    implementation().hide(result);
}

bool NativeDialog::onKey(const KeyEvent& event) {
    if (event.key == kKeyEscape) {
        acceptClose();
        return true;
    }
    if (event.key == kKeyEnter) {
        if (const auto button = buttonForEnter()) {
            button->click();
            return true;
        }
    }
    return false;
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

void NativeDialog::acceptOpen() {
    open_ = true;
    result_ = kAnswerNone;
}

void NativeDialog::acceptClosed(int result) {
    open_ = false;
    result_ = result;
}

bool NativeDialog::acceptClose() {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if ((style_ & kStyleNotClosable) != 0 || !requestClose()) {
        return false;
    }
    hide(kAnswerCancel);
    return true;
}

}  // namespace zustd
