#include "ZuButtonWin32Gdi.h"

#include "ZuWindowService.h"

namespace zustd {

void ButtonWin32Gdi::initializeFromDescriptor() {
    // In the order of ButtonKind.
    constexpr DWORD kStyles[] = {BS_PUSHBUTTON, BS_DEFPUSHBUTTON, BS_CHECKBOX, BS_RADIOBUTTON};
    const DWORD style = kStyles[static_cast<std::size_t>(getAbstraction().kind())];
    synchronizeWindow({L"BUTTON", style}, [this] { bitmap_.reset(); });
}

void ButtonWin32Gdi::pushState() {
    const NativeButton& button = getAbstraction();
    synchronizeFont(button.hasFont() ? sharedReference(&button.font()) : nullptr);
    setText();
    setImage();
    if (!button.isPush()) {
        const WPARAM wanted = button.isChecked() ? BST_CHECKED : BST_UNCHECKED;
        if (static_cast<WPARAM>(send(BM_GETCHECK)) != wanted) {
            send(BM_SETCHECK, wanted);
        }
    }
}

// An icon, since buttons blend only these with what is below. They set the text
// right behind it, so it brings the space between along.
void ButtonWin32Gdi::setImage() {
    const NativeButton& button = getAbstraction();
    const auto service = button.windowService();
    const auto bitmap = button.bitmap() && service ? service->getBitmap(*button.bitmap()) : nullptr;
    const std::int32_t space =
        button.accessText().empty() ? 0 : button.scale(NativeButton::kBitmapGap);
    if (bitmap == bitmap_ && space == space_) {
        return;
    }
    IconHandle icon = bitmap ? makeIcon(bitmapBackend(*bitmap), space) : IconHandle();
    send(BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(icon.get()));
    icon_ = std::move(icon);
    bitmap_ = bitmap;
    space_ = space;
}

void ButtonWin32Gdi::onCommand(UINT code) {
    // Radio buttons tell a second quick press from the first.
    if (code == BN_CLICKED || code == BN_DOUBLECLICKED) {
        getAbstraction().click();
    }
}

bool ButtonWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    const bool isFocus = message.id == WM_SETFOCUS;
    if (isFocus) {
        const Mirroring mirroring(*this);
        result = answerByDefault(message);
    }
    return isFocus;
}

}  // namespace zustd
