// The Windows half of a text box: an EDIT control.
//
// The portable text has line feeds alone where the control wants pairs of return
// and line feed. What the user does leaves surrogate pairs whole, also where the
// control counts their halves: a limit takes or refuses both, the caret does not
// stop between them, and a half whose other one went goes too.
#pragma once

#include <string>

#include "ZuNativeControlWin32Gdi.h"
#include "ZuNativeTextBox.h"

namespace zustd {

class TextBoxWin32Gdi : public Implementation<NativeTextBox, INativeTextBoxImpl>,
                        public NativeControlWin32Gdi {
public:
    // Outside of a surface the field becomes a child of the host's window.
    explicit TextBoxWin32Gdi(HWND hostWindow) noexcept
        : NativeControlWin32Gdi(hostWindow, L"TextBoxWin32Gdi::handleMultiWindowMessage") {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { destroyWindow(); }
    bool hasNativeObject() const override { return window() != nullptr; }

protected:
    bool onNotification(const WindowMessage& message, LRESULT& result) override;
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    bool usesKey(const KeyEvent& event) const override;

private:
    Outcome initializeFromDescriptor();
    void setText(const std::wstring& text);
    std::wstring getText() const;
    void takeChange();
    bool takeCharacter(wchar_t character);
    void moveOutOfPair(const WindowMessage& message);
    void setWatermark();

    std::wstring watermark_;
    std::size_t limit_ = 0;
    // The first half of a pair that is being typed; 0 for none.
    wchar_t typedHigh_ = 0;
    // The control's own notifications while it is filled are no news.
    bool filling_ = false;
};

}  // namespace zustd
