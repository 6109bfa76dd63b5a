#include "ZuTextBoxWin32Gdi.h"

#include <commctrl.h>

namespace zustd {

namespace {

// Without a limit of our own the control would take 32,767 characters.
constexpr std::size_t kLongestText = 0x7FFFFFFE;

std::wstring withPairs(const std::wstring& text) {
    std::wstring converted;
    converted.reserve(text.size());
    for (const wchar_t c : text) {
        if (c == L'\n') {
            converted.push_back(L'\r');
        }
        converted.push_back(c);
    }
    return converted;
}

bool isInsidePair(const std::wstring& text, std::size_t place) noexcept {
    return place > 0 && place < text.size() && IS_SURROGATE_PAIR(text[place - 1], text[place]);
}

std::wstring withoutHalves(std::wstring_view text) {
    std::wstring whole;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i + 1 < text.size() && IS_SURROGATE_PAIR(text[i], text[i + 1])) {
            whole.append(text, i++, 2);
        } else if (!IS_HIGH_SURROGATE(text[i]) && !IS_LOW_SURROGATE(text[i])) {
            whole.push_back(text[i]);
        }
    }
    return whole;
}

struct Selection {
    DWORD start = 0;
    DWORD end = 0;
};

Selection selectionOf(HWND window) noexcept {
    Selection selection;
    SendMessageW(window, EM_GETSEL, reinterpret_cast<WPARAM>(&selection.start),
                 reinterpret_cast<LPARAM>(&selection.end));
    return selection;
}

// In the order of TextBoxKind.
constexpr std::array<DWORD, 3> kStyles = {
    ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
    ES_PASSWORD | ES_AUTOHSCROLL};

}  // namespace

void TextBoxWin32Gdi::synchronizeWithAbstraction() {
    guarded(L"TextBoxWin32Gdi::synchronizeWithAbstraction", [this] {
        if (!initializeFromDescriptor()) {
            return;
        }
        const NativeTextBox& box = getAbstraction();
        synchronizeFont(box.hasFont() ? sharedReference(&box.font()) : nullptr);
        const std::size_t limit = box.maximumLength() != 0 ? box.maximumLength() : kLongestText;
        if (limit != limit_) {
            send(EM_SETLIMITTEXT, std::min(limit, kLongestText));
            limit_ = limit;
        }
        const bool isReadOnly = (GetWindowLongW(window(), GWL_STYLE) & ES_READONLY) != 0;
        if (box.isReadOnly() != isReadOnly) {
            send(EM_SETREADONLY, box.isReadOnly());
        }
        setWatermark();
        setText(box.text());
    });
}

bool TextBoxWin32Gdi::initializeFromDescriptor() {
    const DWORD style = kStyles[static_cast<std::size_t>(getAbstraction().kind())];
    return synchronizeWindow(getAbstraction(), {L"EDIT", style, WS_EX_CLIENTEDGE},
                             [this] { limit_ = 0; });
}

void TextBoxWin32Gdi::setText(const std::wstring& text) {
    if (getText() != text) {
        const ScopedValue filling(filling_, true);
        SetWindowTextW(window(), withPairs(text).c_str());
    }
}

std::wstring TextBoxWin32Gdi::getText() const {
    std::wstring text = windowText(window());
    std::erase(text, L'\r');
    return text;
}

void TextBoxWin32Gdi::setWatermark() {
    const NativeTextBox& box = getAbstraction();
    const std::wstring watermark = box.hasWatermark() ? box.watermark().text(box) : std::wstring();
    if (box.kind() != TextBoxKind::kMultiLine && isNewText(watermark)) {
        send(EM_SETCUEBANNER, FALSE, reinterpret_cast<LPARAM>(watermark.c_str()));
    }
}

bool TextBoxWin32Gdi::onNotification(const WindowMessage& message, LRESULT& result) {
    if (message.id == WM_CTLCOLOREDIT || message.id == WM_CTLCOLORSTATIC) {
        return colorField(message, result);
    }
    if (message.id != WM_COMMAND || HIWORD(message.wide) != EN_CHANGE) {
        return false;
    }
    if (!filling_) {
        takeChange();
    }
    result = 0;
    return true;
}

void TextBoxWin32Gdi::takeChange() {
    const std::wstring text = windowText(window());
    if (const std::wstring whole = withoutHalves(text); whole.size() != text.size()) {
        const std::size_t end = std::min<std::size_t>(selectionOf(window()).end, text.size());
        const std::size_t place = withoutHalves(std::wstring_view(text).substr(0, end)).size();
        const ScopedValue filling(filling_, true);
        SetWindowTextW(window(), whole.c_str());
        send(EM_SETSEL, place, static_cast<LPARAM>(place));
    }
    getAbstraction().acceptText(getText());
}

bool TextBoxWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    switch (message.id) {
        case WM_CHAR:
            result = 0;
            return takeCharacter(static_cast<wchar_t>(message.wide));
        case WM_KEYDOWN:
        case WM_LBUTTONUP:
            result = answerByDefault(message);
            if (window() == message.window) {
                moveOutOfPair(message);
            }
            return true;
        default:
            return false;
    }
}

// Whether that was all there is to do.
bool TextBoxWin32Gdi::takeCharacter(wchar_t character) {
    constexpr wchar_t kSelectAll = 1;  // what Ctrl+A is as a character
    const wchar_t high = std::exchange(typedHigh_, L'\0');
    if (character == kSelectAll) {
        send(EM_SETSEL, 0, -1);
        return true;
    }
    if (IS_HIGH_SURROGATE(character)) {
        typedHigh_ = character;
        return true;
    }
    if (!IS_LOW_SURROGATE(character)) {
        return false;
    }
    const Selection marked = selectionOf(window());
    const auto length = static_cast<std::size_t>(GetWindowTextLengthW(window()));
    const std::array<wchar_t, 3> pair{high, character, L'\0'};
    if (high == L'\0' || getAbstraction().isReadOnly() ||
        length - (marked.end - marked.start) + 2 > limit_) {
        MessageBeep(MB_OK);
    } else {
        send(EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(pair.data()));
    }
    return true;
}

void TextBoxWin32Gdi::moveOutOfPair(const WindowMessage& message) {
    const std::wstring text = windowText(window());
    const Selection marked = selectionOf(window());
    const bool cutsStart = isInsidePair(text, marked.start);
    const bool cutsEnd = isInsidePair(text, marked.end);
    if (!cutsStart && !cutsEnd) {
        return;
    }
    if (message.id == WM_KEYDOWN) {
        // One step more, so that the end that stays does stay.
        WindowMessage step = message;
        step.wide = message.wide == VK_LEFT ? VK_LEFT : VK_RIGHT;
        answerByDefault(step);
    } else {
        const DWORD start = marked.start - (cutsStart ? 1 : 0);
        const DWORD end = marked.start == marked.end ? start : marked.end + (cutsEnd ? 1 : 0);
        send(EM_SETSEL, start, static_cast<LPARAM>(end));
    }
}

bool TextBoxWin32Gdi::usesKey(const KeyEvent& event) const {
    // In several lines Enter belongs to the text, unless it is read only.
    if (event.key == kKeyEnter && !event.has(kModifierControl)) {
        return getAbstraction().kind() == TextBoxKind::kMultiLine && !getAbstraction().isReadOnly();
    }
    return NativeControlWin32Gdi::usesKey(event);
}

}  // namespace zustd
