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

void eraseReturns(std::wstring& text) { std::erase(text, L'\r'); }

DWORD styleOf(const NativeTextBox& box) noexcept {
    switch (box.kind()) {
        case TextBoxKind::kMultiLine:
            return ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL;
        case TextBoxKind::kPassword:
            return ES_PASSWORD | ES_AUTOHSCROLL;
        case TextBoxKind::kSingleLine:
            break;
    }
    return ES_AUTOHSCROLL;
}

}  // namespace

TextBoxWin32Gdi::TextBoxWin32Gdi(HWND hostWindow) noexcept
    : NativeControlWin32Gdi(hostWindow, L"TextBoxWin32Gdi::handleMultiWindowMessage") {}

void TextBoxWin32Gdi::synchronizeWithAbstraction() {
    guarded(L"TextBoxWin32Gdi::synchronizeWithAbstraction", [this] {
        const Outcome outcome = initializeFromDescriptor();
        if (outcome == Outcome::kNoSurface) {
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

TextBoxWin32Gdi::Outcome TextBoxWin32Gdi::initializeFromDescriptor() {
    const Outcome outcome =
        synchronizeWindow(getAbstraction(), {L"EDIT", styleOf(getAbstraction()), WS_EX_CLIENTEDGE});
    if (outcome == Outcome::kMade) {
        watermark_.clear();
        limit_ = 0;
    }
    return outcome;
}

void TextBoxWin32Gdi::setText(const std::wstring& text) {
    if (getText() == text) {
        return;
    }
    filling_ = true;
    SetWindowTextW(window(), withPairs(text).c_str());
    filling_ = false;
}

std::wstring TextBoxWin32Gdi::getText() const {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window())) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(window(), text.data(), static_cast<int>(text.size()))));
    eraseReturns(text);
    return text;
}

void TextBoxWin32Gdi::setWatermark() {
    const NativeTextBox& box = getAbstraction();
    std::wstring watermark = box.hasWatermark() ? box.watermark().text(box) : std::wstring();
    if (watermark != watermark_ && box.kind() != TextBoxKind::kMultiLine) {
        send(EM_SETCUEBANNER, FALSE, reinterpret_cast<LPARAM>(watermark.c_str()));
        watermark_ = std::move(watermark);
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
        getAbstraction().acceptText(getText());
    }
    result = 0;
    return true;
}

bool TextBoxWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    constexpr WPARAM kSelectAll = 1;  // what Ctrl+A is as a character
    if (message.id != WM_CHAR || message.wide != kSelectAll) {
        return false;
    }
    send(EM_SETSEL, 0, -1);
    result = 0;
    return true;
}

bool TextBoxWin32Gdi::usesKey(const KeyEvent& event) const {
    // In several lines Enter belongs to the text, unless it is read only.
    if (event.key == kKeyEnter && !event.has(kModifierControl)) {
        return getAbstraction().kind() == TextBoxKind::kMultiLine && !getAbstraction().isReadOnly();
    }
    return NativeControlWin32Gdi::usesKey(event);
}

}  // namespace zustd
