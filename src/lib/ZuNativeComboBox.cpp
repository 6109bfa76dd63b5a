#include "ZuNativeComboBox.h"

#include "ZuGraphicsService.h"
#include "ZuWindowService.h"

namespace zustd {

using enum MessageWords;

ZU_MESSAGE_KIND(NativeComboBox::kSelectionChanged, kObject);
ZU_MESSAGE_KIND(NativeComboBox::kTextChanged, kObject);

bool NativeComboBox::setEditable(bool editable) {
    const ControlUpdate update(*this);
    if (!change(editable_, editable)) {
        return false;
    }
    if (!canShow(text_)) {
        setText({});
    }
    return true;
}

bool NativeComboBox::setText(const std::wstring& text) {
    const ControlUpdate update(*this);
    if (!canShow(text) || !change(text_, text)) {
        return false;
    }
    selected_ = findItem(text);
    notify(kTextChanged);
    return true;
}

std::size_t NativeComboBox::findItem(const std::wstring& text) const {
    const auto found = std::ranges::find(items_, text);
    return found == items_.end() ? kNullSize : static_cast<std::size_t>(found - items_.begin());
}

Size NativeComboBox::preferredSize() {
    const std::shared_ptr<WindowService> window = windowService();
    const std::shared_ptr<GraphicsService> graphics = graphicsService();
    const auto font = window && graphics ? window->getFont(font_) : nullptr;
    if (!font) {
        return boundary().size();
    }
    // Arrow, frame and a little room, at a scaling factor of 1.
    constexpr Size kPadding{32, 8};
    constexpr std::int32_t kSmallestWidth = 100;
    std::int32_t widest = 0;
    for (const std::wstring& item : items_) {
        widest = std::max(widest, graphics->measureTextWidth(item, *font));
    }
    return {std::max(saturatedSum(widest, scale(kPadding.width)), scale(kSmallestWidth)),
            saturatedSum(graphics->measureTextHeight(L"X", *font), scale(kPadding.height))};
}

void NativeComboBox::acceptSelection(std::size_t index) {
    index = known(index);
    if (std::exchange(selected_, index) == index) {
        return;
    }
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    notify(kSelectionChanged, MessageWord(static_cast<std::intptr_t>(index)));
    // A receiver may have changed the items. What is typed stands without one.
    if (selected_ != kNullSize || !editable_) {
        acceptText(getItemText(selected_));
    }
}

std::size_t ComboBoxImplementation::addItem(const std::wstring& text) {
    getAbstraction().items_.push_back(text);
    const std::size_t index = getItemCount() - 1;
    if (hasNativeObject()) {
        mirrorAdded(index);
    }
    return index;
}

void ComboBoxImplementation::removeItem(std::size_t index) {
    NativeComboBox& box = getAbstraction();
    if (box.known(index) == kNullSize) {
        return;
    }
    box.items_.erase(box.items_.begin() + static_cast<std::ptrdiff_t>(index));
    if (box.selected_ == index) {
        box.selected_ = kNullSize;
        box.text_.clear();
    } else if (box.selected_ != kNullSize && box.selected_ > index) {
        --box.selected_;
    }
    if (hasNativeObject()) {
        mirrorRemoved(index);
        mirrorSelection();
    }
}

void ComboBoxImplementation::clear() {
    NativeComboBox& box = getAbstraction();
    box.items_.clear();
    box.selected_ = kNullSize;
    box.text_.clear();
    if (hasNativeObject()) {
        mirrorCleared();
    }
}

void ComboBoxImplementation::selectItem(std::size_t index) {
    NativeComboBox& box = getAbstraction();
    box.selected_ = box.known(index);
    box.text_ = getItemText(index);
    if (hasNativeObject()) {
        mirrorSelection();
    }
}

}  // namespace zustd
