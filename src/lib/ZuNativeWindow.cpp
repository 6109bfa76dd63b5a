#include "ZuNativeWindow.h"

namespace zustd {

NativeWindow::NativeWindow() : router_(*this) {}

NativeWindow::~NativeWindow() { releaseImplementation(); }

TextDescriptor& NativeWindow::caption() const {
    ZU_ASSERT(caption_);
    return *caption_;
}

bool NativeWindow::setCaption(const std::shared_ptr<TextDescriptor>& caption) {
    return changeDescriptor(caption_, caption);
}

void NativeWindow::acceptSize(Size size) {
    Rect resized = boundary();
    resized.setSize(size);
    if (place(resized)) {
        showChildren();
    }
}

bool NativeWindow::acceptClose() { return requestClose(); }

}  // namespace zustd
