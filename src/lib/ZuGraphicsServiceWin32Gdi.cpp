#include "ZuGraphicsServiceWin32Gdi.h"

#include <versionhelpers.h>

#include <cmath>

#include "ZuBitmapWin32Gdi.h"
#include "ZuColorWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuGeometryWin32Gdi.h"

namespace zustd {

namespace {

// Far beyond any document, and far from where GDI's arithmetic ends.
constexpr std::int32_t kFarthest = 1 << 24;
// GDI works out a slanted line as a whole, seen or not.
constexpr std::int32_t kFarthestLineEnd = 1 << 15;
constexpr std::int32_t kWidestPen = 1 << 8;
// What one call draws of a line of text; more does not fit on a screen.
constexpr std::size_t kLongestLine = 8192;
// Of text that the system wraps, as its own labels have it.
constexpr UINT kWrapped = DT_WORDBREAK | DT_EXPANDTABS;

std::int32_t cut(std::int32_t coordinate) noexcept {
    return std::clamp(coordinate, -kFarthest, kFarthest);
}

Point cutLineEnd(Point end) noexcept {
    return {std::clamp(end.x, -kFarthestLineEnd, kFarthestLineEnd),
            std::clamp(end.y, -kFarthestLineEnd, kFarthestLineEnd)};
}

Rect cut(const Rect& area) noexcept {
    return {cut(area.left), cut(area.top), cut(area.right), cut(area.bottom)};
}

std::uint8_t between(std::uint8_t from, std::uint8_t to, std::int64_t step,
                     std::int64_t last) noexcept {
    return static_cast<std::uint8_t>(from +
                                     ((to - from) * step + (to < from ? -last : last) / 2) / last);
}

// Takes one line from the front of a text; line feeds, alone or after a carriage return, end lines.
std::wstring_view takeLine(std::wstring_view& text) noexcept {
    const std::size_t end = text.find(L'\n');
    std::wstring_view line = text.substr(0, end);
    text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + 1);
    if (line.ends_with(L'\r')) {
        line.remove_suffix(1);
    }
    return line;
}

int lengthForSystem(std::wstring_view text, std::size_t most = INT_MAX) noexcept {
    return static_cast<int>(std::min(text.size(), most));
}

// What lies below the text stays to be seen.
void setTextLook(HDC context, Color color) noexcept {
    SetTextColor(context, nativeColor(color));
    SetBkMode(context, TRANSPARENT);
}

// What an alignment stands for; any other number is the start.
template <class T>
T aligned(TextAlignment alignment, T start, T centre, T end) noexcept {
    return alignment == TextAlignment::kEnd      ? end
           : alignment == TextAlignment::kCentre ? centre
                                                 : start;
}

}  // namespace

void GraphicsServiceWin32Gdi::connect(HDC context, const Rect& drawArea) {
    ZU_ASSERT_AS(layers_.empty(), L"!drawBusy_", ZU_HERE);
    std::vector<Layer> layers;
    layers.push_back({.context = context, .area = drawArea, .clips = {drawArea}});
    savedContext_ = ZU_SYSTEM(SaveDC(context));
    layers_ = std::move(layers);
    // What the caller has clipped away stays away: clipping from here on is a further restriction.
    SetMetaRgn(context);
    SetTextAlign(context, TA_LEFT | TA_TOP | TA_NOUPDATECP);
    applyClip();
}

void GraphicsServiceWin32Gdi::disconnect() noexcept {
    if (!layers_.empty()) {
        RestoreDC(layers_.front().context, savedContext_);
        layers_.clear();
    }
}

void GraphicsServiceWin32Gdi::drawVerticalGradient(const Rect& area, Color from, Color to) {
    const Rect seen = area.intersection(top().clips.back());
    const std::int64_t last = std::max<std::int64_t>(std::int64_t{area.bottom} - area.top, 1);
    for (std::int32_t y = seen.top; y <= seen.bottom; ++y) {
        const std::int64_t step = std::int64_t{y} - area.top;
        drawRectangle({seen.left, y, seen.right, y},
                      Color::rgb(between(from.red, to.red, step, last),
                                 between(from.green, to.green, step, last),
                                 between(from.blue, to.blue, step, last)));
    }
}

bool GraphicsServiceWin32Gdi::isVistaOrHigher() noexcept { return IsWindowsVistaOrGreater(); }

void GraphicsServiceWin32Gdi::drawGradient(const Rect& area, Color from, Color to,
                                           GradientType gradientType) {
    ZU_ASSERT(gradientType == zuGradientVertical);
    drawVerticalGradient(area, from, to);
}

void GraphicsServiceWin32Gdi::drawBitmap(const Bitmap& bitmap, Point place, double alpha) {
    drawStretchedBitmap(bitmap, Rect::at(place, bitmapBackend(bitmap).image().size), alpha);
}

void GraphicsServiceWin32Gdi::drawStretchedBitmap(const Bitmap& bitmap, const Rect& area,
                                                  double alpha) {
    ZU_ASSERT(alpha >= 0 && alpha <= 1.0);
    const HDC context = top().context;
    const BitmapWin32Gdi& backend = bitmapBackend(bitmap);
    if (backend.handle() == nullptr || area.isEmpty()) {
        return;
    }
    const Size image = backend.image().size;
    const Rect target = cut(area);
    const MemoryDeviceContext source(CreateCompatibleDC(context));
    const SelectedObject selected(source.get(), backend.handle());
    const BLENDFUNCTION function{.BlendOp = AC_SRC_OVER,
                                 .SourceConstantAlpha = static_cast<BYTE>(std::lround(alpha * 255)),
                                 .AlphaFormat = AC_SRC_ALPHA};
    AlphaBlend(context, target.left, target.top, target.width(), target.height(), source.get(), 0,
               0, image.width, image.height, function);
}

void GraphicsServiceWin32Gdi::drawFocusFrame(const Rect& area) {
    const HDC context = top().context;
    if (!area.isEmpty()) {
        // The frame is a pattern of these two, laid over what is there.
        SetTextColor(context, RGB(0, 0, 0));
        SetBkColor(context, RGB(255, 255, 255));
        const RECT native = nativeRect(cut(area));
        DrawFocusRect(context, &native);
    }
}

// Straight lines are filled, so that a pen of any width ends at the pixels that it is told to.
void GraphicsServiceWin32Gdi::drawLine(Point from, Point to) {
    const auto [left, right] = std::minmax({from.x, to.x});
    const auto [upper, lower] = std::minmax({from.y, to.y});
    const std::int32_t before = penWidth_ / 2;
    const std::int32_t behind = penWidth_ - before - 1;
    if (upper == lower) {
        drawRectangle({left, saturatedSum(upper, -before), right, saturatedSum(upper, behind)},
                      penColor_);
    } else if (left == right) {
        drawRectangle({saturatedSum(left, -before), upper, saturatedSum(left, behind), lower},
                      penColor_);
    } else {
        drawSlantedLine(from, to);
    }
}

void GraphicsServiceWin32Gdi::drawRectangle(const Rect& area) {
    const Rect inside = area.shrunkBy(penWidth_, penWidth_);
    if (inside.isEmpty()) {
        drawRectangle(area, penColor_);
        return;
    }
    drawRectangle({area.left, area.top, area.right, inside.top - 1}, penColor_);
    drawRectangle({area.left, inside.bottom + 1, area.right, area.bottom}, penColor_);
    drawRectangle({area.left, inside.top, inside.left - 1, inside.bottom}, penColor_);
    drawRectangle({inside.right + 1, inside.top, area.right, inside.bottom}, penColor_);
}

void GraphicsServiceWin32Gdi::drawRectangle(const Rect& area, Color color) {
    const HDC context = top().context;
    if (!area.isEmpty()) {
        SetDCBrushColor(context, nativeColor(color));
        const RECT native = nativeRect(cut(area));
        FillRect(context, &native, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
}

void GraphicsServiceWin32Gdi::drawText(std::wstring_view text, Point place, const Font& font,
                                       Color color) {
    const HDC context = top().context;
    const SelectedObject selected(context, fontBackend(font).handle());
    setTextLook(context, color);
    TextOutW(context, cut(place.x), cut(place.y), text.data(), lengthForSystem(text, kLongestLine));
}

void GraphicsServiceWin32Gdi::drawText(std::wstring_view text, const Rect& area, const Font& font,
                                       Color color, const TextFormat& format) {
    const HDC context = top().context;
    if (area.isEmpty()) {
        return;
    }
    FontWin32Gdi& backend = fontBackend(font);
    const SelectedObject selected(context, backend.handle());
    setTextLook(context, color);
    const std::int32_t lineHeight = backend.lineHeight();
    UINT flags = aligned<UINT>(format.horizontal, DT_LEFT, DT_CENTER, DT_RIGHT) |
                 (format.accelerators ? 0 : DT_NOPREFIX);
    flags |= format.wordWrap ? kWrapped : 0;
    Rect used = area;
    if (format.vertical != TextAlignment::kStart) {
        const std::int32_t room =
            area.height() - measureTextSize(text, font, format.wordWrap ? area.width() : 0).height;
        used.top += aligned(format.vertical, 0, room / 2, room);
    }
    if (format.ellipsis) {
        flags |= DT_END_ELLIPSIS;
        // The dots belong at the end of the last line that is seen as a whole.
        if (format.wordWrap && area.height() >= lineHeight) {
            flags |= DT_EDITCONTROL;
        }
    }
    // The system cuts at the area that it is given.
    const bool startsAbove = used.top < area.top;
    if (startsAbove) {
        beginClipping(area);
    }
    drawLines(text, used, flags, lineHeight);
    if (startsAbove) {
        endClipping();
    }
}

Size GraphicsServiceWin32Gdi::measureTextSize(std::wstring_view text, const Font& font,
                                              std::int32_t width) {
    FontWin32Gdi& backend = fontBackend(font);
    const std::int32_t lineHeight = backend.lineHeight();
    if (text.empty()) {
        return {0, lineHeight};
    }
    if (width > 0) {
        const HDC context = measuringContext();
        const SelectedObject selected(context, backend.handle());
        RECT area{.right = cut(width)};
        DrawTextW(context, text.data(), lengthForSystem(text), &area,
                  kWrapped | DT_NOPREFIX | DT_CALCRECT);
        return {area.right, area.bottom};
    }
    Size size;
    while (!text.empty()) {
        size.width = std::max(size.width, backend.textWidth(takeLine(text)));
        size.height = saturatedSum(size.height, lineHeight);
    }
    return size;
}

std::int32_t GraphicsServiceWin32Gdi::measureTextWidth(std::wstring_view text, const Font& font) {
    return fontBackend(font).textWidth(text);
}

void GraphicsServiceWin32Gdi::beginBufferedPaint(const Rect& area) {
    const Layer& outer = top();
    const HDC outerContext = outer.context;
    Layer layer;
    layer.area = area.intersection(outer.clips.back());
    layer.clips = {layer.area};
    layer.memory.reset(CreateCompatibleDC(outerContext));
    // A paint of nothing still has to be a layer, for its end to be found.
    layer.bitmap =
        PixelBitmap({std::max(layer.area.width(), 1), std::max(layer.area.height(), 1)}).handle;
    layer.context = layer.memory.get();
    layer.selected = ZU_SYSTEM(SelectedObject(layer.context, layer.bitmap.get()));
    SetViewportOrgEx(layer.context, -layer.area.left, -layer.area.top, nullptr);
    // What is not drawn over keeps its look.
    BitBlt(layer.context, layer.area.left, layer.area.top, layer.area.width(), layer.area.height(),
           outerContext, layer.area.left, layer.area.top, SRCCOPY);
    layers_.push_back(std::move(layer));
}

void GraphicsServiceWin32Gdi::endBufferedPaint() {
    ZU_ASSERT_AS(layers_.size() > 1, L"beginBufferedPaint", ZU_HERE);
    const Layer layer = std::move(layers_.back());
    layers_.pop_back();
    SelectClipRgn(layer.context, nullptr);
    BitBlt(top().context, layer.area.left, layer.area.top, layer.area.width(), layer.area.height(),
           layer.context, layer.area.left, layer.area.top, SRCCOPY);
}

void GraphicsServiceWin32Gdi::beginClipping(const Rect& area) {
    Layer& layer = top();
    layer.clips.push_back(area.intersection(layer.clips.back()));
    applyClip();
}

void GraphicsServiceWin32Gdi::endClipping() {
    Layer& layer = top();
    ZU_ASSERT_AS(layer.clips.size() > 1, L"beginClipping", ZU_HERE);
    layer.clips.pop_back();
    applyClip();
}

void GraphicsServiceWin32Gdi::setClippingArea(const Rect& area) {
    Layer& layer = top();
    layer.clips.back() = area.intersection(layer.area);
    applyClip();
}

void GraphicsServiceWin32Gdi::setPen(Color color, std::int32_t width) {
    ZU_ASSERT(width > 0);
    penColor_ = color;
    penWidth_ = std::min(width, kWidestPen);
}

GraphicsServiceWin32Gdi::Layer& GraphicsServiceWin32Gdi::top() {
    ZU_ASSERT_AS(!layers_.empty(), L"drawBusy_", ZU_HERE);
    return layers_.back();
}

void GraphicsServiceWin32Gdi::applyClip() {
    const Layer& layer = layers_.back();
    const Rect& clip = layer.clips.back();
    SelectClipRgn(layer.context, nullptr);
    // The sides of an empty one may be in any order, which GDI would put right.
    const RECT native = clip.isEmpty() ? RECT{} : nativeRect(cut(clip));
    IntersectClipRect(layer.context, native.left, native.top, native.right, native.bottom);
}

void GraphicsServiceWin32Gdi::drawSlantedLine(Point from, Point to) {
    const HDC context = top().context;
    const Point start = cutLineEnd(from);
    const Point end = cutLineEnd(to);
    const PenHandle pen(CreatePen(PS_SOLID, penWidth_, nativeColor(penColor_)));
    const SelectedObject selected(context, pen.get());
    MoveToEx(context, start.x, start.y, nullptr);
    LineTo(context, end.x, end.y);
    // GDI leaves out the last pixel of thin lines.
    SetPixelV(context, end.x, end.y, nativeColor(penColor_));
}

// Wrapped text is laid out by the system as a whole. Other text is drawn line
// by line: the system puts dots at the end of single lines only.
void GraphicsServiceWin32Gdi::drawLines(std::wstring_view text, const Rect& area, UINT flags,
                                        std::int32_t lineHeight) {
    const HDC context = top().context;
    RECT native = nativeRect(cut(area));
    if (hasFlag(flags, DT_WORDBREAK)) {
        DrawTextW(context, text.data(), lengthForSystem(text), &native, flags);
        return;
    }
    for (; !text.empty() && native.top < native.bottom; native.top += lineHeight) {
        const std::wstring_view line = takeLine(text);
        DrawTextW(context, line.data(), lengthForSystem(line, kLongestLine), &native,
                  flags | DT_SINGLELINE | DT_TOP);
    }
}

std::shared_ptr<GraphicsService> makeGraphicsService() {
    auto service = makeService<GraphicsService>();
    joinImplementation(*service, std::make_unique<GraphicsServiceWin32Gdi>());
    return service;
}

GraphicsServiceWin32Gdi& graphicsBackend(GraphicsService& graphics) {
    auto* backend = dynamic_cast<GraphicsServiceWin32Gdi*>(&graphics.implementation());
    ZU_ASSERT_AS(backend != nullptr, L"graphics", ZU_HERE);
    return *backend;
}

}  // namespace zustd
