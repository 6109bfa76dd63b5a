// A message box as a dialog of the toolkit.
//
// Icon and text stand on paper, check box and buttons below; all sizes follow
// the scaling factor and the system's message font. The box is as wide as its
// title where that leaves room on the screen. A text that would not fit
// the screen is cut at its end; the clipboard gets the whole of it (Ctrl+C), as
// from the system's own boxes.
//
// Buttons show the texts that the box has. Where none of them brings an access
// key, Yes and No and the like get one, their first letter that is not taken;
// OK and Cancel have Enter and Escape. Placeholders for missing texts are shown
// as they stand.
//
// For programs that read the screen or answer in the user's place the box is
// built like the system's: a dialog whose text is the static control 0xFFFF and
// whose buttons bear their answers as identifiers.
#pragma once

#include <memory>
#include <string>

#include "ZuMessageBox.h"
#include "ZuWindowService.h"

namespace zustd {

class MessageBoxView;
class NativeDialog;

class MessageBoxWin32Gdi {
public:
    // The service's window is the owner. Both outlive this object.
    MessageBoxWin32Gdi(WindowService& service, MessageBoxContent& box);
    MessageBoxWin32Gdi(const MessageBoxWin32Gdi&) = delete;
    MessageBoxWin32Gdi& operator=(const MessageBoxWin32Gdi&) = delete;
    ~MessageBoxWin32Gdi();

    // Waits for the answer and writes the check box's state into the box;
    // kAnswerNone when the application ends meanwhile. Throws SystemException
    // with the failure text when the box cannot be shown.
    int show(const wchar_t* failure);
    // Ends show() with an answer.
    void close(int answer);

private:
    bool build();

    WindowService& service_;
    MessageBoxContent& box_;
    std::shared_ptr<NativeDialog> dialog_;
    std::shared_ptr<MessageBoxView> view_;
};

// The captions of a box's buttons, with their access keys.
std::vector<std::wstring> buttonCaptionsOf(const MessageBoxContent& box);

// What the clipboard gets.
std::wstring clipboardTextOf(const MessageBoxContent& box);

}  // namespace zustd
