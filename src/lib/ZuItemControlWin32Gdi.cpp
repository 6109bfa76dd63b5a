#include "ZuItemControlWin32Gdi.h"

#include <algorithm>

#include "ZuBitmapWin32Gdi.h"
#include "ZuColorWin32Gdi.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

constexpr std::int32_t kCheckImageSize = 16;
constexpr std::int32_t kCheckMargin = 1;
constexpr std::uint32_t kOpaque = 0xFF000000;

// Image lists multiply colours with alpha when they draw; bitmaps have it done.
std::uint32_t withoutPremultiplication(std::uint32_t pixel) noexcept {
    const std::uint32_t alpha = pixel >> 24;
    if (alpha == 0 || alpha == 0xFF) {
        return pixel;
    }
    std::uint32_t result = pixel & kOpaque;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const std::uint32_t channel = (pixel >> shift & 0xFF) * 0xFF / alpha;
        result |= std::min<std::uint32_t>(channel, 0xFF) << shift;
    }
    return result;
}

// As much of the image as fits into a slot, from the left top corner.
void copyPixels(const PixelBitmap& target, Size slot, const BitmapWin32Gdi& source) {
    DIBSECTION section{};
    if (GetObjectW(source.handle(), sizeof(section), &section) != sizeof(section)) {
        return;
    }
    GdiFlush();
    const Size size = source.imageSize();
    const auto* from = static_cast<const std::uint32_t*>(section.dsBm.bmBits);
    const auto width = static_cast<std::size_t>(std::min(size.width, slot.width));
    const auto height = static_cast<std::size_t>(std::min(size.height, slot.height));
    for (std::size_t row = 0; row < height; ++row) {
        const auto* begin = from + row * static_cast<std::size_t>(size.width);
        std::transform(begin, begin + width,
                       target.pixels.begin() +
                           static_cast<std::ptrdiff_t>(row * static_cast<std::size_t>(slot.width)),
                       &withoutPremultiplication);
    }
}

ImageListHandle makeList(Size size, int room) {
    ImageListHandle list(ImageList_Create(size.width, size.height, ILC_COLOR32, room, 1));
    if (!list) {
        throwSystemException(L"Could not create image list", ZU_HERE);
    }
    return list;
}

void append(const ImageListHandle& list, const PixelBitmap& image) {
    // One without any alpha would be taken for an opaque one.
    if (std::none_of(image.pixels.begin(), image.pixels.end(),
                     [](std::uint32_t pixel) { return (pixel & kOpaque) != 0; })) {
        image.pixels.front() = 0x01000000;
    }
    if (ImageList_Add(list.get(), image.handle.get(), nullptr) < 0) {
        throwSystemException(L"Could not add image", ZU_HERE);
    }
}

void drawCheckBox(const PixelBitmap& image, Size size, std::int32_t margin, UINT state) {
    const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    const SelectedObject selected(context.get(), image.handle.get());
    RECT box{margin, margin, size.width - margin, size.height - margin};
    DrawFrameControl(context.get(), &box, DFC_BUTTON, DFCS_BUTTONCHECK | DFCS_FLAT | state);
    GdiFlush();
    const auto width = static_cast<std::size_t>(size.width);
    for (std::int32_t y = box.top; y < box.bottom; ++y) {
        for (std::int32_t x = box.left; x < box.right; ++x) {
            image.pixels[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)] |=
                kOpaque;
        }
    }
}

COLORREF colorOr(const Control& control, ColorRole role, int systemColor) noexcept {
    const auto& colors = control.colors();
    const Color color = colors ? colors->color(role) : Color();
    return color.isSet ? nativeColor(color) : GetSysColor(systemColor);
}

}  // namespace

ItemControlWin32Gdi::~ItemControlWin32Gdi() { releaseItems(); }

ItemControlWin32Gdi::BulkMirroring::BulkMirroring(ItemControlWin32Gdi& control) noexcept
    : control_(control), mirroring_(control) {
    control_.send(WM_SETREDRAW, FALSE);
}

ItemControlWin32Gdi::BulkMirroring::~BulkMirroring() {
    control_.burst_ = 0;
    control_.resumeRedraw();
}

void ItemControlWin32Gdi::resumeRedraw() noexcept {
    if (window() == nullptr) {
        return;
    }
    send(WM_SETREDRAW, TRUE);
    // Which shows a hidden window.
    if (!control().isShown()) {
        ShowWindow(window(), SW_HIDE);
    }
    InvalidateRect(window(), nullptr, TRUE);
}

std::size_t ItemControlWin32Gdi::deferRedraw() noexcept {
    const Mirroring mirroring(*this);
    if (burst_ != 0) {
        return ++burst_;
    }
    if (PostMessageW(window(), WM_NULL, 0, 0)) {
        burst_ = 1;
        send(WM_SETREDRAW, FALSE);
    }
    return 1;
}

void ItemControlWin32Gdi::settle() noexcept {
    if (std::exchange(burst_, 0) != 0) {
        const Mirroring mirroring(*this);
        resumeRedraw();
    }
}

bool ItemControlWin32Gdi::letWindowAnswer(const WindowMessage& message, LRESULT& result) noexcept {
    {
        const Answering answering(*this);
        result = answerByDefault(message);
    }
    return !isAnswering() && !isMirroring();
}

bool ItemControlWin32Gdi::onWindowMessage(const WindowMessage&, LRESULT&) {
    if (!isMirroring()) {
        settle();
    }
    return false;
}

std::optional<ItemControlWin32Gdi::Colors> ItemControlWin32Gdi::changedColors() {
    const Colors wanted{
        colorOr(control(), ColorRole::kText, COLOR_WINDOWTEXT),
        colorOr(control(), ColorRole::kBackground, COLOR_WINDOW),
    };
    if (colors_ == wanted) {
        return std::nullopt;
    }
    colors_ = wanted;
    return wanted;
}

bool ItemControlWin32Gdi::updateImages(const BitmapListDescriptor* descriptor, bool always) {
    ImageRequest wanted;
    if (descriptor != nullptr) {
        wanted = {descriptor->identifiers(), descriptor->size(), control().scale(1.0)};
    }
    if (always || request_ != wanted) {
        images_ = descriptor != nullptr ? makeImages(*descriptor) : ImageListHandle();
        request_ = std::move(wanted);
        imagesPushed_ = false;
    }
    return !std::exchange(imagesPushed_, true);
}

ImageListHandle ItemControlWin32Gdi::makeImages(const BitmapListDescriptor& descriptor) const {
    const Size size{std::max(control().scale(descriptor.size().width), 1),
                    std::max(control().scale(descriptor.size().height), 1)};
    const auto service = control().windowService();
    ImageListHandle list = makeList(size, static_cast<int>(descriptor.identifiers().size()));
    for (const std::uint64_t identifier : descriptor.identifiers()) {
        const PixelBitmap image(size);
        const auto bitmap =
            service ? service->getBitmap(BitmapDescriptor(identifier, descriptor.size())) : nullptr;
        if (bitmap && bitmapBackend(*bitmap).hasNativeObject()) {
            copyPixels(image, size, bitmapBackend(*bitmap));
        }
        append(list, image);
    }
    return list;
}

bool ItemControlWin32Gdi::updateCheckImages(bool show, UINT firstState) {
    CheckRequest wanted;
    if (show) {
        wanted = {true, std::max(control().scale(kCheckImageSize), 1), GetSysColor(COLOR_WINDOW),
                  GetSysColor(COLOR_WINDOWTEXT)};
    }
    if (checkRequest_ == wanted) {
        return false;
    }
    ImageListHandle list;
    if (show) {
        const Size size{wanted.extent, wanted.extent};
        list = makeList(size, static_cast<int>(kChecked - firstState + 1));
        for (UINT state = firstState; state <= kChecked; ++state) {
            const PixelBitmap image(size);
            if (state != 0) {
                drawCheckBox(image, size, kCheckMargin, state == kChecked ? DFCS_CHECKED : 0);
            }
            append(list, image);
        }
    }
    checkImages_ = std::move(list);
    checkRequest_ = wanted;
    return true;
}

void ItemControlWin32Gdi::forgetPushed() noexcept {
    colors_.reset();
    imagesPushed_ = false;
    checkRequest_.reset();
    burst_ = 0;
}

void ItemControlWin32Gdi::releaseItems() noexcept {
    destroyWindow();
    forgetPushed();
    request_.reset();
    images_.reset();
    checkImages_.reset();
}

}  // namespace zustd
