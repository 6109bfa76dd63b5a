// The small tag language in which short formatted texts are written.
//
// docs/formats/markup.md is its reference. Reading knows no controls and no
// services: it changes a font and tells a handler what the text says, in its
// order. Whatever the text is, that takes time and memory in proportion to its
// length: what is no markup is text or is passed over, and nothing is an error.
#pragma once

#include "ZuDescriptors.h"
#include "ZuLayout.h"

namespace zustd {

// What the control tag sets, in pixels.
struct MarkupSettings {
    // Of the view: 0 as long as no tag sets it, 1 or more then.
    Size size;
    // Margin and spacing; maximum and auto-sizing.
    Arrangement arrangement;
    Placement placement;
    bool wrapsWords = false;
};

// Who hears what a markup text says, piece by piece.
class IMarkupHandler {
public:
    virtual ~IMarkupHandler() = default;

    // The text between two tags, outside of links; never empty.
    virtual void addRun(const std::wstring& text) = 0;
    virtual void addLineBreak() = 0;
    // A link, at its end. Its text is not empty, its message's name may be.
    virtual void addLink(const std::wstring& text, const std::wstring& message) = 0;
    // What is set by now, and what a control tag makes of it.
    virtual MarkupSettings settings() const = 0;
    virtual void onSettings(const MarkupSettings& settings) = 0;
};

// Tags change the font's flags and size before the handler hears of what stands
// behind them. What the handler throws passes through.
void readMarkup(std::wstring_view markup, FontDescriptor& font, IMarkupHandler& handler);

}  // namespace zustd
