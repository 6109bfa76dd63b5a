#include "ZuItemControlWin32Gdi.h"

#include "ZuBitmapWin32Gdi.h"
#include "ZuWindowService.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

namespace zustd {

namespace {

constexpr std::int32_t kCheckMargin = 1;
constexpr std::uint32_t kOpaque = 0xFF000000;

ImageListHandle makeList(Size size, int room) {
    return ImageListHandle(
        ZU_SYSTEM(ImageList_Create(size.width, size.height, ILC_COLOR32, room, 1)));
}

void append(const ImageListHandle& list, const PixelBitmap& image) {
    // One without any alpha would be taken for an opaque one.
    if (std::none_of(image.pixels.begin(), image.pixels.end(),
                     [](std::uint32_t pixel) { return hasFlag(pixel, kOpaque); })) {
        image.pixels.front() = kOpaque / UCHAR_MAX;
    }
    ZU_SYSTEM(ImageList_Add(list.get(), image.handle.get(), nullptr) >= 0);
}

using ThemeHandle = Handle<NullHandleTraits<HTHEME, &CloseThemeData>>;

// In the look that check boxes have in the theme, or the plain one.
void drawCheckBox(const PixelBitmap& image, COLORREF background, HTHEME theme, bool checked) {
    const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    const SelectedObject selected(context.get(), image.handle.get());
    const int state = checked ? CBS_CHECKEDNORMAL : CBS_UNCHECKEDNORMAL;
    const LONG extent = image.size.width;
    const LONG room = extent - 2 * kCheckMargin;
    SIZE size{room, room};
    // Without a theme nothing is said, and nothing drawn.
    GetThemePartSize(theme, context.get(), BP_CHECKBOX, state, nullptr, TS_DRAW, &size);
    size = {std::min(size.cx, room), std::min(size.cy, room)};
    const POINT corner{(extent - size.cx) / 2, (extent - size.cy) / 2};
    RECT box{corner.x, corner.y, corner.x + size.cx, corner.y + size.cy};
    SetDCBrushColor(context.get(), background);
    FillRect(context.get(), &box, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    if (FAILED(DrawThemeBackground(theme, context.get(), BP_CHECKBOX, state, &box, nullptr))) {
        DrawFrameControl(context.get(), &box, DFC_BUTTON,
                         DFCS_BUTTONCHECK | DFCS_FLAT | (checked ? UINT{DFCS_CHECKED} : 0U));
    }
    GdiFlush();
    for (LONG y = box.top; y < box.bottom; ++y) {
        for (LONG x = box.left; x < box.right; ++x) {
            image.pixels[std::size_t{static_cast<ULONG>(y * extent + x)}] |= kOpaque;
        }
    }
}

COLORREF colorOr(const Control& control, ColorRole role, int systemColor) noexcept {
    const auto& colors = control.colors();
    const Color color = colors ? colors->color(role) : Color();
    return color.isSet ? nativeColor(color) : GetSysColor(systemColor);
}

// Null makes none.
ImageListHandle makeItemImages(const Control& control, const BitmapListDescriptor* descriptor) {
    if (descriptor == nullptr) {
        return {};
    }
    const Size size{std::max(control.scale(descriptor->size().width), 1),
                    std::max(control.scale(descriptor->size().height), 1)};
    const auto service = control.windowService();
    ImageListHandle list = makeList(size, static_cast<int>(descriptor->identifiers().size()));
    for (const std::uint64_t identifier : descriptor->identifiers()) {
        const PixelBitmap image(size);
        const auto bitmap =
            service ? service->getBitmap(BitmapDescriptor(identifier, descriptor->size()))
                    : nullptr;
        if (bitmap) {
            copyPlainPixels(image, bitmapBackend(*bitmap));
        }
        append(list, image);
    }
    return list;
}

// No extent makes none.
ImageListHandle makeCheckImages(std::int32_t extent, COLORREF background, UINT firstState) {
    if (extent == 0) {
        return {};
    }
    // Not for the control's window, which would take the theme for its own.
    const ThemeHandle theme(OpenThemeData(nullptr, L"BUTTON"));
    ImageListHandle list = makeList({extent, extent}, kChecked);
    for (UINT state = firstState; state <= kChecked; ++state) {
        const PixelBitmap image({extent, extent});
        if (state != 0) {
            drawCheckBox(image, background, theme.get(), state == kChecked);
        }
        append(list, image);
    }
    return list;
}

}  // namespace

std::size_t ItemControlWin32Gdi::deferRedraw() noexcept {
    const Mirroring mirroring(*this);
    if (burst_ == 0 && PostMessageW(window(), WM_NULL, 0, 0)) {
        send(WM_SETREDRAW, FALSE);
    }
    return ++burst_;
}

void ItemControlWin32Gdi::settle() noexcept {
    if (std::exchange(burst_, 0) == 0 || window() == nullptr) {
        return;
    }
    send(WM_SETREDRAW, TRUE);
    // Which shows a hidden window.
    if (!control().isShown()) {
        ShowWindow(window(), SW_HIDE);
    }
    InvalidateRect(window(), nullptr, TRUE);
}

bool ItemControlWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    if (!isMirroring()) {
        settle();
        if (message.id == WM_THEMECHANGED) {
            checkImages_.request.reset();
            control().backend()->synchronizeWithAbstraction();
        }
    }
    catchUp();
    if (answers(message) || onItemMessage(message, result)) {
        return true;
    }
    letWindowAnswer(message, result);
    if (!isAnswering() && !isMirroring()) {
        catchUp();
        reportActions();
    }
    return true;
}

bool ItemControlWin32Gdi::answers(const WindowMessage& message) {
    switch (message.id) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            return hasCheckBoxes() && toggleAt(message.extra);
        case WM_KEYDOWN:
            return hasCheckBoxes() && message.wide == VK_SPACE && toggleFocused();
        case WM_CHAR:
            // The search for texts would get it.
            return hasCheckBoxes() && message.wide == L' ';
        case WM_CONTEXTMENU: {
            // By the keyboard; the right button has its notification.
            const bool isKey = message.extra == -1;
            if (isKey) {
                reportMenuKey();
            }
            return isKey;
        }
        default:
            return false;
    }
}

void ItemControlWin32Gdi::pushLook(const Look& look, const std::shared_ptr<FontDescriptor>& font,
                                   const BitmapListDescriptor* bitmaps, bool checkBoxes) {
    synchronizeFont(font);
    const std::pair colors{colorOr(control(), ColorRole::kText, COLOR_WINDOWTEXT),
                           colorOr(control(), ColorRole::kBackground, COLOR_WINDOW)};
    bool changed = std::exchange(colors_, colors) != colors;
    if (changed) {
        sendData(look.setTextColor, static_cast<LPARAM>(colors.first));
        sendData(look.setBackground, static_cast<LPARAM>(colors.second));
    }
    const auto pushImages = [&](WPARAM kind, auto& images, const auto& request, const auto& make) {
        if (images.request != request) {
            ImageListHandle list = make();
            send(look.setImageList, kind, reinterpret_cast<LPARAM>(list.get()));
            images = {request, std::move(list)};
            changed = true;
        }
    };
    pushImages(look.images, images_,
               bitmaps != nullptr
                   ? ItemImageRequest(bitmaps->identifiers(), bitmaps->size(), control().scale(1.0))
                   : ItemImageRequest(),
               [&] { return makeItemImages(control(), bitmaps); });
    const std::int32_t extent =
        checkBoxes ? std::max(control().scale(kSmallImageSize), 4 * kCheckMargin) : 0;
    pushImages(look.checkImages, checkImages_,
               CheckImageRequest(extent, colors.second, GetSysColor(COLOR_WINDOWTEXT)),
               [&] { return makeCheckImages(extent, colors.second, look.firstState); });
    if (changed) {
        InvalidateRect(window(), nullptr, TRUE);
    }
}

void ItemControlWin32Gdi::startAnew() noexcept {
    colors_.reset();
    images_ = {};
    checkImages_ = {};
    burst_ = 0;
    send(CCM_SETUNICODEFORMAT, TRUE);
}

// What the window draws with goes after it.
void ItemControlWin32Gdi::destroyWindow() noexcept {
    NativeControlWin32Gdi::destroyWindow();
    images_ = {};
    checkImages_ = {};
}

}  // namespace zustd
