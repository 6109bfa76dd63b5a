#include "ZuLabel.h"

namespace zustd {

Label::Label(const std::wstring& text) : DrawnText(text) { setTakesMouse(false); }

bool Label::setWordWrap(bool wraps) {
    TextFormat format = textFormat();
    format.wordWrap = wraps;
    return changeFormat(format);
}

bool Label::setAccessKeys(bool shows) {
    TextFormat format = textFormat();
    format.accelerators = shows;
    return changeFormat(format);
}

}  // namespace zustd
