// What the drawn widgets have in common: a text in a font, and colours where
// nobody has set any.
//
// Fonts and texts are looked up through the control's services whenever they
// are needed. Without them, outside of a surface, a drawn widget has no more
// size than its margins and draws nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "ZuControl.h"
#include "ZuFont.h"
#include "ZuGraphicsService.h"

namespace zustd {

// The control's colour for a role (Control::color); unset ones are those of a
// light window. kBackground alone stays unset: nothing is painted then.
Color drawnColor(const Control& control, ColorRole role) noexcept;
// The same for what is written or drawn in front: kDisabledText instead of the
// role when the control cannot be used.
Color inkColor(const Control& control, ColorRole role = ColorRole::kText) noexcept;

// Whether a key presses a drawn button or link: Space or Enter alone.
bool isPressingKey(const KeyEvent& event) noexcept;

// A text's size in a font, wrapped to a width when that is not 0; empty where
// the control lacks a service or the font.
Size measuredText(const Control& control, std::wstring_view text, const FontStyle& style,
                  std::int32_t width = 0);

class DrawnText : public Control {
public:
    DrawnText() = default;
    explicit DrawnText(const std::wstring& text);

    // As it is shown; empty when there is none.
    std::wstring text() const;
    // Gives the control a descriptor of its own with this text.
    bool setText(const std::wstring& text);
    // May be null: no text.
    const TextRef& textDescriptor() const noexcept { return text_; }
    bool setTextDescriptor(const TextRef& text) { return changeDescriptor(text_, text); }
    // May be null: the widget's usual font.
    const FontRef& fontDescriptor() const noexcept { return font_; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    // Of the text in the area inside of the margins.
    const TextFormat& textFormat() const noexcept { return format_; }
    bool setTextAlignment(TextAlignment horizontal, TextAlignment vertical);

    // The text's size plus the margins. A text that wraps does so at the
    // maximum width; without one it stays in its lines.
    Size preferredSize() override;
    // The same for a width that is given, which a text that wraps keeps to.
    Size preferredSizeForWidth(std::int32_t width) override;

protected:
    void drawSelf(GraphicsService& graphics) override;
    void onInputStateChanged() override { refresh(); }

    // What the text is drawn in.
    virtual FontStyle fontStyle() const { return styleOf(font_); }
    // Of the text alone, wrapped to a width when that is not 0 and the text
    // wraps. Without services it is empty.
    Size textSize(std::int32_t width) const;
    void drawTextIn(GraphicsService& graphics, const Rect& area, Color color) const;
    bool changeFormat(const TextFormat& format) { return change(format_, format); }
    // Of one field of the format; whether there was a change.
    bool changeFormat(bool TextFormat::*field, bool value) { return change(format_.*field, value); }

private:
    TextRef text_;
    FontRef font_;
    TextFormat format_;
};

// A text that is pressed by mouse or key, and sends kLeftClicked for both: with
// the focus Space and Enter press it.
class PressedText : public DrawnText {
public:
    explicit PressedText(const std::wstring& text) : DrawnText(text) { setFocusable(true); }

    // As if the user clicked it. Nothing happens when it cannot be used.
    void click();
    bool onKey(const KeyEvent& event) override;
};

}  // namespace zustd
