#include <cmath>

#include "ZuFontWin32Gdi.h"
#include "ZuGeometryWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/FrameworkTest.h"

extern "C" void* __imp_GetGlyphIndicesW IMPORT_SLOT("GetGlyphIndicesW", "@20");
extern "C" void* __imp_GetTextExtentPoint32W IMPORT_SLOT("GetTextExtentPoint32W", "@16");

namespace zustd::test {
namespace {

constexpr Color kRed = Color::rgb(255, 0, 0);
constexpr Color kInk = Color::rgb(0, 0, 0);
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr Rect kEverything{kLeast, kLeast, kMost, kMost};

// Two by two pixels: nothing; blue / red; green, half of it seen.
constexpr std::array<unsigned char, 77> kPng = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44, 0x52,
    0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x06, 0x00, 0x00, 0x00, 0x72, 0xB6, 0x0D,
    0x24, 0x00, 0x00, 0x00, 0x14, 0x49, 0x44, 0x41, 0x54, 0x78, 0x5E, 0x63, 0x60, 0x00, 0x83, 0xFF,
    0xFF, 0x19, 0xFE, 0x03, 0x49, 0x20, 0x6C, 0x00, 0x00, 0x25, 0x6D, 0x05, 0x7C, 0x8D, 0x66, 0x22,
    0x8B, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

class DrawingTest : public ::testing::Test {
protected:
    DrawingTest() {
        absurd_[16] = absurd_[20] = 0x7F;  // the sizes' first bytes
        damaged_[45] ^= 0x55;              // in the pixels
        ResourceServiceGeneric::install(*resources_, library_);
        windows_->registerService(resources_, false, true);
    }
    ~DrawingTest() override { WindowServiceWin32Gdi::setScalingFactor(0.0); }

    GraphicsServiceWin32Gdi& backend() { return graphicsBackend(*graphics_); }
    void paint(const Canvas& canvas, const std::function<void()>& body) {
        backend().connect(canvas.context(), canvas.area());
        body();
        backend().disconnect();
    }
    int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    std::uint8_t anyByte() { return static_cast<std::uint8_t>(any(256)); }
    std::shared_ptr<Bitmap> image(std::uint64_t identifier, Size size = {}) {
        return windows_->getBitmap(BitmapDescriptor(identifier, size));
    }

    std::mt19937 random_{20260714};
    std::array<unsigned char, 77> absurd_ = kPng;
    std::array<unsigned char, 77> damaged_ = kPng;
    std::array<FileResource, 5> files_{FileResource{100, kPng.size(), kPng.data()},
                                       {101, absurd_.size(), absurd_.data()},
                                       {102, damaged_.size(), damaged_.data()},
                                       {103, 24, kPng.data()},
                                       {104, 23, kPng.data()}};
    ResourceNamespace namespace_{L"xx-xx", files_.size(), files_.data()};
    ResourceRoot root_{L"default", 1, &namespace_};
    ResourceLibrary library_{L"test", L"default", L"en-us", 1, &root_};
    std::shared_ptr<ResourceService> resources_ = makeService<ResourceService>();
    std::shared_ptr<WindowService> windows_ = makeWindowService(nullptr);
    std::shared_ptr<GraphicsService> graphics_ = makeGraphicsService();
    std::shared_ptr<Font> font_ = windows_->getFont(FontStyle{false, false, false, 12, L"Tahoma"});
};

// What the service promises, pixel by pixel: the paper, or a buffer above it.
struct NaiveLayer {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(40 * 30, kWhite);
    Rect area{0, 0, 39, 29};
    std::vector<Rect> clips{area};

    template <class Value>
    void set(const Rect& drawn, Value&& value) {
        const Rect seen = drawn.intersection(clips.back());
        for (std::int32_t y = seen.top; y <= seen.bottom; ++y) {
            for (std::int32_t x = seen.left; x <= seen.right; ++x) {
                std::uint32_t& pixel = pixels[static_cast<std::size_t>(y * 40 + x)];
                pixel = value(x, y, pixel);
            }
        }
    }
};

TEST_F(DrawingTest, shapesClippingAndBuffers_randomPaints_setThePixelsOfTheModel) {
    const auto number = [](Color c) {
        return std::uint32_t{c.red} << 16 | std::uint32_t{c.green} << 8 | c.blue;
    };
    Color pen = kInk;
    std::int32_t width = 1;
    std::vector<NaiveLayer> layers;
    const auto set = [&](const Rect& drawn, auto&& value) { layers.back().set(drawn, value); };
    Rect area;
    Color color;
    const auto line = [&](bool across) {
        const Point to = across ? Point{area.right, area.top} : Point{area.left, area.bottom};
        const bool isFlat = to.y == area.top;
        graphics_->drawLine(area.position(), to);
        Rect band{std::min(area.left, to.x), std::min(area.top, to.y), std::max(area.left, to.x),
                  std::max(area.top, to.y)};
        std::int32_t& first = isFlat ? band.top : band.left;
        std::int32_t& last = isFlat ? band.bottom : band.right;
        first = saturatedSum(first, -(width / 2));
        last = saturatedSum(last, width - width / 2 - 1);
        set(band, [&](auto...) { return number(pen); });
    };
    std::function<void(int)> some;
    const std::function<void()> kSteps[] = {
        [&] {
            graphics_->drawRectangle(area, color);
            set(area, [&](auto...) { return number(color); });
        },
        [&] {
            graphics_->drawRectangle(area);
            const Rect inside = area.shrunkBy(width, width);
            set(area, [&](int x, int y, std::uint32_t pixel) {
                return inside.contains({x, y}) ? pixel : number(pen);
            });
        },
        [&] { line(any(2) == 0); },
        [&] {
            graphics_->drawGradient(area, pen, color, zuGradientVertical);
            set(area, [&](int, int y, auto) {
                const double step = y - double(area.top);
                const double last = std::max(area.bottom - double(area.top), 1.0);
                const auto mixed = [&](std::uint8_t from, std::uint8_t to) {
                    return static_cast<std::uint8_t>(from + std::lround((to - from) * step / last));
                };
                return number(Color::rgb(mixed(pen.red, color.red), mixed(pen.green, color.green),
                                         mixed(pen.blue, color.blue)));
            });
        },
        [&] { graphics_->setPen(pen = color, width = 1 + any(4)); },
        [&] {
            const bool isAll = any(2) == 0;
            isAll ? graphics_->clearClippingArea() : graphics_->setClippingArea(area);
            layers.back().clips.back() =
                (isAll ? kEverything : area).intersection(layers.back().area);
        },
        [&] {
            graphics_->beginClipping(area);
            std::vector<Rect>& clips = layers.back().clips;
            clips.push_back(area.intersection(clips.back()));
            some(4);
            graphics_->endClipping();
            layers.back().clips.pop_back();
        },
        [&] {
            graphics_->beginBufferedPaint(area);
            layers.push_back(layers.back());
            layers.back().area = area.intersection(layers.back().clips.back());
            layers.back().clips = {layers.back().area};
            some(4);
            graphics_->endBufferedPaint();
            const NaiveLayer inner = std::move(layers.back());
            layers.pop_back();
            set(inner.area, [&](int x, int y, auto) {
                return inner.pixels[static_cast<std::size_t>(y * 40 + x)];
            });
        }};
    some = [&](int count) {
        for (int i = 0; i < count; ++i) {
            area = {any(50) - 5, any(40) - 5, any(50) - 5, any(40) - 5};
            area = any(20) == 0 ? kEverything : area;
            color = Color::rgb(anyByte(), anyByte(), anyByte());
            kSteps[any(std::size(kSteps))]();
        }
    };
    for (int round = 0; round < 100; ++round) {
        const Canvas canvas({40, 30});
        layers = std::vector<NaiveLayer>(1);
        paint(canvas, [&] { some(20); });
        for (std::int32_t i = 0; i < 40 * 30; ++i) {
            ASSERT_EQ(canvas.pixel(i % 40, i / 40), layers[0].pixels[static_cast<std::size_t>(i)])
                << round << ": " << i;
        }
    }
}

TEST_F(DrawingTest, paint_absurdOrUnfinished_setsWhatIsSeenAndLeavesTheContextClean) {
    const Canvas canvas({30, 20});
    SetTextColor(canvas.context(), RGB(1, 2, 3));
    IntersectClipRect(canvas.context(), 0, 0, 29, 20);
    paint(canvas, [&] {
        EXPECT_EQ(thrownText([&] { backend().connect(canvas.context(), {}); }), L"!drawBusy_");
        EXPECT_EQ(thrownText([&] { graphics_->setPen(kRed, 0); }), L"width > 0");
        EXPECT_EQ(
            thrownText([&] { graphics_->drawGradient({}, kInk, kInk, zuGradientHorizontal); }),
            L"gradientType == zuGradientVertical");
        graphics_->drawLine({0, 1}, {9, 1});
        graphics_->setPen(kRed, kMost);
        graphics_->drawLine({0, -128}, {9, -128});
        EXPECT_EQ(canvas.pixel(0, 0), kWhite) << "no pen is wider than 256";
        graphics_->drawLine({kLeast, kLeast}, {kMost, kMost});
        EXPECT_EQ(canvas.pixel(28, 0), 0xFF0000U);
        graphics_->drawText(L"x", {kMost, kLeast}, *font_, kInk);
        graphics_->drawText(L"a b", kEverything, *font_, kInk,
                            {TextAlignment::kCentre, TextAlignment::kEnd, true, true, true});
        graphics_->drawStretchedBitmap(*image(100), kEverything);
        graphics_->drawFocusFrame({2, 2, 27, 17});
        EXPECT_NE(canvas.pixel(2, 2), canvas.pixel(3, 2)) << "dotted";
        graphics_->beginBufferedPaint(kEverything);
        graphics_->beginClipping({0, 0, 3, 3});
        graphics_->beginBufferedPaint(kEverything);
    });
    EXPECT_TRUE(GraphicsServiceWin32Gdi::isVistaOrHigher());
    backend().disconnect();
    EXPECT_EQ(thrownText([&] { graphics_->drawLine({}, {}); }), L"drawBusy_");
    EXPECT_EQ(GetTextColor(canvas.context()), COLORREF{RGB(1, 2, 3)});
    paint(canvas, [&] {
        graphics_->clearClippingArea();
        graphics_->drawRectangle(graphics_->getDrawArea(), Color::rgb(0, 0, 255));
        EXPECT_EQ(thrownText([&] { graphics_->endClipping(); }), L"beginClipping");
        EXPECT_EQ(thrownText([&] { graphics_->endBufferedPaint(); }), L"beginBufferedPaint");
    });
    EXPECT_EQ(canvas.pixel(28, 19), 0x0000FFU);
    EXPECT_EQ(canvas.pixel(29, 19), kWhite) << "what the owner clipped away";
}

TEST_F(DrawingTest, bitmaps_anySizeScaleOrAlpha_mixWithWhatIsThere) {
    const Canvas canvas({90, 30});
    const TraceCapture trace;
    const auto picture = image(100);
    WindowServiceWin32Gdi::setScalingFactor(0.1);
    EXPECT_EQ(image(100)->size(), (Size{1, 1}));
    WindowServiceWin32Gdi::setScalingFactor(1.5);
    EXPECT_EQ(image(100)->size(), (Size{3, 3}));
    const auto large = image(100, {6, 5});
    EXPECT_EQ(large->size(), (Size{9, 8}));
    paint(canvas, [&] {
        graphics_->drawBitmap(*picture, {1, 1});
        graphics_->drawBitmap(*picture, {5, 1}, 0.5);
        graphics_->drawBitmap(*picture, {5, 5}, 0.0);
        graphics_->drawBitmap(*large, {11, 1});
        for (const double alpha : {-0.01, 1.01, std::nan("")}) {
            EXPECT_EQ(thrownText([&] { graphics_->drawBitmap(*picture, {}, alpha); }),
                      L"alpha >= 0 && alpha <= 1.0");
        }
        for (const std::uint64_t identifier : {101u, 102u, 103u, 104u, 999u}) {
            const auto broken = image(identifier, {8, 8});
            EXPECT_FALSE(bitmapBackend(*broken).hasNativeObject()) << identifier;
            graphics_->drawStretchedBitmap(*broken, canvas.area());
        }
    });
    const std::pair<Point, std::uint32_t> kPixels[] = {
        {{1, 2}, 0xFF0000}, {{2, 2}, 0x7FFF7F},  {{1, 1}, kWhite},    {{2, 1}, 0x0000FF},
        {{5, 2}, 0xFF7F7F}, {{6, 2}, 0xBFFFBF},  {{5, 1}, kWhite},    {{5, 5}, kWhite},
        {{6, 6}, kWhite},   {{11, 8}, 0xFF0000}, {{19, 1}, 0x0000FF}, {{11, 1}, kWhite},
        {{19, 9}, kWhite}};
    for (const auto& [place, expected] : kPixels) {
        const std::uint32_t found = canvas.pixel(place.x, place.y);
        for (const int shift : {0, 8, 16}) {
            EXPECT_NEAR(int(found >> shift & 0xFF), int(expected >> shift & 0xFF), 2) << place.x;
        }
    }
    EXPECT_FALSE(bitmapBackend(*image(100, {4000, 1900})).hasNativeObject());
    const std::string report =
        "BitmapWin32Gdi::synchronizeWithAbstraction: catched system exception: ";
    EXPECT_EQ(std::ranges::count(trace.messages(), report + "Could not read image"), 2);
}

TEST_F(DrawingTest, icon_randomPixels_hasThemPlainAndAMaskOfTheClearOnes) {
    const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    for (int round = 0; round < 30; ++round) {
        // The first one ends where a page of memory does.
        const Size seen = round == 0 ? Size{32, 32} : Size{1 + any(40), 1 + any(9)};
        const int width = seen.width + any(1 + round);
        const auto picture = image(100, seen);
        std::vector<std::uint32_t> pixels;
        for (std::uint32_t& pixel : bitmapBackend(*picture).image().pixels) {
            pixel = static_cast<std::uint32_t>(random_()) & (any(4) == 0 ? 0x1FFFFFF : ~0U);
            pixels.push_back(pixel);
        }
        ICONINFO icon{};
        GetIconInfo(makeIcon(bitmapBackend(*picture), width - seen.width).get(), &icon);
        const BitmapHandle kept[] = {BitmapHandle(icon.hbmMask), BitmapHandle(icon.hbmColor)};
        const SelectedObject selected(context.get(), icon.hbmMask);
        std::vector<std::array<std::uint8_t, 4>> found(std::size_t(width * seen.height));
        GetBitmapBits(icon.hbmColor, LONG(found.size() * 4), found.data());
        std::size_t next = 0;
        for (int i = 0; i < width * seen.height; ++i) {
            std::array<std::uint8_t, 4> plain{};
            if (i % width < seen.width) {
                std::memcpy(&plain, &pixels[next++], 4);
            }
            for (std::size_t k = 0; plain[3] != 0 && k < 3; ++k) {
                plain[k] = std::uint8_t(std::min(255, plain[k] * 255 / plain[3]));
            }
            ASSERT_EQ(found[std::size_t(i)], plain) << round << ": " << i;
            ASSERT_EQ(GetPixel(context.get(), i % width, i / width) != 0, plain[3] == 0) << i;
        }
    }
}

TEST_F(DrawingTest, texts_randomFormats_areDrawnAndMeasuredAsTheSystemDoesLineByLine) {
    const int line = graphics_->measureTextHeight(L"x", *font_);
    // Widths that are kept, scripts that join, fonts that stand in.
    static constexpr const wchar_t* kWords[] = {
        L"wonderful ",           L"&Hill",         L"AVA",          L"g\ti",
        L"Gr\u00FC\u0100\u0416", L"e\u0301\u2026", L"\u0645\u0631", L"\u6F22"};
    // Halves of the room left that lie before the text, which the system's flags are too.
    static constexpr int kHalves[] = {0, 2, 1, 0};
    EXPECT_EQ(graphics_->measureTextSize(L"", *font_), (Size{0, line}));
    for (int round = 0; round < 300; ++round) {
        const int across = any(4);
        const int down = any(4);
        const bool wraps = any(2) == 0;
        const bool dots = any(2) == 0;
        const bool keys = any(2) == 0;
        const Rect area = Rect::at({10 + any(9), 10 + any(9)}, {any(9) == 0 ? 1 : 20 + any(90),
                                                                any(4) == 0 ? line : 5 + any(60)});
        const bool isBuffered = any(2) == 0;
        const int width = 1 + any(3);
        const Point from{2 * any(70), 2 * any(50)};
        const int reach = any(2) == 0 ? 99 : 99999;  // Odd: a straight line has no round ends.
        const Point to{2 * any(reach) - reach, 2 * any(reach) - reach};
        const Canvas wanted({140, 100});
        const HDC context = wanted.context();
        const SelectedObject selected(context, fontBackend(*font_).handle());
        Texts lines(static_cast<std::size_t>(1 + any(3)));
        std::wstring text;
        for (std::wstring& each : lines) {
            for (int words = 1 + any(3); words > 0; --words) {
                each += kWords[any(std::size(kWords))];
            }
            text += (text.empty() ? L"" : any(2) == 0 ? L"\n" : L"\r\n") + each;
            SIZE size{};
            GetTextExtentPoint32W(context, each.c_str(), static_cast<int>(each.size()), &size);
            EXPECT_EQ(graphics_->measureTextWidth(each, *font_), size.cx) << narrow(each);
            EXPECT_EQ(line, size.cy);
        }
        const Canvas shown({140, 100});
        SetTextAlign(shown.context(), TA_RIGHT);
        paint(shown, [&] {
            graphics_->drawRectangle(shown.area(), kInk);
            if (isBuffered) {
                graphics_->beginBufferedPaint(shown.area());
            }
            graphics_->drawText(lines[0], from, *font_, Color::rgb(0, 255, 0));
            graphics_->drawText(text, area, *font_, kRed,
                                {TextAlignment(across), TextAlignment(down), wraps, dots, keys});
            graphics_->setPen(kRed, width);
            graphics_->drawLine(from, to);
            if (isBuffered) {
                graphics_->endBufferedPaint();
            }
        });
        PatBlt(context, 0, 0, 140, 100, BLACKNESS);
        SetBkMode(context, TRANSPARENT);
        SetTextColor(context, RGB(0, 255, 0));
        TextOutW(context, from.x, from.y, lines[0].c_str(), static_cast<int>(lines[0].size()));
        SetTextColor(context, RGB(255, 0, 0));
        IntersectClipRect(context, area.left, area.top, area.right + 1, area.bottom + 1);
        RECT room{0, 0, area.width(), 0};
        int height = static_cast<int>(lines.size()) * line;
        EXPECT_EQ(graphics_->measureTextSize(text, *font_).height, height);
        if (wraps) {
            constexpr UINT kMeasured = DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX;
            height = DrawTextW(context, text.c_str(), -1, &room, kMeasured);
            EXPECT_EQ(graphics_->measureTextSize(text, *font_, area.width()),
                      (Size{room.right, height}));
        }
        room = nativeRect(area);
        room.top += (area.height() - height) * kHalves[down] / 2;
        UINT flags = UINT(kHalves[across]) | (keys ? 0U : DT_NOPREFIX) |
                     (dots ? DT_END_ELLIPSIS : 0U) |
                     (wraps ? DT_WORDBREAK | DT_EXPANDTABS : DT_SINGLELINE);
        if (wraps) {
            flags |= dots && area.height() >= line ? DT_EDITCONTROL : 0U;
            lines = {text};
        }
        for (const std::wstring& each : lines) {
            DrawTextW(context, each.c_str(), -1, &room, flags);
            room.top += line;
        }
        SelectClipRgn(context, nullptr);
        const PenHandle pen(CreatePen(PS_SOLID, width, RGB(255, 0, 0)));
        const SelectedObject drawing(context, pen.get());
        const auto cut = [](std::int32_t end) { return std::clamp(end, -(1 << 15), 1 << 15); };
        MoveToEx(context, from.x, from.y, nullptr);
        LineTo(context, cut(to.x), cut(to.y));
        SetPixelV(context, cut(to.x), cut(to.y), RGB(255, 0, 0));
        ASSERT_TRUE(shown.isLike(wanted)) << round << ": " << narrow(text);
    }
}

// A system that has no glyph for some characters, or does not tell, and whose texts are narrow.
bool refusesMeasures = false;
DWORD WINAPI tellGlyphs(HDC, const wchar_t* text, int count, WORD* glyphs, DWORD) noexcept {
    std::transform(text, text + count, glyphs, [](wchar_t c) { return c % 12 == 1 ? 0xFFFF : 1; });
    return refusesMeasures ? GDI_ERROR : 0;
}
BOOL WINAPI tellExtent(HDC, const wchar_t*, int, SIZE* size) noexcept {
    size->cx = -7;
    return !refusesMeasures;
}

TEST_F(DrawingTest, textWidth_anyCharacter_isKeptOnlyWhereItsNeighboursDoNotCount) {
    // First and last of what does not join, combine, break or hide.
    static constexpr std::wstring_view kAlone =
        L"\x0020\x007E\x00A0\x00AC\x00AE\x02AF\x0370\x0482\x048A\x052F\x1E00\x1FFF"
        L"\x2010\x2027\x2030\x205E\x20A0\x20BF";
    const ReplacedImport glyphs(__imp_GetGlyphIndicesW, reinterpret_cast<void*>(&tellGlyphs));
    const ReplacedImport extent(__imp_GetTextExtentPoint32W, reinterpret_cast<void*>(&tellExtent));
    for (const bool refused : {false, true}) {
        refusesMeasures = refused;
        const auto font = windows_->getFont(FontStyle{false, refused, true, 30, {}});
        for (wchar_t c = 1; c <= 0x3000; ++c) {
            const auto next = std::ranges::lower_bound(kAlone, c);
            const bool isAlone =
                next != kAlone.end() && (*next == c || (next - kAlone.begin()) % 2 != 0);
            const int width = graphics_->measureTextWidth({&c, 1}, *font);
            ASSERT_EQ(width == (refused ? 0 : -7), refused || !isAlone || c % 12 == 1) << int{c};
        }
    }
}

TEST_F(DrawingTest, fonts_styleAndScaling_areTheSystemsAndKeptWithinBounds) {
    const auto madeOf = [](const Font& font) {
        LOGFONTW made{};
        GetObjectW(fontBackend(font).handle(), sizeof(made), &made);
        return made;
    };
    WindowServiceWin32Gdi::setScalingFactor(1.5);
    const double usual = windowMetrics().lfMessageFont.lfHeight;
    for (const auto& [size, height] :
         {std::pair{9, -18L}, {9000, -4000L}, {0, std::lround(usual * 1.5)}}) {
        EXPECT_EQ(madeOf(*windows_->getFont({false, false, false, size, {}})).lfHeight, height);
    }
    const auto tiny = windows_->getFont(FontStyle{true, true, true, -5, {}});
    const LOGFONTW made = madeOf(*tiny);
    EXPECT_TRUE(made.lfHeight == -1 && graphics_->measureTextHeight(L"x", *tiny) == 1);
    EXPECT_TRUE(made.lfWeight == FW_BOLD && made.lfItalic && made.lfUnderline && *made.lfFaceName);
    fontBackend(*font_).releaseNativeObject();
    EXPECT_STREQ(madeOf(*font_).lfFaceName, L"Tahoma");
}

}  // namespace
}  // namespace zustd::test
