// A text that can be clicked, drawn as a link.
#pragma once

#include <string>

#include "ZuDrawnText.h"

namespace zustd {

class Link : public PressedText {
public:
    explicit Link(const std::wstring& text = {}) : PressedText(text) {
        setCursor(MouseCursor::kHand);
    }

protected:
    // Underlined while the pointer is over the link.
    FontStyle fontStyle() const override;
    void drawSelf(GraphicsService& graphics) override;
};

}  // namespace zustd
