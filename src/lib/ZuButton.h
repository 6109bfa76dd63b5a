// A push button that the toolkit draws: flat, with an image, a text, or both.
//
// One that toggles changes its check before anybody hears of the click.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

class Button : public PressedText {
public:
    // In the text "&" marks the access key.
    explicit Button(const std::wstring& text = {});

    // Before the text; may be null.
    bool setBitmap(const BitmapRef& bitmap) { return changeDescriptor(bitmap_, bitmap); }
    void setToggles(bool toggles) noexcept { toggles_ = toggles; }
    bool isChecked() const noexcept { return checked_; }
    bool setChecked(bool checked) { return change(checked_, checked); }

    Size preferredSize() override;
    Size preferredSizeForWidth(std::int32_t) override { return preferredSize(); }
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
