#include "ZuTextBoxWin32Gdi.h"

namespace zustd {

namespace {

// Without a limit of our own the control would take 32,767 characters.
constexpr std::size_t kLongestText = 0x7FFFFFFE;

std::wstring withPairs(const std::wstring& text) {
    std::wstring converted;
    for (const wchar_t c : text) {
        converted.append(c == L'\n' ? 1 : 0, L'\r');
        converted.push_back(c);
    }
    return converted;
}

// A place that the text does not have, as 0, is in none.
bool isInsidePair(const std::wstring& text, std::size_t place) noexcept {
    return place - 1 < text.size() && IS_SURROGATE_PAIR(text[place - 1], text[place]);
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

// Where what is marked begins and ends.
std::pair<DWORD, DWORD> selectionOf(HWND window) noexcept {
    DWORD start = 0;
    DWORD end = 0;
    SendMessageW(window, EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                 reinterpret_cast<LPARAM>(&end));
    return {start, end};
}

// In the order of TextBoxKind.
constexpr std::array<DWORD, 3> kStyles = {
    ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
    ES_PASSWORD | ES_AUTOHSCROLL};

}  // namespace

void TextBoxWin32Gdi::initializeFromDescriptor() {
    const DWORD style = kStyles[static_cast<std::size_t>(getAbstraction().kind())];
    synchronizeWindow({L"EDIT", style, WS_EX_CLIENTEDGE});
}

void TextBoxWin32Gdi::pushState() {
    const NativeTextBox& box = getAbstraction();
    synchronizeFont(box.hasFont() ? sharedReference(&box.font()) : nullptr);
    const std::size_t limit = box.maximumLength() != 0 ? box.maximumLength() : kLongestText;
    send(EM_SETLIMITTEXT, std::min(limit, kLongestText));
    if (box.isReadOnly() != hasFlag(GetWindowLongW(window(), GWL_STYLE), ES_READONLY)) {
        send(EM_SETREADONLY, box.isReadOnly());
    }
    if (box.kind() != TextBoxKind::kMultiLine) {
        pushText(EM_SETCUEBANNER, box.hasWatermark() ? box.watermark().text(box) : L"");
    }
    setText(box.text());
}

void TextBoxWin32Gdi::setText(const std::wstring& text) {
    if (getText() != text) {
        SetWindowTextW(window(), withPairs(text).c_str());
    }
}

std::wstring TextBoxWin32Gdi::getText() const {
    std::wstring text = windowText(window());
    std::erase(text, L'\r');
    return text;
}

void TextBoxWin32Gdi::onCommand(UINT code) {
    if (code == EN_CHANGE) {
        takeChange();
    }
}

void TextBoxWin32Gdi::takeChange() {
    const std::wstring text = windowText(window());
    if (const std::wstring whole = withoutHalves(text); whole.size() != text.size()) {
        const std::size_t end = std::min<std::size_t>(selectionOf(window()).second, text.size());
        const std::size_t place = withoutHalves(std::wstring_view(text).substr(0, end)).size();
        const Mirroring mirroring(*this);
        SetWindowTextW(window(), whole.c_str());
        send(EM_SETSEL, place, static_cast<LPARAM>(place));
    }
    getAbstraction().acceptText(getText());
}

bool TextBoxWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    switch (message.id) {
        case WM_CHAR:
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
    } else if (IS_HIGH_SURROGATE(character)) {
        typedHigh_ = character;
    } else if (IS_LOW_SURROGATE(character)) {
        replaceSelection({high, character, L'\0'});
    } else {
        return false;
    }
    return true;
}

// By what was typed in two halves; without the first one it is nothing.
void TextBoxWin32Gdi::replaceSelection(const std::array<wchar_t, 3>& pair) {
    const auto [start, end] = selectionOf(window());
    const DWORD length = static_cast<DWORD>(GetWindowTextLengthW(window())) - (end - start);
    if (pair.front() == L'\0' || getAbstraction().isReadOnly() ||
        length + 2 > static_cast<DWORD>(send(EM_GETLIMITTEXT))) {
        MessageBeep(MB_OK);
    } else {
        send(EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(pair.data()));
    }
}

void TextBoxWin32Gdi::moveOutOfPair(const WindowMessage& message) {
    const std::wstring text = windowText(window());
    const auto [start, end] = selectionOf(window());
    const bool cutsStart = isInsidePair(text, start);
    const bool cutsEnd = isInsidePair(text, end);
    if (!cutsStart && !cutsEnd) {
        return;
    }
    if (message.id == WM_KEYDOWN) {
        // One step more, so that the end that stays does stay.
        WindowMessage step = message;
        step.wide = message.wide == VK_LEFT ? VK_LEFT : VK_RIGHT;
        answerByDefault(step);
    } else {
        const DWORD first = start - (cutsStart ? 1 : 0);
        const DWORD last = start == end ? first : end + (cutsEnd ? 1 : 0);
        send(EM_SETSEL, first, static_cast<LPARAM>(last));
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
