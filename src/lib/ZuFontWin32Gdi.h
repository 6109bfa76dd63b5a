// The Windows half of a font: its HFONT and what it measures.
//
// Layouts measure every word of a document, so the widths of most characters are asked for once, a
// block of 256 at a time, and kept. What they cannot answer (scripts whose characters join or
// combine, characters of another font) the system measures each time.
#pragma once

#include <array>

#include "ZuFont.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

class FontWin32Gdi : public Implementation<Font, IFontImpl> {
public:
    // The factor is 1.0 at 96 dots an inch.
    explicit FontWin32Gdi(double scalingFactor) noexcept : scalingFactor_(scalingFactor) {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { font_.reset(); }
    bool hasNativeObject() const override { return static_cast<bool>(font_); }

    // Made if need be; the system's own when that fails. Valid until releaseNativeObject().
    HFONT handle();
    // Pixels from one line to the next.
    std::int32_t lineHeight();
    // Pixels of one line of text, as the system draws it.
    std::int32_t textWidth(std::wstring_view text);

private:
    static constexpr std::size_t kBlockSize = 256;
    // Width of each character, or that only the system knows.
    using Block = std::array<int, kBlockSize>;
    static constexpr int kUnknown = std::numeric_limits<int>::min();

    const Block& block(std::size_t index);

    FontHandle font_;
    double scalingFactor_;
    std::int32_t lineHeight_ = 0;
    std::array<std::unique_ptr<const Block>, 256> blocks_;
};

// The system's font for a style, its size times the factor; empty when it has none to give.
FontHandle makeFontHandle(const FontStyle& style, double scalingFactor);

// How the system draws its own windows.
NONCLIENTMETRICSW windowMetrics() noexcept;

// The backend of a font; fails an assertion unless a window service made that.
FontWin32Gdi& fontBackend(const Font& font);

// A device context to measure texts in: this thread's, kept until the thread ends.
HDC measuringContext();

}  // namespace zustd
