// What the drawn widgets have in common: a text in a font, and colours where nobody has set any.
//
// Fonts and texts are looked up through the control's services whenever they are needed. Without
// them, outside of a surface, a drawn widget has no more size than its margins and draws nothing.
#pragma once

#include "ZuControl.h"
#include "ZuGraphicsService.h"

namespace zustd {

// The control's colour for a role; what nobody sets is as in a light window, kBackground unset.
Color drawnColor(const Control& control, ColorRole role) noexcept;
// The same for what is in front: kDisabledText instead when the control cannot be used.
Color frontColor(const Control& control, ColorRole role = ColorRole::kText) noexcept;

// Whether a key presses a drawn button or link: Space or Enter alone.
bool isPressingKey(const KeyEvent& event) noexcept;

// A text's size in a font, wrapped to a width that is not 0; empty without services or the font.
Size measuredText(const Control& control, std::wstring_view text, const FontStyle& style,
                  std::int32_t width = 0);

class DrawnText : public Control {
public:
    DrawnText() = default;
    explicit DrawnText(const std::wstring& text) : text_(std::make_shared<TextDescriptor>(text)) {}

    // As it is shown; empty when there is none.
    std::wstring text() const { return text_ ? text_->text(*this) : std::wstring(); }
    // Gives the control a descriptor of its own with this text.
    bool setText(const std::wstring& text);
    // May be null: no text.
    bool setTextDescriptor(const TextRef& text) { return changeDescriptor(text_, text); }
    // May be null: the widget's usual font.
    const FontRef& fontDescriptor() const noexcept { return font_; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    // Of the text in the area inside of the margins.
    bool setTextAlignment(TextAlignment horizontal, TextAlignment vertical);

    // The text's size plus the margins; what wraps does so at the maximum width.
    Size preferredSize() override;
    // The same for a width that is given, which a text that wraps keeps to.
    Size preferredSizeForWidth(std::int32_t width) override;

protected:
    void drawSelf(GraphicsService& graphics) override {
        drawBackground(graphics);
        drawTextIn(graphics, innerArea(), frontColor(*this));
    }
    void onInputStateChanged() override { refresh(); }

    // What the text is drawn in.
    virtual FontStyle fontStyle() const { return styleOf(font_); }
    // Of the text alone as measuredText() gives it, not wrapped where the text does not wrap.
    Size textSize(std::int32_t width = 0) const;
    void drawTextIn(GraphicsService& graphics, const Rect& area, Color color) const;
    bool changeFormat(const TextFormat& format) { return change(format_, format); }
    // Of one field of the format; whether there was a change.
    bool changeFormat(bool TextFormat::*field, bool value) { return change(format_.*field, value); }

private:
    TextRef text_;
    FontRef font_;
    TextFormat format_;
};

// A text that sends kLeftClicked for the mouse as well as, with the focus, for Space and Enter.
class PressedText : public DrawnText {
public:
    explicit PressedText(const std::wstring& text) : DrawnText(text) { setFocusable(true); }

    // As if the user clicked it. Nothing happens when it cannot be used.
    void click() {
        if (isUsable()) {
            notify(kLeftClicked, wordOfPoint({}));
        }
    }
    bool onKey(const KeyEvent& event) override;
};

}  // namespace zustd
