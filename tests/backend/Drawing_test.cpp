#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "ZuBitmapWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuText.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

constexpr Color kRed = Color::rgb(255, 0, 0);
constexpr Color kInk = Color::rgb(0, 0, 0);
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

// Two by two pixels: red; green, half of it seen / nothing; blue.
constexpr std::array<unsigned char, 77> kPng = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44, 0x52,
    0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x06, 0x00, 0x00, 0x00, 0x72, 0xB6, 0x0D,
    0x24, 0x00, 0x00, 0x00, 0x14, 0x49, 0x44, 0x41, 0x54, 0x78, 0xDA, 0x63, 0xF8, 0xCF, 0xC0, 0xF0,
    0x1F, 0x08, 0x1B, 0x18, 0x20, 0xE0, 0xFF, 0x7F, 0x00, 0x32, 0xE4, 0x05, 0x7C, 0xF9, 0xB9, 0xF4,
    0x80, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

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
    // Draws on a canvas as a surface does.
    template <class Paint>
    void paint(Canvas& canvas, Paint&& body) {
        backend().connect(canvas.context(), canvas.area());
        body();
        backend().disconnect();
    }
    std::shared_ptr<Bitmap> image(std::uint64_t identifier, Size size = {}) {
        return windows_->getBitmap(BitmapDescriptor(identifier, size));
    }

    std::array<unsigned char, 77> absurd_ = kPng;
    std::array<unsigned char, 77> damaged_ = kPng;
    std::array<FileResource, 4> files_{FileResource{100, kPng.size(), kPng.data()},
                                       {101, absurd_.size(), absurd_.data()},
                                       {102, damaged_.size(), damaged_.data()},
                                       {103, 20, kPng.data()}};
    ResourceNamespace namespace_{L"xx-xx", files_.size(), files_.data()};
    ResourceRoot root_{L"default", 1, &namespace_};
    ResourceLibrary library_{L"test", L"default", L"en-us", 1, &root_};
    std::shared_ptr<ResourceService> resources_ = makeService<ResourceService>();
    std::shared_ptr<WindowService> windows_ = makeWindowService(nullptr);
    std::shared_ptr<GraphicsService> graphics_ = makeGraphicsService();
    std::shared_ptr<Font> font_ = windows_->getFont(FontStyle{false, false, false, 12, L"Tahoma"});
};

// --- Shapes ---

// What the service promises, pixel by pixel.
struct NaiveCanvas {
    struct Layer {
        std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(40 * 30, kWhite);
        Rect area{0, 0, 39, 29};
        std::vector<Rect> clips{area};
    };

    std::uint32_t& at(std::int32_t x, std::int32_t y) {
        return layers.back().pixels[static_cast<std::size_t>(y * 40 + x)];
    }
    std::vector<Rect>& clips() { return layers.back().clips; }
    // Sets the pixels of an area, as far as the clipping lets them be seen.
    template <class Value>
    void set(const Rect& area, Value&& value) {
        const Rect seen = area.intersection(clips().back());
        for (std::int32_t y = seen.top; y <= seen.bottom; ++y) {
            for (std::int32_t x = seen.left; x <= seen.right; ++x) {
                at(x, y) = value(x, y, at(x, y));
            }
        }
    }
    void begin(const Rect& area) {
        Layer layer = layers.back();
        layer.area = area.intersection(clips().back());
        layer.clips = {layer.area};
        layers.push_back(std::move(layer));
    }
    void end() {
        NaiveCanvas inner = *this;
        layers.pop_back();
        set(inner.layers.back().area, [&](int x, int y, auto) { return inner.at(x, y); });
    }

    std::vector<Layer> layers = std::vector<Layer>(1);
};

TEST_F(DrawingTest, shapesClippingAndBuffers_randomPaints_setThePixelsOfTheModel) {
    std::mt19937 random(20260714);
    const auto any = [&](int count) {
        return static_cast<std::int32_t>(random() % static_cast<unsigned>(count));
    };
    const auto number = [](Color c) {
        return std::uint32_t{c.red} << 16 | std::uint32_t{c.green} << 8 | c.blue;
    };
    Color pen = kInk;
    std::int32_t width = 1;
    NaiveCanvas model;
    Rect area;
    Color color;
    const std::function<void()> kSteps[] = {
        [&] {
            graphics_->drawRectangle(area, color);
            model.set(area, [&](auto...) { return number(color); });
        },
        [&] {
            graphics_->drawRectangle(area);
            const Rect inside = area.shrunkBy(width, width);
            model.set(area, [&](int x, int y, std::uint32_t pixel) {
                return inside.contains({x, y}) ? pixel : number(pen);
            });
        },
        [&] {
            const bool isFlat = any(2) == 0;
            const Point to = isFlat ? Point{area.right, area.top} : Point{area.left, area.bottom};
            graphics_->drawLine(area.position(), to);
            Rect band{std::min(area.left, to.x), std::min(area.top, to.y),
                      std::max(area.left, to.x), std::max(area.top, to.y)};
            (to.y == area.top ? band.top : band.left) -= width / 2;
            (to.y == area.top ? band.bottom : band.right) += width - width / 2 - 1;
            model.set(band, [&](auto...) { return number(pen); });
        },
        [&] {
            graphics_->drawGradient(area, pen, color, zuGradientVertical);
            model.set(area, [&](int, int y, auto) {
                const double last = std::max(area.bottom - area.top, 1);
                const auto mixed = [&](std::uint8_t from, std::uint8_t to) {
                    return static_cast<std::uint8_t>(
                        from + std::lround((to - from) * (y - area.top) / last));
                };
                return number(Color::rgb(mixed(pen.red, color.red), mixed(pen.green, color.green),
                                         mixed(pen.blue, color.blue)));
            });
        },
        [&] { graphics_->setPen(pen = color, width = 1 + any(4)); },
        [&] {
            graphics_->beginClipping(area);
            model.clips().push_back(area.intersection(model.clips().back()));
        },
        [&] {
            if (model.clips().size() > 1) {
                graphics_->endClipping();
                model.clips().pop_back();
            }
        },
        [&] {
            graphics_->setClippingArea(area);
            model.clips().back() = area.intersection(model.layers.back().area);
        },
        [&] {
            graphics_->clearClippingArea();
            model.clips().back() = model.layers.back().area;
        },
        [&] {
            graphics_->beginBufferedPaint(area);
            model.begin(area);
        },
        [&] {
            if (model.layers.size() > 1) {
                graphics_->endBufferedPaint();
                model.end();
            }
        }};
    for (int round = 0; round < 100; ++round) {
        Canvas canvas({40, 30});
        model = {};
        paint(canvas, [&] {
            for (int i = 0; i < 30; ++i) {
                area = {any(50) - 5, any(40) - 5, any(50) - 5, any(40) - 5};
                const auto shade = [&] { return static_cast<std::uint8_t>(any(256)); };
                color = Color::rgb(shade(), shade(), shade());
                kSteps[any(std::size(kSteps))]();
            }
            for (; model.layers.size() > 1; model.end()) {
                graphics_->endBufferedPaint();
            }
        });
        for (std::int32_t y = 0; y < 30; ++y) {
            for (std::int32_t x = 0; x < 40; ++x) {
                ASSERT_EQ(canvas.pixel(x, y), model.at(x, y)) << round << ": " << x << ',' << y;
            }
        }
    }
}

TEST_F(DrawingTest, drawLine_slanted_includesBothEnds) {
    for (const Color color : {kRed, kInk}) {
        for (const auto& [from, to] :
             {std::pair<Point, Point>{{3, 3}, {12, 8}}, {{12, 8}, {3, 3}}}) {
            Canvas canvas({20, 20});
            paint(canvas, [&] {
                graphics_->setPen(color, 1);
                graphics_->drawLine(from, to);
            });
            EXPECT_EQ(canvas.ink(), (Rect{3, 3, 12, 8}));
            EXPECT_EQ(canvas.pixel(from.x, from.y), color == kRed ? 0xFF0000U : kBlack);
        }
    }
    EXPECT_EQ(thrownText([&] { graphics_->setPen(kRed, 0); }), L"width > 0");
    EXPECT_EQ(thrownText([&] { graphics_->drawGradient({}, kRed, kInk, zuGradientHorizontal); }),
              L"gradientType == zuGradientVertical");
}

TEST_F(DrawingTest, anyDrawing_absurdCoordinates_fillsWhatIsSeen) {
    Canvas canvas({30, 20});
    const Rect everything{kLeast, kLeast, kMost, kMost};
    paint(canvas, [&] {
        graphics_->drawRectangle(everything, kRed);
        EXPECT_EQ(canvas.inkCount(canvas.area()), 600);
        graphics_->drawGradient(everything, kInk, kRed, zuGradientVertical);
        graphics_->setPen(kInk, kMost);
        graphics_->drawLine({kLeast, kLeast}, {kMost, kMost});
        graphics_->drawFocusFrame(everything);
        graphics_->drawText(L"x", {kMost, kLeast}, *font_, kInk);
        graphics_->drawText(L"a b", everything, *font_, kInk,
                            {TextAlignment::kCentre, TextAlignment::kEnd, true, true, true});
        graphics_->drawStretchedBitmap(*image(100), everything);
        graphics_->beginBufferedPaint(everything);
        graphics_->drawRectangle(everything, Color::rgb(0, 0, 255));
        graphics_->endBufferedPaint();
    });
    EXPECT_EQ(canvas.pixel(29, 19), 0x0000FFu);
}

// --- Connection and clipping ---

TEST_F(DrawingTest, connect_afterAFailedPaint_leavesTheContextAndTheServiceClean) {
    Canvas canvas({20, 20});
    SetTextColor(canvas.context(), RGB(1, 2, 3));
    IntersectClipRect(canvas.context(), 0, 0, 10, 20);
    paint(canvas, [] {});
    const int objects = drawingObjectCount();
    backend().connect(canvas.context(), canvas.area());
    EXPECT_EQ(thrownText([&] {
                  backend().connect(canvas.context(), Rect{0, 0, 9, 9});
              }),
              L"!drawBusy_");
    guarded(L"test", [&] {
        graphics_->beginBufferedPaint({0, 0, 19, 19});
        graphics_->beginClipping({0, 0, 3, 3});
        graphics_->beginBufferedPaint({0, 0, 19, 19});
        graphics_->drawRectangle({0, 0, 19, 19}, kRed);
        throw 1;
    });
    backend().disconnect();
    backend().disconnect();
    EXPECT_EQ(drawingObjectCount(), objects);
    EXPECT_TRUE(graphics_->getDrawArea().isEmpty());
    EXPECT_EQ(canvas.inkCount(canvas.area()), 0) << "an abandoned paint shows";
    EXPECT_EQ(thrownText([&] { graphics_->drawLine({}, {}); }), L"drawBusy_");
    EXPECT_EQ(GetTextColor(canvas.context()), COLORREF{RGB(1, 2, 3)});

    paint(canvas, [&] {
        EXPECT_EQ(graphics_->getDrawArea(), canvas.area());
        graphics_->clearClippingArea();
        graphics_->drawRectangle(canvas.area(), kRed);
    });
    EXPECT_EQ(canvas.ink(), (Rect{0, 0, 9, 19})) << "what the owner clipped away";
}

// --- Images ---

TEST_F(DrawingTest, drawBitmap_transparency_mixesWithWhatIsThere) {
    Canvas canvas({10, 10});
    const auto picture = image(100);
    EXPECT_EQ(picture->size(), (Size{2, 2}));
    paint(canvas, [&] {
        graphics_->drawBitmap(*picture, {1, 1});
        graphics_->drawBitmap(*picture, {5, 1}, 0.5);
        graphics_->drawBitmap(*picture, {5, 5}, 0.0);
        for (const double alpha : {-0.01, 1.01, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_EQ(thrownText([&] { graphics_->drawBitmap(*picture, {}, alpha); }),
                      L"alpha >= 0 && alpha <= 1.0");
        }
    });
    const auto isNear = [&](int x, int y, std::uint32_t expected) {
        const std::uint32_t found = canvas.pixel(x, y);
        for (const int shift : {0, 8, 16}) {
            const int difference = static_cast<int>(found >> shift & 0xFF) -
                                   static_cast<int>(expected >> shift & 0xFF);
            if (std::abs(difference) > 2) {
                ADD_FAILURE() << x << ',' << y << std::hex << ": " << found;
            }
        }
    };
    isNear(1, 1, 0xFF0000), isNear(2, 1, 0x7FFF7F), isNear(1, 2, kWhite), isNear(2, 2, 0x0000FF);
    isNear(5, 1, 0xFF7F7F), isNear(6, 1, 0xBFFFBF), isNear(5, 2, kWhite), isNear(6, 2, 0x7F7FFF);
    EXPECT_EQ(canvas.inkCount({5, 5, 9, 9}), 0);
}

TEST_F(DrawingTest, getBitmap_sizeAndScaling_imageHasItsFinalSize) {
    EXPECT_EQ(image(100, {24, 16})->size(), (Size{24, 16}));
    WindowServiceWin32Gdi::setScalingFactor(1.5);
    EXPECT_EQ(image(100)->size(), (Size{3, 3}));
    EXPECT_EQ(image(100, {16, 10})->size(), (Size{24, 15}));
    WindowServiceWin32Gdi::setScalingFactor(2.0);
    const auto picture = image(100, {4, 4});
    Canvas canvas({10, 10});
    paint(canvas, [&] { graphics_->drawBitmap(*picture, {1, 1}); });
    EXPECT_EQ(picture->size(), (Size{8, 8}));
    EXPECT_EQ(canvas.pixel(1, 1), 0xFF0000u) << "the edges keep their colours";
    EXPECT_EQ(canvas.pixel(8, 8), 0x0000FFu);
    EXPECT_EQ(canvas.pixel(1, 8), kWhite);
}

TEST_F(DrawingTest, getBitmap_missingBrokenOrHuge_drawsNothing) {
    for (const std::uint64_t identifier : {101u, 102u, 103u, 999u}) {
        Canvas canvas({10, 10});
        const auto picture = image(identifier, {8, 8});
        ASSERT_NE(picture, nullptr) << identifier;
        EXPECT_FALSE(bitmapBackend(*picture).hasNativeObject()) << identifier;
        EXPECT_EQ(picture->size(), (Size{8, 8}));
        paint(canvas, [&] {
            graphics_->drawBitmap(*picture, {});
            graphics_->drawStretchedBitmap(*picture, canvas.area());
        });
        EXPECT_EQ(canvas.inkCount(canvas.area()), 0) << identifier;
    }
    EXPECT_FALSE(bitmapBackend(*image(100, {5000, 5000})).hasNativeObject());
    EXPECT_EQ(image(0), nullptr);
}

// --- Text ---

// One of each way to measure: kept widths, joined scripts, fallback fonts.
constexpr const wchar_t* kTexts[] = {L"AVATAR To fi", L"Grüße & Ça va", L"Καλημέρα",
                                     L"Привет",       L"e\u0301tude",   L"\u0645\u0631\u062D\u0628",
                                     L"\u6F22\u5B57", L"tab\there",     L"\u20AC 5\u2026"};

TEST_F(DrawingTest, measureTextWidth_anyScript_isWhatTheSystemDraws) {
    Canvas canvas({400, 40});
    for (const auto& style : {FontStyle{}, FontStyle{false, true, false, 9, {}},
                              FontStyle{false, false, true, 20, {}}}) {
        const auto font = windows_->getFont(style);
        const SelectedObject selected(canvas.context(), fontBackend(*font).handle());
        for (const wchar_t* text : kTexts) {
            SIZE size{};
            GetTextExtentPoint32W(canvas.context(), text, static_cast<int>(wcslen(text)), &size);
            EXPECT_EQ(graphics_->measureTextWidth(text, *font), size.cx) << narrow(text);
        }
        EXPECT_EQ(graphics_->measureTextSize(L"", *font),
                  (Size{0, fontBackend(*font).lineHeight()}));
    }
}

TEST_F(DrawingTest, measureTextSize_linesAndWrapping_isTheRoomThatDrawingTakes) {
    const std::int32_t line = graphics_->measureTextHeight(L"x", *font_);
    const std::int32_t word = graphics_->measureTextWidth(L"wonderful", *font_);
    EXPECT_EQ(graphics_->measureTextSize(L"wonderful\r\nx\n", *font_), (Size{word, 2 * line}));
    const std::wstring text = L"wonderful wonderful wonderful";
    EXPECT_EQ(graphics_->measureTextSize(text, *font_, word + 3), (Size{word, 3 * line}));
    Canvas canvas({200, 120});
    paint(canvas, [&] {
        const Rect area = Rect::at({10, 10}, {word + 3, 3 * line});
        graphics_->drawText(text, area, *font_, kInk, {.wordWrap = true});
        EXPECT_GT(canvas.inkCount(Rect::at({10, 10 + 2 * line}, {word, line})), 0);
        EXPECT_EQ(canvas.inkCount(canvas.area()), canvas.inkCount(area));
    });
}

TEST_F(DrawingTest, drawText_alignment_putsShortTextAtItsSideAndLongOnesNowhereElse) {
    const Rect area{10, 15, 109, 74};
    const Size size = graphics_->measureTextSize(L"Hill", *font_);
    const auto inkOf = [&](const wchar_t* text, const Rect& room, const TextFormat& format) {
        Canvas canvas({120, 90});
        paint(canvas, [&] { graphics_->drawText(text, room, *font_, kInk, format); });
        return canvas.ink();
    };
    constexpr TextAlignment kSides[] = {TextAlignment::kStart, TextAlignment::kCentre,
                                        TextAlignment::kEnd};
    const Rect start = inkOf(L"Hill", area, {});
    for (int across = 0; across < 3; ++across) {
        for (int down = 0; down < 3; ++down) {
            TextFormat format{kSides[across], kSides[down], false, false, false};
            const Rect ink = inkOf(L"Hill", area, format);
            EXPECT_NEAR(ink.left - start.left, (100 - size.width) * across / 2, across % 2);
            EXPECT_EQ(ink.top - start.top, (60 - size.height) * down / 2);
            for (const bool flag : {false, true}) {
                format.wordWrap = format.ellipsis = flag;
                const Rect room{20, 30, 69, 41};
                const Rect all = inkOf(L"Long text wider\nand higher than its area", room, format);
                EXPECT_GT(all.width(), 20);
                EXPECT_EQ(all.unionWith(room), room) << across << down << flag;
            }
        }
    }
}

TEST_F(DrawingTest, drawText_ellipsis_endsEachLongLineInDots) {
    const std::int32_t line = graphics_->measureTextHeight(L"x", *font_);
    for (const bool wrap : {false, true}) {
        Canvas canvas({60, 60});
        paint(canvas, [&] {
            graphics_->drawText(L"HHHHH HHHHHHHHHH\nHHHHHHHHHHHHHHHH",
                                {0, 0, 59, wrap ? line - 1 : 59}, *font_, kInk,
                                {.wordWrap = wrap, .ellipsis = true});
        });
        for (std::int32_t y = 0; y < (wrap ? line : 2 * line); y += line) {
            std::int32_t last = 59;
            while (canvas.inkCount({last, y, last, y + line - 1}) == 0 && last > 0) {
                --last;
            }
            // Behind the last letter there are only dots, low down.
            EXPECT_EQ(canvas.inkCount({last - 5, y, last, y + line / 2}), 0) << wrap << y;
        }
    }
}

TEST_F(DrawingTest, drawText_accelerators_underlineOrStayAsTheyAre) {
    const auto inkOf = [&](const wchar_t* text, bool accelerators) {
        Canvas canvas({120, 30});
        paint(canvas, [&] {
            graphics_->drawText(text, canvas.area(), *font_, kInk, {.accelerators = accelerators});
        });
        return canvas.ink();
    };
    EXPECT_GT(inkOf(L"&nn", true).bottom, inkOf(L"nn", true).bottom) << "an underline";
    EXPECT_EQ(inkOf(L"&nn", true).right, inkOf(L"nn", true).right);
    EXPECT_GT(inkOf(L"&nn", false).right, inkOf(L"nn", false).right) << "the character itself";
}

TEST_F(DrawingTest, getFont_scaling_heightGrowsWithTheFactor) {
    const auto heightOf = [&](double factor) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        LOGFONTW made{};
        const auto font = windows_->getFont(FontStyle{false, false, false, 9, {}});
        GetObjectW(fontBackend(*font).handle(), sizeof(made), &made);
        return made.lfHeight;
    };
    EXPECT_EQ(heightOf(1.0), -12);
    EXPECT_EQ(heightOf(1.5), -18);
    EXPECT_EQ(heightOf(2.0), -24);
    LOGFONTW made{};
    const auto font = windows_->getFont(FontStyle{true, true, true, -5, {}});
    GetObjectW(fontBackend(*font).handle(), sizeof(made), &made);
    EXPECT_EQ(made.lfHeight, -1) << "no size is smaller";
    EXPECT_EQ(made.lfWeight, FW_BOLD);
    EXPECT_TRUE(made.lfItalic && made.lfUnderline);
    EXPECT_NE(made.lfFaceName[0], L'\0');
}

// --- Who owns what ---

TEST_F(DrawingTest, cache_manyStyles_keepsABoundedNumberAndWhatIsInUse) {
    const auto sameFont = windows_->getFont(font_->style());
    EXPECT_EQ(sameFont, font_);
    const int objects = drawingObjectCount();
    for (std::int32_t size = 100; size < 400; ++size) {
        windows_->getFont(FontStyle{false, false, false, size, {}});
    }
    const int held = drawingObjectCount() - objects;
    EXPECT_GT(held, 32);
    EXPECT_LE(held, 64);
    EXPECT_EQ(windows_->getFont(font_->style()), font_) << "in use, however long ago";
    WindowServiceWin32Gdi::clearDrawingCaches();
    EXPECT_LE(drawingObjectCount(), objects);
}

}  // namespace
}  // namespace zustd
