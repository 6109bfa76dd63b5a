// A native window that paints drawn controls and holds native widgets.
//
// A surface: the root of a control tree, with an input router and services of its own. On another
// surface it is a child window in the place of its boundary; made by a service without a window it
// is a window of its own on the screen, with a caption, whose client area is the boundary's size.
//
// The surface paints its background and its drawn children in the colours of
// its descriptor; without a background colour in that of the system's dialogs.
#pragma once

#include "ZuControl.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class INativeWindowImpl : public IBackend {};

class NativeWindow : public NativeControl<INativeWindowImpl> {
public:
    NativeWindow() : router_(*this) {}
    ~NativeWindow() override { releaseImplementation(); }

    // Fails the assertion "caption_" when there is none.
    TextDescriptor& caption() const { return ZU_REQUIRED(caption_); }
    bool hasCaption() const noexcept { return caption_ != nullptr; }
    bool setCaption(const TextRef& caption) { return changeDescriptor(caption_, caption); }

    InputRouter* inputRouter() noexcept override { return &router_; }

    // For the backend: the user wants to close the window; false when a
    // receiver of kClose keeps it open.
    bool acceptClose() { return requestClose(); }

private:
    TextRef caption_;
    InputRouter router_;
};

}  // namespace zustd
