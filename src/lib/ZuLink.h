// A text that can be clicked, drawn as a link.
//
// It sends kLeftClicked for the mouse as well as for Enter and Space while it
// has the focus.
#pragma once

#include <string>

#include "ZuDrawnText.h"

namespace zustd {

class Link : public DrawnText {
public:
    explicit Link(const std::wstring& text = {});

    // As if the user clicked it. Nothing happens when it cannot be used.
    void click();
    bool onKey(const KeyEvent& event) override;

protected:
    // Underlined while the pointer is over the link.
    FontStyle fontStyle() const override;
    void drawSelf(GraphicsService& graphics) override;
};

}  // namespace zustd
