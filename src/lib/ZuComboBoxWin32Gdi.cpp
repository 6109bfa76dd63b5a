#include "ZuComboBoxWin32Gdi.h"

#include "ZuGeometryWin32Gdi.h"

namespace zustd {

void ComboBoxWin32Gdi::initializeFromDescriptor() {
    const DWORD kind = getAbstraction().isEditable() ? CBS_DROPDOWN : CBS_DROPDOWNLIST;
    const DWORD style = kind | CBS_HASSTRINGS | CBS_AUTOHSCROLL | WS_VSCROLL;
    synchronizeWindow({L"COMBOBOX", style}, [this] {
        COMBOBOXINFO parts{.cbSize = sizeof(parts)};
        if (getAbstraction().isEditable() && GetComboBoxInfo(window(), &parts)) {
            attachPart(parts.hwndItem);
        }
        fill();
    });
}

void ComboBoxWin32Gdi::pushState() {
    const NativeComboBox& box = getAbstraction();
    synchronizeFont(box.font());
    fitHeight();
    pushText(CB_SETCUEBANNER, box.hasCaption() ? box.caption().text(box) : L"");
    pushSelection();
}

void ComboBoxWin32Gdi::fill() {
    // A guess at the usual item, for the room that the control takes at once.
    constexpr std::size_t kBytesPerItem = 40;
    const std::vector<std::wstring>& items = getAbstraction().items();
    send(WM_SETREDRAW, FALSE);
    send(CB_INITSTORAGE, items.size(), static_cast<LPARAM>(items.size() * kBytesPerItem));
    for (const std::wstring& item : items) {
        sendData(CB_ADDSTRING, item.c_str());
    }
    send(WM_SETREDRAW, TRUE);
}

// The height of a combo box follows from that of its field. What lies between
// them is seen from a first try.
void ComboBoxWin32Gdi::fitHeight() {
    constexpr WPARAM kField = static_cast<WPARAM>(-1);
    const auto missing = [this] {
        return getAbstraction().boundary().height() - windowRect(window()).height();
    };
    LRESULT height = send(CB_GETITEMHEIGHT, kField);
    for (int tries = 0; tries < 2 && missing() != 0; ++tries) {
        height = std::max<LRESULT>(height + missing(), 1);
        send(CB_SETITEMHEIGHT, kField, height);
    }
}

void ComboBoxWin32Gdi::setText(const std::wstring& text) {
    if (getText() != text) {
        const Mirroring mirroring(*this);
        SetWindowTextW(window(), text.c_str());
    }
}

void ComboBoxWin32Gdi::mirrorAdded(std::size_t index) {
    send(CB_INSERTSTRING, index, reinterpret_cast<LPARAM>(getAbstraction().items()[index].c_str()));
}

void ComboBoxWin32Gdi::pushSelection() {
    const std::size_t selected = getSelectedItem();
    if (selectedInList() != selected) {
        send(CB_SETCURSEL, selected);
    }
    if (getAbstraction().isEditable()) {
        setText(getAbstraction().text());
    }
}

void ComboBoxWin32Gdi::onCommand(UINT code) {
    // A list that closes goes back to what it showed before, and says nothing.
    const bool closes = code == CBN_SELENDCANCEL || code == CBN_CLOSEUP;
    if (code == CBN_EDITCHANGE || (closes && getAbstraction().isEditable())) {
        acceptTyped();
    } else if (code == CBN_SELCHANGE || closes) {
        getAbstraction().acceptSelection(selectedInList());
    }
}

// What is typed is an item when it reads like one; of several the chosen one.
void ComboBoxWin32Gdi::acceptTyped() {
    NativeComboBox& box = getAbstraction();
    const std::wstring text = getText();
    box.acceptText(text);
    const std::size_t selected = box.getSelectedItem();
    if (box.text() == text && (selected == kNullSize || box.getItemText(selected) != text)) {
        box.acceptSelection(box.findItem(text));
    }
}

bool ComboBoxWin32Gdi::usesKey(const KeyEvent& event) const {
    // They take or leave what is marked in the open list.
    const bool isAnswer = event.key == kKeyEnter || event.key == kKeyEscape;
    return (isAnswer && send(CB_GETDROPPEDSTATE) != 0) || NativeControlWin32Gdi::usesKey(event);
}

}  // namespace zustd
