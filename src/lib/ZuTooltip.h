// The little window that explains a control when the pointer rests on it.
//
// While the pointer waits or the tooltip shows, its timer and its dialog are kept as named objects
// of the window service of the control's surface, under keys made of a prefix and the control's
// identity. Hiding the tooltip, or the end of the surface, releases both.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

// How a control shows its tooltip.
struct TooltipOptions {
    // How long the pointer rests before, in milliseconds; 1 or more.
    std::uint32_t delay = 500;
    // From the pointer, in pixels.
    Point offset{0, 20};
    // In pixels; without an area there is no limit.
    Size maximumSize{400, 300};
    // Null for the defaults.
    FontRef font;
    ColorsRef colors;
};

// The keys of a control's timer and dialog.
std::wstring tooltipTimerKey(const Control& control);
std::wstring tooltipDialogKey(const Control& control);

// What the tooltip's dialog shows: a text in a frame.
class Tooltip : public DrawnText {
public:
    Tooltip();

    // Of the text plus the margins, not larger than the maximum size; a text that is too wide is
    // wrapped. A maximum without an area is no limit. Without services just the margins.
    Size preferredSize() override;

protected:
    void drawSelf(GraphicsService& graphics) override;
    // The margins follow the scaling factor.
    void onJoinedSurface() override;
};

}  // namespace zustd
