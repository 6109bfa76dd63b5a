// The Windows half of a combo box: a COMBOBOX control, as a list or with a
// field to type into.
#pragma once

#include "ZuNativeComboBox.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

class ComboBoxWin32Gdi : public ControlBackendWin32Gdi<ComboBoxImplementation> {
public:
    explicit ComboBoxWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, L"ComboBoxWin32Gdi::handleMultiWindowMessage") {}

    void synchronizeWithAbstraction() override;

protected:
    void mirrorAdded(std::size_t index) override;
    void mirrorRemoved(std::size_t index) override { send(CB_DELETESTRING, index); }
    void mirrorCleared() override { send(CB_RESETCONTENT); }
    void mirrorSelection() override;

    bool onNotification(const WindowMessage& message, LRESULT& result) override;
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    bool usesKey(const KeyEvent& event) const override;

private:
    bool initializeFromDescriptor();
    void fill();
    void fitHeight();
    void setCaption();
    // Of the field; a list without one has the text of its selected item.
    std::wstring getText() const { return windowText(window()); }
    void setText(const std::wstring& text);
    void pushSelection();
    void acceptTyped();

    // The control's own notifications while it is filled are no news.
    bool filling_ = false;
};

}  // namespace zustd
