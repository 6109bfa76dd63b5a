// A native field for text of one line or several.
#pragma once

#include "ZuControl.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class INativeTextBoxImpl : public IBackend {};

enum class TextBoxKind : std::uint32_t { kSingleLine, kMultiLine, kPassword };

class NativeTextBox : public NativeControl<INativeTextBoxImpl> {
public:
    // The user or the program has changed the text. First word: the text box.
    static const MessageKind kTextChanged;

    NativeTextBox() { setFocusable(true); }
    ~NativeTextBox() override { releaseImplementation(); }

    // The hint that an empty field shows; one of several lines shows none.
    // Fails the assertion "watermark_" when there is none.
    TextDescriptor& watermark() const { return ZU_REQUIRED(watermark_); }
    bool hasWatermark() const noexcept { return watermark_ != nullptr; }
    bool setWatermark(const TextRef& watermark) { return changeDescriptor(watermark_, watermark); }
    // Fails the assertion "font_" when there is none; the font is that of a new descriptor then.
    FontDescriptor& font() const { return ZU_REQUIRED(font_); }
    bool hasFont() const noexcept { return font_ != nullptr; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }

    // Lines end in a line feed alone: carriage returns are left out. Cut to the maximum length.
    const std::wstring& text() const noexcept { return text_; }
    bool setText(const std::wstring& text);
    TextBoxKind kind() const noexcept { return kind_; }
    // A text box that has a native object gets a new one.
    bool setKind(TextBoxKind kind) { return change(kind_, kind); }
    bool isReadOnly() const noexcept { return readOnly_; }
    bool setReadOnly(bool readOnly) { return change(readOnly_, readOnly); }
    // In UTF-16 units; 0 means no limit.
    std::size_t maximumLength() const noexcept { return maximumLength_; }
    bool setMaximumLength(std::size_t length);

    Size preferredSize() override;

    // For the backend: the user has changed the text. Sends the message without synchronising.
    void acceptText(const std::wstring& text) {
        if (std::exchange(text_, text) != text) {
            notify(kTextChanged);
        }
    }

private:
    TextRef watermark_;
    FontRef font_;
    std::wstring text_;
    TextBoxKind kind_ = TextBoxKind::kSingleLine;
    std::size_t maximumLength_ = 0;
    bool readOnly_ = false;
};

}  // namespace zustd
