// The contents of a message box: text, buttons and check box on a dialog.
//
// Icon and text stand on paper, check box and buttons below; all sizes follow
// the scaling factor and the backend's font. The box is as wide as its title
// where that leaves room on the screen. A text that would not fit the screen is
// cut at its end; the clipboard gets the whole of it (Ctrl+C).
//
// Buttons show the texts that the box has. Where none of them brings an access key, Yes and No and
// the like get one, their first letter that is not taken; OK and Cancel have Enter and Escape.
// Placeholders for missing texts are shown as they stand. Arrow keys move among the buttons.
#pragma once

#include "ZuMessageBox.h"
#include "ZuNativeButton.h"

namespace zustd {

class Font;
class NativeDialog;

// What a backend does for a message box.
class IMessageBoxBackend {
public:
    virtual ~IMessageBoxBackend() = default;

    // Of what lies behind icon and text.
    virtual std::shared_ptr<ColorsDescriptor> paperColors() const = 0;
    // A control that draws the style's icon; null for a style without.
    virtual std::shared_ptr<Control> makeIcon(std::uint32_t style) const = 0;
    // In pixels, with all that stands beside the title in a dialog's frame.
    virtual std::int32_t titleWidth(const std::wstring& title) const = 0;
    // Shows the text on the dialog for good, at a place that has room for it.
    virtual void showText(const std::wstring& text, const Rect& place,
                          const std::shared_ptr<Font>& font) = 0;
    virtual void copyText(const std::wstring& text) = 0;
};

class MessageBoxView : public Control {
public:
    // The box and the backend outlive the dialog, which is to own the view.
    MessageBoxView(NativeDialog& dialog, const MessageBoxContent& box, IMessageBoxBackend& backend);

    // On the dialog already, makes all of it but the title, native objects
    // included. False when one could not be made.
    bool build(WindowService& service);
    // From left to right.
    const std::vector<std::shared_ptr<NativeButton>>& buttons() const noexcept { return buttons_; }

    // kAnswerNone until the user has answered or closed the dialog, or close() was called.
    int answer() const noexcept;
    bool isChecked() const noexcept { return checkBox_ && checkBox_->isChecked(); }
    void close(int answer);

    bool onKey(const KeyEvent& event) override;
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

private:
    std::shared_ptr<NativeButton> addButton(WindowService& service, const std::wstring& caption,
                                            ButtonKind kind);
    void layOut();
    Size layOutPaper(Size most);
    void showText();

    NativeDialog& dialog_;
    const MessageBoxContent& box_;
    IMessageBoxBackend& backend_;
    std::shared_ptr<FontDescriptor> font_ = std::make_shared<FontDescriptor>(FontStyle());
    std::shared_ptr<Control> paper_ = makeControl<Control>();
    std::shared_ptr<Control> icon_;
    std::vector<std::shared_ptr<NativeButton>> buttons_;
    std::shared_ptr<NativeButton> checkBox_;
    // As much of the text as fits, and what it takes.
    std::wstring text_;
    Size textSize_;
    int answer_ = kAnswerNone;
};

// The captions of a box's buttons, with their access keys.
std::vector<std::wstring> buttonCaptionsOf(const MessageBoxContent& box);

}  // namespace zustd
