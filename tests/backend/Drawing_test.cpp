#include <gtest/gtest.h>

#include <array>
#include <limits>

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

TEST_F(DrawingTest, drawGradient_vertical_hasBothColoursExactlyAtItsEnds) {
    Canvas canvas({20, 40});
    const Rect area{2, 3, 12, 33};
    paint(canvas, [&] {
        graphics_->drawGradient(area, Color::rgb(200, 0, 10), Color::rgb(0, 100, 10),
                                zuGradientVertical);
        EXPECT_EQ(
            thrownText([&] { graphics_->drawGradient(area, kRed, kInk, zuGradientHorizontal); }),
            L"gradientType == zuGradientVertical");
    });
    EXPECT_EQ(canvas.ink(), area);
    EXPECT_EQ(canvas.pixel(2, 3), 0xC8000Au);
    EXPECT_EQ(canvas.pixel(12, 18), 0x64320Au);
    EXPECT_EQ(canvas.pixel(12, 33), 0x00640Au);
}

TEST_F(DrawingTest, drawLine_anyDirectionAndWidth_includesBothEnds) {
    const struct {
        Point from, to;
        std::int32_t width;
        Rect ink;
    } kCases[] = {
        {{2, 5}, {17, 5}, 1, {2, 5, 17, 5}}, {{17, 5}, {2, 5}, 3, {2, 4, 17, 6}},
        {{4, 2}, {4, 17}, 2, {3, 2, 4, 17}}, {{4, 17}, {4, 2}, 1, {4, 2, 4, 17}},
        {{3, 3}, {12, 8}, 1, {3, 3, 12, 8}}, {{12, 8}, {3, 3}, 1, {3, 3, 12, 8}},
        {{5, 5}, {5, 5}, 1, {5, 5, 5, 5}},
    };
    for (const auto& line : kCases) {
        Canvas canvas({20, 20});
        paint(canvas, [&] {
            graphics_->setPen(kRed, line.width);
            graphics_->drawLine(line.from, line.to);
        });
        EXPECT_EQ(canvas.ink(), line.ink) << &line - kCases;
    }
    EXPECT_EQ(thrownText([&] { graphics_->setPen(kRed, 0); }), L"width > 0");
}

TEST_F(DrawingTest, drawRectangle_outlineAndFill_lieInsideTheInclusiveArea) {
    Canvas outline({20, 20});
    Canvas filled({20, 20});
    const Rect area{3, 4, 15, 12};
    paint(outline, [&] {
        graphics_->setPen(kRed, 2);
        graphics_->drawRectangle(area);
    });
    paint(filled, [&] { graphics_->drawRectangle(area, kRed); });
    EXPECT_EQ(outline.ink(), area);
    EXPECT_EQ(outline.inkCount(area), 13 * 9 - 9 * 5);
    EXPECT_EQ(outline.inkCount({5, 6, 13, 10}), 0);
    EXPECT_EQ(filled.ink(), area);
    EXPECT_EQ(filled.inkCount(area), 13 * 9);
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

TEST_F(DrawingTest, clipping_nestedAndReplaced_restrictsUntilItsEnd) {
    const Rect all{0, 0, 19, 19};
    const auto inkOf = [&](auto&& restrict) {
        Canvas canvas({20, 20});
        paint(canvas, [&] {
            restrict();
            graphics_->drawRectangle(all, kRed);
        });
        return canvas.ink();
    };
    const auto begin = [&](Rect area) { graphics_->beginClipping(area); };
    EXPECT_EQ(inkOf([&] { begin({2, 2, 9, 9}), begin({5, 0, 15, 15}); }), (Rect{5, 2, 9, 9}));
    EXPECT_EQ(inkOf([&] {
                  begin({2, 2, 9, 9}), begin({5, 0, 15, 15}), graphics_->endClipping();
              }),
              (Rect{2, 2, 9, 9}));
    EXPECT_TRUE(inkOf([&] { begin({2, 2, 9, 9}), begin({12, 12, 15, 15}); }).isEmpty());
    EXPECT_EQ(inkOf([&] {
                  begin({2, 2, 9, 9}), graphics_->setClippingArea({1, 1, 17, 30});
              }),
              (Rect{1, 1, 17, 19}));
    EXPECT_EQ(inkOf([&] { begin({2, 2, 9, 9}), graphics_->clearClippingArea(); }), all);
    EXPECT_EQ(inkOf([&] {
                  begin({2, 2, 9, 9}), begin({3, 3, 4, 4});
                  graphics_->clearClippingArea(), graphics_->endClipping();
              }),
              (Rect{2, 2, 9, 9}));
}

TEST_F(DrawingTest, bufferedPaint_nested_showsAtItsEndWithinTheOuterClipping) {
    Canvas canvas({20, 20});
    paint(canvas, [&] {
        graphics_->drawRectangle({0, 0, 4, 4}, kInk);
        graphics_->beginClipping({0, 0, 9, 19});
        graphics_->beginBufferedPaint({2, 2, 17, 17});
        graphics_->drawRectangle({6, 6, 17, 17}, kRed);
        graphics_->beginBufferedPaint({8, 8, 11, 11});
        graphics_->drawRectangle({0, 0, 19, 19}, Color::rgb(0, 0, 255));
        graphics_->endBufferedPaint();
        EXPECT_EQ(canvas.ink(), (Rect{0, 0, 4, 4})) << "not yet";
        graphics_->endBufferedPaint();
    });
    EXPECT_EQ(canvas.ink(), (Rect{0, 0, 9, 17}));
    EXPECT_EQ(canvas.pixel(4, 4), kBlack) << "what lay beneath";
    EXPECT_EQ(canvas.pixel(7, 9), 0xFF0000u);
    EXPECT_EQ(canvas.pixel(8, 9), 0x0000FFu);
    EXPECT_EQ(canvas.pixel(9, 12), 0xFF0000u);
    EXPECT_EQ(canvas.pixel(5, 5), kWhite);
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

TEST_F(DrawingTest, drawText_inAnArea_leavesInkOnlyThere) {
    const Rect area{20, 10, 69, 21};
    for (const auto horizontal :
         {TextAlignment::kStart, TextAlignment::kCentre, TextAlignment::kEnd}) {
        for (const auto vertical :
             {TextAlignment::kStart, TextAlignment::kCentre, TextAlignment::kEnd}) {
            for (const bool flag : {false, true}) {
                Canvas canvas({100, 60});
                paint(canvas, [&] {
                    graphics_->drawText(L"Long text wider\nand higher than its area", area, *font_,
                                        kInk, {horizontal, vertical, flag, flag, false});
                });
                EXPECT_GT(canvas.inkCount(area), 20);
                EXPECT_EQ(canvas.ink().unionWith(area), area);
            }
        }
    }
}

TEST_F(DrawingTest, drawText_alignment_putsShortTextAtItsSide) {
    const Rect area{10, 5, 109, 64};
    const Size size = graphics_->measureTextSize(L"Hill", *font_);
    const auto inkOf = [&](TextAlignment horizontal, TextAlignment vertical) {
        Canvas canvas({120, 70});
        paint(canvas, [&] {
            graphics_->drawText(L"Hill", area, *font_, kInk,
                                {.horizontal = horizontal, .vertical = vertical});
        });
        return canvas.ink();
    };
    const Rect start = inkOf(TextAlignment::kStart, TextAlignment::kStart);
    const Rect centre = inkOf(TextAlignment::kCentre, TextAlignment::kCentre);
    const Rect end = inkOf(TextAlignment::kEnd, TextAlignment::kEnd);
    EXPECT_EQ(start.size(), end.size());
    EXPECT_EQ(end.left - start.left, 100 - size.width);
    EXPECT_EQ(end.top - start.top, 60 - size.height);
    EXPECT_NEAR(centre.left - start.left, (100 - size.width) / 2, 1);
    EXPECT_EQ(centre.top - start.top, (60 - size.height) / 2);
}

TEST_F(DrawingTest, drawText_ellipsis_endsEachLongLineInDots) {
    const Rect area{0, 0, 59, 59};
    const std::int32_t line = graphics_->measureTextHeight(L"x", *font_);
    const std::int32_t dots = graphics_->measureTextWidth(L"...", *font_);
    for (const bool wrap : {false, true}) {
        Canvas canvas({60, 60});
        const Rect used = wrap ? Rect{0, 0, 59, line - 1} : area;
        paint(canvas, [&] {
            graphics_->drawText(L"HHHHH HHHHHHHHHH\nHHHHHHHHHHHHHHHH", used, *font_, kInk,
                                {.wordWrap = wrap, .ellipsis = true});
        });
        for (std::int32_t y = 0; y < (wrap ? line : 2 * line); y += line) {
            Rect ink;
            for (std::int32_t x = 0; x < 60; ++x) {
                if (canvas.inkCount({x, y, x, y + line - 1}) > 0) {
                    ink = {x, y, x, y};
                }
            }
            // Behind the last letter there are only dots, low down.
            const Rect end{ink.left - dots / 2, y, ink.left, y + line - 1};
            EXPECT_GT(canvas.inkCount(end), 0);
            EXPECT_EQ(canvas.inkCount({end.left, y, end.right, y + line / 2}), 0) << wrap << y;
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
