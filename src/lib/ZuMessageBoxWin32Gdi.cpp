#include "ZuMessageBoxWin32Gdi.h"

#include "ZuDialogWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"

namespace zustd {

// Styles and answers are those of the system's own boxes.
static_assert(kMessageOk == MB_OK && kMessageOkCancel == MB_OKCANCEL &&
              kMessageYesNoCancel == MB_YESNOCANCEL && kMessageYesNo == MB_YESNO &&
              kMessageButtonMask == MB_TYPEMASK && kMessageIconError == MB_ICONERROR &&
              kMessageIconQuestion == MB_ICONQUESTION && kMessageIconWarning == MB_ICONWARNING &&
              kMessageIconInformation == MB_ICONINFORMATION && kMessageIconMask == MB_ICONMASK &&
              kMessageDefaultSecond == MB_DEFBUTTON2 && kMessageDefaultThird == MB_DEFBUTTON3 &&
              kMessageDefaultMask == MB_DEFMASK);
static_assert(kAnswerOk == IDOK && kAnswerCancel == IDCANCEL && kAnswerYes == IDYES &&
              kAnswerNo == IDNO);

namespace {

// Of the control that shows the text.
constexpr UINT_PTR kTextIdentifier = 0xFFFF;

class MessageIcon : public Control {
public:
    // Shared by all.
    explicit MessageIcon(HICON icon) noexcept : icon_(icon) {}

protected:
    void drawSelf(GraphicsService& graphics) override {
        const Rect place = area().movedBy(graphics.origin());
        DrawIconEx(graphicsBackend(graphics).context(), place.left, place.top, icon_, place.width(),
                   place.height(), 0, nullptr, DI_NORMAL);
    }

private:
    HICON icon_;
};

}  // namespace

int MessageBoxWin32Gdi::show(const wchar_t* failure) {
    requireSystem(guarded(ZU_SIBLING(build), false, [this] { return build(); }), failure, ZU_HERE);
    service_.playMessageSound(box_.style);
    // Which may have taken long enough for the dialog to lose its window.
    requireSystem(dynamic_cast<DialogWin32Gdi&>(dialog_->implementation()).makeReady(), failure,
                  ZU_HERE);
    dialog_->show(true);
    box_.doNotShowAgain = view_->isChecked();
    return view_->answer();
}

bool MessageBoxWin32Gdi::build() {
    const bool canClose = box_.cancelAnswer != kAnswerNone;
    dialog_ = service_.createNativeDialog(canClose ? 0 : NativeDialog::kStyleNotClosable);
    return dialog_ && buildView();
}

bool MessageBoxWin32Gdi::buildView() {
    view_ = makeControl<MessageBoxView>(*dialog_, box_, *this);
    dialog_->addChild(view_);
    if (!view_->build(service_)) {
        return false;
    }
    for (std::size_t i = 0; i < box_.buttons.size(); ++i) {
        SetWindowLongPtrW(nativeWindowOf(*view_->buttons()[i]), GWLP_ID, box_.buttons[i].answer);
    }
    // At last, so that whoever looks for the box by its title finds it complete.
    dialog_->setCaption(std::make_shared<TextDescriptor>(box_.caption));
    return true;
}

std::shared_ptr<ColorsDescriptor> MessageBoxWin32Gdi::paperColors() const {
    auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, systemColor(COLOR_WINDOW));
    colors->setColor(ColorRole::kText, systemColor(COLOR_WINDOWTEXT));
    return colors;
}

std::shared_ptr<Control> MessageBoxWin32Gdi::makeIcon(std::uint32_t style) const {
    // From IDI_ERROR on, in the order of the styles.
    const std::uint32_t kind = (style & kMessageIconMask) / kMessageIconError;
    const HICON icon =
        kind >= 1 && kind <= 4 ? LoadIconW(nullptr, MAKEINTRESOURCEW(32512 + kind)) : nullptr;
    return icon != nullptr ? makeControl<MessageIcon>(icon) : nullptr;
}

std::int32_t MessageBoxWin32Gdi::titleWidth(const std::wstring& title) const {
    const NONCLIENTMETRICSW metrics = windowMetrics();
    const FontHandle font(CreateFontIndirectW(&metrics.lfCaptionFont));
    const HDC context = measuringContext();
    const SelectedObject selected(context, font.get());
    // More than any screen shows of a title.
    constexpr std::size_t kMostLetters = 20000;
    const auto length = static_cast<int>(std::min(title.size(), kMostLetters));
    SIZE size{};
    GetTextExtentPoint32W(context, title.data(), length, &size);
    return saturate(std::int64_t{size.cx} + 2 * std::int64_t{metrics.iCaptionWidth} +
                    2 * std::int64_t{metrics.iCaptionHeight});
}

void MessageBoxWin32Gdi::showText(const std::wstring& text, const Rect& place,
                                  const std::shared_ptr<Font>& font) {
    font_ = font;
    // It goes with the dialog.
    const HWND label = ZU_SYSTEM(CreateWindowExW(
        0, L"STATIC", text.c_str(), WS_CHILD | WS_VISIBLE | SS_LEFT | SS_NOPREFIX, place.left,
        place.top, place.width(), place.height(), nativeWindowOf(*dialog_),
        reinterpret_cast<HMENU>(kTextIdentifier), GetModuleHandleW(nullptr), nullptr));
    SendMessageW(label, WM_SETFONT, reinterpret_cast<WPARAM>(fontBackend(*font).handle()), FALSE);
}

void MessageBoxWin32Gdi::copyText(const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    if (!OpenClipboard(nativeWindowOf(*dialog_))) {
        return;
    }
    EmptyClipboard();
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (void* target = GlobalLock(memory)) {
        std::memcpy(target, text.c_str(), bytes);
        GlobalUnlock(memory);
        if (SetClipboardData(CF_UNICODETEXT, memory) == nullptr) {
            GlobalFree(memory);
        }
    }
    CloseClipboard();
}

}  // namespace zustd
