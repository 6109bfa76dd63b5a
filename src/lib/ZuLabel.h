// A text of one or more lines, wrapped at words where that is asked for.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

class Label : public DrawnText {
public:
    explicit Label(const std::wstring& text = {}) : DrawnText(text) { setTakesMouse(false); }

    // Each returns whether it was otherwise before.
    bool setWordWrap(bool wraps) { return changeFormat(&TextFormat::wordWrap, wraps); }
    // Whether "&" underlines the next character; it is an ordinary one at first.
    bool setAccessKeys(bool shows) { return changeFormat(&TextFormat::accelerators, shows); }
};

}  // namespace zustd
