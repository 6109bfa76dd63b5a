// The Windows half of a message box: its fonts and icons, the control that shows
// the text, the clipboard.
//
// For programs that read the screen or answer in the user's place the box is
// built like the system's: a dialog whose text is the static control 0xFFFF and
// whose buttons bear their answers as identifiers.
#pragma once

#include "ZuMessageBoxView.h"
#include "ZuWindowService.h"

namespace zustd {

class MessageBoxWin32Gdi : public IMessageBoxBackend {
public:
    // The service's window is the owner. Both outlive this object.
    MessageBoxWin32Gdi(WindowService& service, MessageBoxContent& box)
        : service_(service), box_(box) {}

    // Waits for the answer and writes the check box's state into the box;
    // kAnswerNone when the application ends meanwhile. Throws SystemException
    // with the failure text when the box cannot be shown.
    int show(const wchar_t* failure);
    // Ends show() with an answer.
    void close(int answer) {
        if (view_) {
            view_->close(answer);
        }
    }

private:
    std::shared_ptr<ColorsDescriptor> paperColors() const override;
    std::shared_ptr<Control> makeIcon(std::uint32_t style) const override;
    std::int32_t titleWidth(const std::wstring& title) const override;
    void showText(const std::wstring& text, const Rect& place,
                  const std::shared_ptr<Font>& font) override;
    void copyText(const std::wstring& text) override;
    // Whether all of it is there: the dialog, and what lies on it.
    bool build();
    bool buildView();

    WindowService& service_;
    MessageBoxContent& box_;
    // Kept as long as the text's control draws with it.
    std::shared_ptr<Font> font_;
    std::shared_ptr<NativeDialog> dialog_;
    std::shared_ptr<MessageBoxView> view_;
};

}  // namespace zustd
