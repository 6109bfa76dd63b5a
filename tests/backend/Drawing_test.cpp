#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "ZuBitmapWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuGeometryWin32Gdi.h"
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
    void paint(const Canvas& canvas, const std::function<void()>& body) {
        backend().connect(canvas.context(), canvas.area());
        body();
        backend().disconnect();
    }
    int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    std::shared_ptr<Bitmap> image(std::uint64_t identifier, Size size = {}) {
        return windows_->getBitmap(BitmapDescriptor(identifier, size));
    }

    std::mt19937 random_{20260714};
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

// What the service promises, pixel by pixel: the paper, or a buffer above it.
struct NaiveLayer {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(40 * 30, kWhite);
    Rect area{0, 0, 39, 29};
    std::vector<Rect> clips{area};

    std::uint32_t& at(std::int32_t x, std::int32_t y) {
        return pixels[static_cast<std::size_t>(y * 40 + x)];
    }
    // Sets the pixels of an area, as far as the clipping lets them be seen.
    template <class Value>
    void set(const Rect& drawn, Value&& value) {
        const Rect seen = drawn.intersection(clips.back());
        for (std::int32_t y = seen.top; y <= seen.bottom; ++y) {
            for (std::int32_t x = seen.left; x <= seen.right; ++x) {
                at(x, y) = value(x, y, at(x, y));
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
    const auto line = [&](Point to) {
        graphics_->drawLine(area.position(), to);
        Rect band{std::min(area.left, to.x), std::min(area.top, to.y), std::max(area.left, to.x),
                  std::max(area.top, to.y)};
        (to.y == area.top ? band.top : band.left) -= width / 2;
        (to.y == area.top ? band.bottom : band.right) += width - width / 2 - 1;
        set(band, [&](auto...) { return number(pen); });
    };
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
        [&] {
            line({area.right, area.top});
        },
        [&] {
            line({area.left, area.bottom});
        },
        [&] {
            graphics_->drawGradient(area, pen, color, zuGradientVertical);
            set(area, [&](int, int y, auto) {
                const double share = (y - area.top) / double(std::max(area.bottom - area.top, 1));
                std::uint32_t mixed = 0;
                for (const auto channel : {&Color::red, &Color::green, &Color::blue}) {
                    mixed = mixed << 8 | static_cast<std::uint8_t>(
                                             pen.*channel +
                                             std::lround((color.*channel - pen.*channel) * share));
                }
                return mixed;
            });
        },
        [&] { graphics_->setPen(pen = color, width = 1 + any(4)); },
        [&] {
            graphics_->beginClipping(area);
            layers.back().clips.push_back(area.intersection(layers.back().clips.back()));
        },
        [&] {
            if (layers.back().clips.size() > 1) {
                graphics_->endClipping();
                layers.back().clips.pop_back();
            }
        },
        [&] {
            graphics_->setClippingArea(area);
            layers.back().clips.back() = area.intersection(layers.back().area);
        },
        [&] {
            graphics_->clearClippingArea();
            layers.back().clips.back() = layers.back().area;
        },
        [&] {
            graphics_->beginBufferedPaint(area);
            NaiveLayer layer = layers.back();
            layer.area = area.intersection(layer.clips.back());
            layer.clips = {layer.area};
            layers.push_back(std::move(layer));
        },
        [&] {
            if (layers.size() > 1) {
                graphics_->endBufferedPaint();
                NaiveLayer inner = std::move(layers.back());
                layers.pop_back();
                set(inner.area, [&](int x, int y, auto) { return inner.at(x, y); });
            }
        }};
    for (int round = 0; round < 100; ++round) {
        const Canvas canvas({40, 30});
        layers = std::vector<NaiveLayer>(1);
        paint(canvas, [&] {
            for (int i = 0; i < 30; ++i) {
                area = {any(50) - 5, any(40) - 5, any(50) - 5, any(40) - 5};
                color.isSet = true;
                for (const auto channel : {&Color::red, &Color::green, &Color::blue}) {
                    color.*channel = static_cast<std::uint8_t>(any(256));
                }
                kSteps[any(std::size(kSteps))]();
            }
            while (layers.size() > 1) {
                kSteps[std::size(kSteps) - 1]();
            }
        });
        for (std::int32_t pixel = 0; pixel < 40 * 30; ++pixel) {
            const Point at{pixel % 40, pixel / 40};
            ASSERT_EQ(canvas.pixel(at.x, at.y), layers.back().at(at.x, at.y))
                << round << ": " << pixel;
        }
    }
}

TEST_F(DrawingTest, anyDrawing_slantedOrAbsurd_setsWhatIsSeen) {
    const Canvas canvas({30, 20});
    const Rect everything{kLeast, kLeast, kMost, kMost};
    paint(canvas, [&] {
        graphics_->setPen(kInk, 1);
        graphics_->drawLine({3, 3}, {12, 8});
        graphics_->setPen(kRed, 1);
        EXPECT_EQ(canvas.inkCount({3, 3, 12, 8}), 10);
        EXPECT_EQ(canvas.pixel(12, 8), 0U);
        graphics_->drawLine({12, 8}, {3, 3});
        EXPECT_EQ(canvas.inkCount(canvas.area()), 10);
        EXPECT_EQ(canvas.pixel(3, 3), 0xFF0000U);
        graphics_->drawRectangle(everything, kRed);
        EXPECT_EQ(canvas.inkCount(canvas.area()), 600);
        graphics_->drawGradient(everything, kInk, kRed, zuGradientVertical);
        graphics_->setPen(kInk, kMost);
        graphics_->drawLine({kLeast, kLeast}, {kMost, kMost});
        graphics_->drawText(L"x", {kMost, kLeast}, *font_, kInk);
        graphics_->drawText(L"a b", everything, *font_, kInk,
                            {TextAlignment::kCentre, TextAlignment::kEnd, true, true, true});
        graphics_->drawStretchedBitmap(*image(100), everything);
        graphics_->beginBufferedPaint(everything);
        graphics_->drawRectangle(everything, Color::rgb(0, 0, 255));
        graphics_->drawFocusFrame({2, 2, 27, 17});
        graphics_->endBufferedPaint();
    });
    EXPECT_EQ(canvas.pixel(29, 19), 0x0000FFU);
    EXPECT_NE(canvas.pixel(2, 2), canvas.pixel(3, 2)) << "dotted";
    EXPECT_EQ(thrownText([&] { graphics_->setPen(kRed, 0); }), L"width > 0");
    EXPECT_EQ(thrownText([&] { graphics_->drawGradient({}, kRed, kInk, zuGradientHorizontal); }),
              L"gradientType == zuGradientVertical");
}

TEST_F(DrawingTest, connect_afterAFailedPaint_leavesTheContextAndTheServiceClean) {
    const Canvas canvas({20, 20});
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
    EXPECT_EQ(canvas.inkCount(canvas.area()), 0) << "an abandoned paint shows";
    EXPECT_EQ(thrownText([&] { graphics_->drawLine({}, {}); }), L"drawBusy_");
    EXPECT_EQ(GetTextColor(canvas.context()), COLORREF{RGB(1, 2, 3)});
    paint(canvas, [&] {
        EXPECT_EQ(graphics_->getDrawArea(), canvas.area());
        graphics_->clearClippingArea();
        graphics_->drawRectangle(canvas.area(), kRed);
        EXPECT_EQ(thrownText([&] { graphics_->endClipping(); }), L"beginClipping");
        EXPECT_EQ(thrownText([&] { graphics_->endBufferedPaint(); }), L"beginBufferedPaint");
    });
    EXPECT_EQ(canvas.inkCount({0, 0, 9, 19}), 200);
    EXPECT_EQ(canvas.inkCount(canvas.area()), 200) << "what the owner clipped away";
}

TEST_F(DrawingTest, bitmaps_anySizeScaleOrAlpha_mixWithWhatIsThere) {
    const Canvas canvas({20, 10});
    const auto picture = image(100);
    EXPECT_EQ(picture->size(), (Size{2, 2}));
    EXPECT_EQ(image(100, {24, 16})->size(), (Size{24, 16}));
    WindowServiceWin32Gdi::setScalingFactor(1.5);
    EXPECT_EQ(image(100)->size(), (Size{3, 3}));
    WindowServiceWin32Gdi::setScalingFactor(2.0);
    const auto large = image(100, {4, 4});
    EXPECT_EQ(large->size(), (Size{8, 8}));
    paint(canvas, [&] {
        graphics_->drawBitmap(*picture, {1, 1});
        graphics_->drawBitmap(*picture, {5, 1}, 0.5);
        graphics_->drawBitmap(*picture, {5, 5}, 0.0);
        graphics_->drawBitmap(*large, {11, 1});
        for (const double alpha : {-0.01, 1.01, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_EQ(thrownText([&] { graphics_->drawBitmap(*picture, {}, alpha); }),
                      L"alpha >= 0 && alpha <= 1.0");
        }
        for (const std::uint64_t identifier : {101u, 102u, 103u, 999u}) {
            const auto broken = image(identifier, {8, 8});
            EXPECT_FALSE(bitmapBackend(*broken).hasNativeObject()) << identifier;
            graphics_->drawBitmap(*broken, {});
            graphics_->drawStretchedBitmap(*broken, canvas.area());
        }
    });
    const std::pair<Point, std::uint32_t> kPixels[] = {
        {{1, 1}, 0xFF0000},  {{2, 1}, 0x7FFF7F},  {{1, 2}, kWhite},  {{2, 2}, 0x0000FF},
        {{5, 1}, 0xFF7F7F},  {{6, 1}, 0xBFFFBF},  {{5, 2}, kWhite},  {{6, 2}, 0x7F7FFF},
        {{11, 1}, 0xFF0000}, {{18, 8}, 0x0000FF}, {{11, 8}, kWhite}, {{19, 9}, kWhite}};
    for (const auto& [place, expected] : kPixels) {
        const std::uint32_t found = canvas.pixel(place.x, place.y);
        for (const int shift : {0, 8, 16}) {
            EXPECT_NEAR(static_cast<int>(found >> shift & 0xFF),
                        static_cast<int>(expected >> shift & 0xFF), 2)
                << place.x << ',' << place.y;
        }
    }
    EXPECT_EQ(canvas.inkCount({5, 5, 9, 9}), 0);
    EXPECT_FALSE(bitmapBackend(*image(100, {5000, 5000})).hasNativeObject());
    EXPECT_EQ(image(0), nullptr);
}

TEST_F(DrawingTest, texts_randomFormats_areDrawnAndMeasuredAsTheSystemDoesLineByLine) {
    const int line = graphics_->measureTextHeight(L"x", *font_);
    static constexpr TextAlignment kSides[] = {TextAlignment::kStart, TextAlignment::kCentre,
                                               TextAlignment::kEnd};
    static constexpr const wchar_t* kWords[] = {L"wonderful ", L"&Hill", L"HHHHHHHH", L"g\ti"};
    static constexpr UINT kFlags[] = {DT_LEFT, DT_CENTER, DT_RIGHT};
    for (int round = 0; round < 300; ++round) {
        Texts lines(static_cast<std::size_t>(1 + any(3)));
        std::wstring text;
        for (std::wstring& each : lines) {
            for (int words = 1 + any(3); words > 0; --words) {
                each += kWords[any(4)];
            }
            text += (text.empty() ? L"" : any(2) == 0 ? L"\n" : L"\r\n") + each;
        }
        const int across = any(3);
        const int down = any(3);
        const bool wraps = any(2) == 0;
        const bool dots = any(2) == 0;
        const bool keys = any(2) == 0;
        const Rect area = Rect::at({10 + any(9), 10 + any(9)}, {20 + any(90), 5 + any(60)});
        const Canvas shown({140, 100});
        paint(shown, [&] {
            graphics_->drawText(text, area, *font_, kInk,
                                {kSides[across], kSides[down], wraps, dots, keys});
        });
        const Canvas wanted({140, 100});
        const HDC context = wanted.context();
        const SelectedObject selected(context, fontBackend(*font_).handle());
        SetBkMode(context, TRANSPARENT);
        IntersectClipRect(context, area.left, area.top, area.right + 1, area.bottom + 1);
        RECT room{0, 0, area.width(), 0};
        int height = static_cast<int>(lines.size()) * line;
        if (wraps) {
            constexpr UINT kMeasured = DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX;
            height = DrawTextW(context, text.c_str(), -1, &room, kMeasured);
            EXPECT_EQ(graphics_->measureTextSize(text, *font_, area.width()),
                      (Size{room.right, height}));
        }
        EXPECT_EQ(graphics_->measureTextSize(text, *font_).height, int(lines.size()) * line);
        room = nativeRect(area);
        room.top += (area.height() - height) * down / 2;
        UINT flags = kFlags[across] | (keys ? 0U : DT_NOPREFIX) | (dots ? DT_END_ELLIPSIS : 0U);
        if (wraps) {
            flags |= DT_WORDBREAK | DT_EXPANDTABS;
            flags |= dots && area.height() >= line ? DT_EDITCONTROL : 0U;
            DrawTextW(context, text.c_str(), -1, &room, flags);
        } else {
            for (const std::wstring& each : lines) {
                DrawTextW(context, each.c_str(), -1, &room, flags | DT_SINGLELINE);
                room.top += line;
            }
        }
        ASSERT_TRUE(shown.isLike(wanted)) << round << ": " << narrow(text);
    }
}

TEST_F(DrawingTest, measureTextWidth_anyScript_isWhatTheSystemDraws) {
    const Canvas canvas({1, 1});
    for (const auto& style : {FontStyle{}, FontStyle{false, true, false, 9, {}},
                              FontStyle{false, false, true, 20, {}}}) {
        const auto font = windows_->getFont(style);
        const SelectedObject selected(canvas.context(), fontBackend(*font).handle());
        // One of each way to measure: kept widths, joined scripts, fallback fonts.
        for (const wchar_t* text :
             {L"AVATAR To fi", L"Grüße & Ça va", L"Καλημέρα", L"Привет", L"e\u0301tude",
              L"\u0645\u0631\u062D\u0628", L"\u6F22\u5B57", L"tab\there", L"\u20AC 5\u2026"}) {
            SIZE size{};
            GetTextExtentPoint32W(canvas.context(), text, static_cast<int>(wcslen(text)), &size);
            EXPECT_EQ(graphics_->measureTextWidth(text, *font), size.cx) << narrow(text);
        }
        EXPECT_EQ(graphics_->measureTextSize(L"", *font),
                  (Size{0, fontBackend(*font).lineHeight()}));
    }
}

TEST_F(DrawingTest, fonts_styleAndScaling_areTheSystemsAndKeptWithinBounds) {
    const auto madeFrom = [&](const FontStyle& style) {
        LOGFONTW made{};
        GetObjectW(fontBackend(*windows_->getFont(style)).handle(), sizeof(made), &made);
        return made;
    };
    for (const auto& [factor, height] : {std::pair{1.0, -12}, {1.5, -18}, {2.0, -24}}) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        EXPECT_EQ(madeFrom(FontStyle{false, false, false, 9, {}}).lfHeight, height);
    }
    const LOGFONTW made = madeFrom(FontStyle{true, true, true, -5, {}});
    EXPECT_EQ(made.lfHeight, -1) << "no size is smaller";
    EXPECT_EQ(made.lfWeight, FW_BOLD);
    EXPECT_TRUE(made.lfItalic && made.lfUnderline);
    EXPECT_NE(made.lfFaceName[0], L'\0');
    EXPECT_STREQ(madeFrom(font_->style()).lfFaceName, L"Tahoma");

    const auto used = windows_->getFont(font_->style());
    std::vector<std::weak_ptr<Font>> fonts;
    for (std::int32_t size = 100; size < 400; ++size) {
        fonts.push_back(windows_->getFont(FontStyle{false, false, false, size, {}}));
    }
    const auto held = [&] {
        return std::count_if(fonts.begin(), fonts.end(),
                             [](const auto& f) { return !f.expired(); });
    };
    EXPECT_EQ(held(), 64);
    EXPECT_EQ(windows_->getFont(font_->style()), used) << "in use, however long ago";
    WindowServiceWin32Gdi::clearDrawingCaches();
    EXPECT_EQ(held(), 0);
}

}  // namespace
}  // namespace zustd
