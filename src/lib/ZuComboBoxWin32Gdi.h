// The Windows half of a combo box: a COMBOBOX control, as a list or with a
// field to type into.
#pragma once

#include "ZuNativeComboBox.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

class ComboBoxWin32Gdi : public ControlBackendWin32Gdi<ComboBoxImplementation> {
public:
    explicit ComboBoxWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

protected:
    void mirrorAdded(std::size_t index) override;
    void mirrorRemoved(std::size_t index) override { send(CB_DELETESTRING, index); }
    void mirrorCleared() override { send(CB_RESETCONTENT); }
    void mirrorSelection() override {
        guarded(ZU_SIBLING(selectItem), [this] { pushSelection(); });
    }

    void initializeFromDescriptor() override;
    void pushState() override;
    void onCommand(UINT code) override;
    bool hasField() const noexcept override { return true; }
    // The list asks the box itself for its colours.
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override {
        return colorField(message, result);
    }
    bool usesKey(const KeyEvent& event) const override;

private:
    void fill();
    void fitHeight();
    // Of the field; a list without one has the text of its selected item.
    std::wstring getText() const { return windowText(window()); }
    void setText(const std::wstring& text);
    // kNullSize, which is what the system says too, for none.
    std::size_t selectedInList() const { return static_cast<std::size_t>(send(CB_GETCURSEL)); }
    void pushSelection();
    void acceptTyped();
};

}  // namespace zustd
