#include "ZuNativeTextBox.h"

#include "ZuDrawnText.h"
#include "ZuWindows.h"

namespace zustd {

ZU_MESSAGE_KIND(NativeTextBox::kTextChanged, MessageWords::kObject);

namespace {

// At a scaling factor of 1, frame included.
constexpr std::int32_t kPadding = 8;
constexpr std::int32_t kUsualWidth = 160;
constexpr std::int32_t kUsualLines = 4;

std::wstring normalized(std::wstring text, std::size_t maximumLength) {
    std::erase(text, L'\r');
    if (maximumLength != 0 && text.size() > maximumLength) {
        // Not between the halves of a surrogate pair.
        const bool cutsPair = IS_SURROGATE_PAIR(text[maximumLength - 1], text[maximumLength]);
        text.resize(maximumLength - (cutsPair ? 1 : 0));
    }
    return text;
}

}  // namespace

bool NativeTextBox::setText(const std::wstring& text) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (!change(text_, normalized(text, maximumLength_))) {
        return false;
    }
    notify(kTextChanged);
    return true;
}

bool NativeTextBox::setMaximumLength(std::size_t length) {
    const ControlUpdate update(*this);
    if (!change(maximumLength_, length)) {
        return false;
    }
    setText(text_);
    return true;
}

Size NativeTextBox::preferredSize() {
    const std::int32_t line = measuredText(*this, L"X", styleOf(font_)).height;
    if (line == 0) {
        return boundary().size();
    }
    const std::int32_t lines = kind_ == TextBoxKind::kMultiLine ? kUsualLines : 1;
    return {scale(kUsualWidth), saturate(std::int64_t{line} * lines + scale(kPadding))};
}

}  // namespace zustd
