// A font that can be drawn with: a style joined to the platform's font object.
//
// Fonts come from WindowService::getFont, which keeps one a style. A font
// never changes; a descriptor that changes leads to another font.
#pragma once

#include "ZuAbstraction.h"
#include "ZuDescriptors.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class IFontImpl : public IBackend {};

class Font : public Abstraction<IFontImpl>, public SharedObject {
public:
    explicit Font(FontStyle style) : style_(std::move(style)) {}
    ~Font() override { releaseImplementation(); }

    const FontStyle& style() const noexcept { return style_; }

private:
    FontStyle style_;
};

}  // namespace zustd
