// Window messages in the terms of the input router.
#pragma once

#include <optional>

#include "ZuInput.h"
#include "ZuMessageDispatchWin32Gdi.h"

namespace zustd {

// The event that a mouse message of a surface's window stands for, in pixels
// of its client area; empty for any other message.
std::optional<MouseEvent> mouseEventOf(const WindowMessage& message) noexcept;

// The same for a key that is pressed or repeated.
std::optional<KeyEvent> keyEventOf(const WindowMessage& message) noexcept;

}  // namespace zustd
