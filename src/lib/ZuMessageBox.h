// What a message box shows and what the user answers, apart from how it is shown.
//
// A MessageBoxContent is filled in by the caller, completed with button texts in the user's
// language by the window service, shown by the backend, and holds the answer afterwards. With a
// rememberKey it offers a check box that stops it from being shown again; the choice is kept in the
// application service's preferences under that key, and the answer that was remembered is given
// from then on without showing anything.
#pragma once

#include "ZuServiceLocator.h"

namespace zustd {

class PropertyBag;

// Message-box styles: one set of buttons, an icon or none, and which button is
// the default one, where that is not the first; added up.
inline constexpr std::uint32_t kMessageOk = 0x00;
inline constexpr std::uint32_t kMessageOkCancel = 0x01;
inline constexpr std::uint32_t kMessageYesNoCancel = 0x03;
inline constexpr std::uint32_t kMessageYesNo = 0x04;
inline constexpr std::uint32_t kMessageButtonMask = 0x0F;
inline constexpr std::uint32_t kMessageIconError = 0x10;
inline constexpr std::uint32_t kMessageIconQuestion = 0x20;
inline constexpr std::uint32_t kMessageIconWarning = 0x30;
inline constexpr std::uint32_t kMessageIconInformation = 0x40;
inline constexpr std::uint32_t kMessageIconMask = 0xF0;
inline constexpr std::uint32_t kMessageDefaultSecond = 0x100;
inline constexpr std::uint32_t kMessageDefaultThird = 0x200;
inline constexpr std::uint32_t kMessageDefaultMask = 0xF00;

// Answers of a message box; kAnswerNone when it could not be shown.
inline constexpr int kAnswerNone = 0;
inline constexpr int kAnswerOk = 1;
inline constexpr int kAnswerCancel = 2;
inline constexpr int kAnswerYes = 6;
inline constexpr int kAnswerNo = 7;

// The texts of the buttons and of the check box in the string tables.
inline constexpr std::uint64_t kStringOk = 9001;
inline constexpr std::uint64_t kStringCancel = 9002;
inline constexpr std::uint64_t kStringYes = 9007;
inline constexpr std::uint64_t kStringNo = 9008;
inline constexpr std::uint64_t kStringDoNotShowAgain = 9012;

struct MessageBoxButton {
    int answer;
    std::wstring text;

    friend bool operator==(const MessageBoxButton&, const MessageBoxButton&) = default;
};

// What a message box asks, and with which buttons.
struct MessageBoxContent {
    // Filled in by the caller.
    std::wstring text;
    std::wstring caption;
    std::uint32_t style = kMessageOk;
    // Empty for a box without check box.
    std::wstring rememberKey;

    // Filled in by completeMessageBox: from left to right, never empty.
    std::vector<MessageBoxButton> buttons;
    // Index of the button that Enter presses.
    std::size_t defaultButton = 0;
    // What Escape and closing answer; kAnswerNone when neither is allowed.
    int cancelAnswer = kAnswerNone;
    // Empty when there is no check box.
    std::wstring checkBoxText;

    // Filled in by the backend: whether the check box was checked at the end.
    bool doNotShowAgain = false;
};

// Gives the box its buttons and texts in the language of the resource service
// that is found from the locator. A text that the tables lack is shown as a
// placeholder such as "{IDS_OK}", also when the service has no backend or no
// namespace, and as "{IDS_OK:null rs!}" when there is no resource service at all.
void completeMessageBox(MessageBoxContent& box, const ServiceLocator& locator);

// The answer that the user gave under this key together with "do not show
// again"; kAnswerNone when there is none that one of the box's buttons gives.
int rememberedAnswer(const PropertyBag& preferences, const MessageBoxContent& box);
// Cancelled boxes are not remembered: they would cancel for ever.
void rememberAnswer(PropertyBag& preferences, const MessageBoxContent& box, int answer);
void forgetAnswer(PropertyBag& preferences, const std::wstring& rememberKey);

}  // namespace zustd
