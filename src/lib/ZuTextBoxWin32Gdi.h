// The Windows half of a text box: an EDIT control.
//
// The portable text has line feeds alone where the control wants pairs of return
// and line feed. What the user does leaves surrogate pairs whole, also where the
// control counts their halves: a limit takes or refuses both, the caret does not
// stop between them, and a half whose other one went goes too.
#pragma once

#include "ZuNativeControlWin32Gdi.h"
#include "ZuNativeTextBox.h"

namespace zustd {

class TextBoxWin32Gdi
    : public ControlBackendWin32Gdi<Implementation<NativeTextBox, INativeTextBoxImpl>> {
public:
    explicit TextBoxWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

protected:
    void initializeFromDescriptor() override;
    void pushState() override;
    void onCommand(UINT code) override;
    bool hasField() const noexcept override { return true; }
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    bool usesKey(const KeyEvent& event) const override;

private:
    void setText(const std::wstring& text);
    std::wstring getText() const;
    void takeChange();
    bool takeCharacter(wchar_t character);
    void replaceSelection(const std::array<wchar_t, 3>& pair);
    void moveOutOfPair(const WindowMessage& message);

    // The first half of a pair that is being typed; 0 for none.
    wchar_t typedHigh_ = L'\0';
};

}  // namespace zustd
