// A native push button, check box or radio button.
//
// Pressing it sends Control::kLeftClicked, by mouse or by key. Radio buttons
// that are children of one parent form a group: checking one unchecks the
// others, and the arrow keys press the next one that can have the focus.
#pragma once

#include "ZuControl.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class INativeButtonImpl : public IBackend {};

enum class ButtonKind : std::uint32_t { kPush, kDefaultPush, kCheck, kRadio };

class NativeButton : public NativeControl<INativeButtonImpl> {
public:
    // Between image and caption, at a scaling factor of 1.
    static constexpr std::int32_t kBitmapGap = 4;

    NativeButton() { setFocusable(true); }
    ~NativeButton() override { releaseImplementation(); }

    // Fail the assertions "caption_" and "font_" when there is none.
    TextDescriptor& caption() const { return ZU_REQUIRED(caption_); }
    FontDescriptor& font() const { return ZU_REQUIRED(font_); }
    bool hasCaption() const noexcept { return caption_ != nullptr; }
    // Without one the font is that of a new descriptor.
    bool hasFont() const noexcept { return font_ != nullptr; }
    bool setCaption(const TextRef& caption) { return changeDescriptor(caption_, caption); }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    // Left of the caption; may be null.
    const BitmapRef& bitmap() const noexcept { return bitmap_; }
    bool setBitmap(const BitmapRef& bitmap) { return changeDescriptor(bitmap_, bitmap); }

    ButtonKind kind() const noexcept { return kind_; }
    bool isPush() const noexcept {
        return kind_ == ButtonKind::kPush || kind_ == ButtonKind::kDefaultPush;
    }
    // A button that has a native object gets a new one.
    bool setKind(ButtonKind kind) { return changeChoice(kind_, kind); }
    bool isChecked() const noexcept { return checked_; }
    bool setChecked(bool checked) { return changeChoice(checked_, checked); }

    // The caption's size in its font plus what the kind needs around it.
    Size preferredSize() override;
    // As if the user pressed it: changes the check and sends kLeftClicked.
    // Nothing happens when the button cannot be used.
    void click();

    bool onKey(const KeyEvent& event) override;
    std::wstring accessText() const override {
        return caption_ ? caption_->text(*this) : std::wstring();
    }
    void activate() override { click(); }

private:
    // Assigns and shows; a radio button that is checked then unchecks its group.
    template <class T>
    bool changeChoice(T& member, T value) {
        const std::shared_ptr<Control> self = sharedReference<Control>(this);
        const bool changed = change(member, value);
        if (changed) {
            uncheckSiblings();
        }
        return changed;
    }
    std::vector<std::shared_ptr<NativeButton>> othersOfGroup() const;
    void uncheckSiblings();
    bool chooseNext(bool backwards);

    TextRef caption_;
    FontRef font_;
    BitmapRef bitmap_;
    ButtonKind kind_ = ButtonKind::kPush;
    bool checked_ = false;
};

}  // namespace zustd
