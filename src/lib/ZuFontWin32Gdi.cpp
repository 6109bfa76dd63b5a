#include "ZuFontWin32Gdi.h"

#include <cmath>
#include <numeric>

namespace zustd {

namespace {

constexpr double kDotsPerInch = 96.0;
constexpr double kPointsPerInch = 72.0;
// Of the system's text, in pixels, where the system does not say.
constexpr LONG kUnknownHeight = 12;
// A larger font fills any screen with one character.
constexpr double kLargestHeight = 4000.0;

// What the system answers for a character that the font has not.
constexpr WORD kNoGlyph = std::numeric_limits<WORD>::max();

bool isBetween(wchar_t character, wchar_t first, wchar_t last) noexcept {
    return character >= first && character <= last;
}

// Whether the width of a text is the sum of the widths of such characters,
// whatever stands beside them.
bool standsAlone(wchar_t character) noexcept {
    return isBetween(character, 0x0020, 0x007E) || isBetween(character, 0x00A0, 0x00AC) ||
           isBetween(character, 0x00AE, 0x02AF) || isBetween(character, 0x0370, 0x0482) ||
           isBetween(character, 0x048A, 0x052F) || isBetween(character, 0x1E00, 0x1FFF) ||
           isBetween(character, 0x2010, 0x2027) || isBetween(character, 0x2030, 0x205E) ||
           isBetween(character, 0x20A0, 0x20BF);
}

}  // namespace

void FontWin32Gdi::synchronizeWithAbstraction() {
    guarded(ZU_OPERATION, [this] {
        if (!font_) {
            font_ = ZU_SYSTEM(makeFontHandle(getAbstraction().style(), scalingFactor_));
        }
    });
}

HFONT FontWin32Gdi::handle() {
    synchronizeWithAbstraction();
    return font_ ? font_.get() : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

std::int32_t FontWin32Gdi::lineHeight() {
    if (lineHeight_ == 0) {
        const HDC context = measuringContext();
        const SelectedObject selected(context, handle());
        TEXTMETRICW metrics{};
        GetTextMetricsW(context, &metrics);
        lineHeight_ = std::max<std::int32_t>(metrics.tmHeight, 1);
    }
    return lineHeight_;
}

std::int32_t FontWin32Gdi::textWidth(std::wstring_view text) {
    std::int64_t width = 0;
    for (const wchar_t character : text) {
        const auto number = static_cast<std::size_t>(character);
        const int own = block(number / kBlockSize)[number % kBlockSize];
        if (own == kUnknown) {
            const HDC context = measuringContext();
            const SelectedObject selected(context, handle());
            // The system refuses longer texts than its counts can hold.
            const auto length = static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
            SIZE size{};
            return GetTextExtentPoint32W(context, text.data(), length, &size) ? size.cx : 0;
        }
        width += own;
    }
    return saturate(width);
}

const FontWin32Gdi::Block& FontWin32Gdi::block(std::size_t index) {
    if (!blocks_[index]) {
        std::array<wchar_t, kBlockSize> characters{};
        std::iota(characters.begin(), characters.end(), static_cast<wchar_t>(index * kBlockSize));
        const HDC context = measuringContext();
        const SelectedObject selected(context, handle());
        std::array<WORD, kBlockSize> glyphs{};
        auto made = std::make_unique<Block>();
        const bool known =
            GetGlyphIndicesW(context, characters.data(), kBlockSize, glyphs.data(),
                             GGI_MARK_NONEXISTING_GLYPHS) != GDI_ERROR &&
            GetCharWidth32W(context, characters.front(), characters.back(), made->data());
        const auto keep = [&](wchar_t character, int width) {
            const WORD glyph = glyphs[static_cast<std::size_t>(character) % kBlockSize];
            return known && standsAlone(character) && glyph != kNoGlyph ? width : kUnknown;
        };
        std::transform(characters.begin(), characters.end(), made->begin(), made->begin(), keep);
        blocks_[index] = std::move(made);
    }
    return *blocks_[index];
}

FontHandle makeFontHandle(const FontStyle& style, double scalingFactor) {
    const LOGFONTW systemFont = windowMetrics().lfMessageFont;
    double height = style.size * kDotsPerInch / kPointsPerInch;
    if (style.size == 0) {
        // The system tells its font's in pixels of the main screen.
        const double dots = GetDeviceCaps(measuringContext(), LOGPIXELSY);
        height = std::abs(systemFont.lfHeight) * kDotsPerInch / dots;
    }
    LOGFONTW font{};
    // Negative: the height of the characters, not of their cells.
    font.lfHeight =
        -static_cast<LONG>(std::clamp(std::round(height * scalingFactor), 1.0, kLargestHeight));
    font.lfWeight = style.bold ? FW_BOLD : FW_NORMAL;
    font.lfItalic = style.italic ? TRUE : FALSE;
    font.lfUnderline = style.underline ? TRUE : FALSE;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfQuality = CLEARTYPE_QUALITY;
    lstrcpynW(font.lfFaceName,
              style.faceName.empty() ? systemFont.lfFaceName : style.faceName.c_str(), LF_FACESIZE);
    return FontHandle(CreateFontIndirectW(&font));
}

NONCLIENTMETRICSW windowMetrics() noexcept {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    metrics.lfMessageFont.lfHeight = kUnknownHeight;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    return metrics;
}

FontWin32Gdi& fontBackend(const Font& font) {
    auto* backend = dynamic_cast<FontWin32Gdi*>(&font.implementation());
    ZU_ASSERT_AS(backend != nullptr, L"font", ZU_HERE);
    return *backend;
}

HDC measuringContext() {
    static thread_local const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    return context.get();
}

}  // namespace zustd
