// A push button that the toolkit draws: flat, with an image, a text, or both.
//
// It sends kLeftClicked for the mouse as well as for Enter and Space while it
// has the focus. One that toggles changes its check before anybody hears of
// the click.
#pragma once

#include <memory>
#include <string>

#include "ZuDrawnText.h"

namespace zustd {

class Button : public DrawnText {
public:
    // In the text "&" marks the access key.
    explicit Button(const std::wstring& text = {});

    // Before the text; may be null.
    const BitmapRef& bitmap() const noexcept { return bitmap_; }
    bool setBitmap(const BitmapRef& bitmap) { return changeDescriptor(bitmap_, bitmap); }
    bool toggles() const noexcept { return toggles_; }
    void setToggles(bool toggles) noexcept { toggles_ = toggles; }
    bool isChecked() const noexcept { return checked_; }
    bool setChecked(bool checked) { return change(checked_, checked); }

    // As if the user clicked it. Nothing happens when it cannot be used.
    void click();
    Size preferredSize() override;
    Size preferredSizeForWidth(std::int32_t width) override;
    bool onKey(const KeyEvent& event) override;
    std::wstring accessText() const override { return text(); }
    void activate() override { click(); }
    bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    void drawFace(GraphicsService& graphics) const;
    // Of image and text side by side.
    Size contentSize(Size image, Size text) const;

    BitmapRef bitmap_;
    bool toggles_ = false;
    bool checked_ = false;
};

}  // namespace zustd
