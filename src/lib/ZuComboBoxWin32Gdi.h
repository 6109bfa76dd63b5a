// The Windows half of a combo box: a COMBOBOX control, as a list or with a
// field to type into.
#pragma once

#include <string>

#include "ZuNativeComboBox.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

class ComboBoxWin32Gdi : public ComboBoxImplementation, public NativeControlWin32Gdi {
public:
    // Outside of a surface the box becomes a child of the host's window.
    explicit ComboBoxWin32Gdi(HWND hostWindow) noexcept
        : NativeControlWin32Gdi(hostWindow, L"ComboBoxWin32Gdi::handleMultiWindowMessage") {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { destroyWindow(); }
    bool hasNativeObject() const override { return window() != nullptr; }

protected:
    void mirrorAdded(std::size_t index) override;
    void mirrorRemoved(std::size_t index) override;
    void mirrorCleared() override;
    void mirrorSelection() override;

    bool onNotification(const WindowMessage& message, LRESULT& result) override;
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    bool usesKey(const KeyEvent& event) const override;

private:
    Outcome initializeFromDescriptor();
    void fill();
    void fitHeight();
    void setCaption();
    // Of the field; a list without one has the text of its selected item.
    std::wstring getText() const { return windowText(window()); }
    void setText(const std::wstring& text);
    void pushSelection();
    void acceptTyped();

    std::wstring caption_;
    // The control's own notifications while it is filled are no news.
    bool filling_ = false;
};

}  // namespace zustd
