// One window of the host, or none, and what can be done with it.
//
// Window services are made by the application service. One that is bound to no
// window still shows messages; they then have no owner.
#pragma once

#include <cstdint>
#include <string>

#include "ZuAbstraction.h"
#include "ZuService.h"

namespace zustd {

// Message-box styles: one set of buttons plus one icon.
inline constexpr std::uint32_t kMessageOk = 0x00;
inline constexpr std::uint32_t kMessageOkCancel = 0x01;
inline constexpr std::uint32_t kMessageYesNoCancel = 0x03;
inline constexpr std::uint32_t kMessageYesNo = 0x04;
inline constexpr std::uint32_t kMessageIconError = 0x10;
inline constexpr std::uint32_t kMessageIconQuestion = 0x20;
inline constexpr std::uint32_t kMessageIconWarning = 0x30;
inline constexpr std::uint32_t kMessageIconInformation = 0x40;

// Answers of a message box; kAnswerNone when it could not be shown.
inline constexpr int kAnswerNone = 0;
inline constexpr int kAnswerOk = 1;
inline constexpr int kAnswerCancel = 2;
inline constexpr int kAnswerYes = 6;
inline constexpr int kAnswerNo = 7;

// What a backend does for a window service.
class IWindowServiceImpl {
public:
    IWindowServiceImpl() = default;
    IWindowServiceImpl(const IWindowServiceImpl&) = delete;
    IWindowServiceImpl& operator=(const IWindowServiceImpl&) = delete;
    virtual ~IWindowServiceImpl() = default;

    // Shows a message box and waits for its answer.
    virtual int showMessage(const std::wstring& text, const std::wstring& caption,
                            std::uint32_t style) = 0;
};

class WindowService : public Abstraction<IWindowServiceImpl>, public Service {
public:
    using Service::Service;

    // Shows a message box over the window and waits; kAnswerNone when it
    // cannot be shown.
    int showMessage(const std::wstring& text, const std::wstring& caption, std::uint32_t style);
};

}  // namespace zustd
