// A native push button, check box or radio button.
//
// Pressing it sends Control::kLeftClicked, by mouse or by key. Radio buttons
// that are children of one parent form a group: checking one unchecks the
// others, and the arrow keys press the next one that can have the focus.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ZuControl.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class INativeButtonImpl {
public:
    INativeButtonImpl() = default;
    INativeButtonImpl(const INativeButtonImpl&) = delete;
    INativeButtonImpl& operator=(const INativeButtonImpl&) = delete;
    virtual ~INativeButtonImpl() = default;
};

enum class ButtonKind : std::uint32_t { kPush, kDefaultPush, kCheck, kRadio };

class NativeButton : public Abstraction<INativeButtonImpl>, public Control {
public:
    // Between image and caption, at a scaling factor of 1.
    static constexpr std::int32_t kBitmapGap = 4;

    NativeButton();
    ~NativeButton() override;

    // Fail the assertions "caption_" and "font_" when there is none.
    TextDescriptor& caption() const;
    FontDescriptor& font() const;
    bool hasCaption() const noexcept { return caption_ != nullptr; }
    // Without one the font is that of a new descriptor.
    bool hasFont() const noexcept { return font_ != nullptr; }
    bool setCaption(const std::shared_ptr<TextDescriptor>& caption);
    bool setFont(const std::shared_ptr<FontDescriptor>& font);
    // Left of the caption; may be null.
    const std::shared_ptr<BitmapDescriptor>& bitmap() const noexcept { return bitmap_; }
    bool setBitmap(const std::shared_ptr<BitmapDescriptor>& bitmap);

    ButtonKind kind() const noexcept { return kind_; }
    bool isPush() const noexcept {
        return kind_ == ButtonKind::kPush || kind_ == ButtonKind::kDefaultPush;
    }
    // A button that has a native object gets a new one.
    bool setKind(ButtonKind kind);
    bool isChecked() const noexcept { return checked_; }
    bool setChecked(bool checked);

    // The caption's size in its font plus what the kind needs around it.
    Size preferredSize() override;
    // As if the user pressed it: changes the check and sends kLeftClicked.
    // Nothing happens when the button cannot be used.
    void click();

    IImplementation* backend() const noexcept override { return backendOf(*this); }
    bool onKey(const KeyEvent& event) override;
    std::wstring accessText() const override;
    void activate() override { click(); }

private:
    std::vector<std::shared_ptr<NativeButton>> group() const;
    void uncheckSiblings();
    bool chooseNext(bool backwards);

    std::shared_ptr<TextDescriptor> caption_;
    std::shared_ptr<FontDescriptor> font_;
    std::shared_ptr<BitmapDescriptor> bitmap_;
    ButtonKind kind_ = ButtonKind::kPush;
    bool checked_ = false;
};

}  // namespace zustd
