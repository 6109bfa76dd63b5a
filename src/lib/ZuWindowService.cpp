#include "ZuWindowService.h"

#include <cmath>

#include "ZuApplicationService.h"
#include "ZuControl.h"
#include "ZuGraphicsService.h"

namespace zustd {

namespace {

// Which operation of the backend asks with the style's buttons.
auto questionOf(std::uint32_t style) noexcept {
    switch (style & kMessageButtonMask) {
        case kMessageOkCancel:
            return &IWindowServiceImpl::askOKCancel;
        case kMessageYesNoCancel:
            return &IWindowServiceImpl::askYesNoCancel;
        case kMessageYesNo:
            return &IWindowServiceImpl::askYesNo;
        default:
            return &IWindowServiceImpl::showMessage;
    }
}

Size scaled(Size size, double factor) noexcept {
    return {static_cast<std::int32_t>(std::lround(size.width * factor)),
            static_cast<std::int32_t>(std::lround(size.height * factor))};
}

}  // namespace

int WindowService::showMessage(const std::wstring& text, const std::wstring& caption,
                               std::uint32_t style, const std::wstring& rememberKey) {
    IWindowServiceImpl& backend = implementation();
    int answer = kAnswerNone;
    guarded(ZU_OPERATION, [&] {
        const auto preferences = rememberKey.empty() ? nullptr : preferencesOf(*this);
        MessageBoxContent box;
        box.text = text;
        box.caption = caption;
        box.style = style;
        box.rememberKey = preferences ? rememberKey : std::wstring();
        completeMessageBox(box, *this);
        answer = preferences ? rememberedAnswer(*preferences, box) : kAnswerNone;
        if (answer != kAnswerNone) {
            return;
        }
        answer = (backend.*questionOf(style))(box);
        if (preferences) {
            rememberAnswer(*preferences, box, answer);
        }
    });
    return answer;
}

std::shared_ptr<Bitmap> WindowService::getBitmap(const BitmapDescriptor& descriptor) {
    if (descriptor.resource().identifier == 0) {
        return nullptr;
    }
    return implementation().getBitmap(descriptor.resource(),
                                      scaled(descriptor.size(), getScalingFactor()));
}

std::wstring WindowService::selectFileToOpen(const std::wstring& initialFileName,
                                             const std::vector<std::wstring>& patterns,
                                             const std::vector<std::wstring>& patternNames,
                                             bool allowMultiSelect) {
    ZU_ASSERT(patterns.size() == patternNames.size());
    ZU_ASSERT_AS(initialFileName.size() < kFileNameBufferSize, L"initialFileName.size() < bufSize",
                 ZU_HERE);
    if (allowMultiSelect) {
        throwText(L"allowMultiSelect not implemented", ZU_HERE);
    }
    return implementation().selectFileToOpen(initialFileName, patterns, patternNames);
}

void furnishSurface(Control& surface, const std::shared_ptr<WindowService>& windowService,
                    const std::shared_ptr<GraphicsService>& graphicsService) {
    // Not attached: the services would hold the surface that holds them.
    surface.registerService(windowService, false, true);
    surface.registerService(graphicsService, false, true);
}

}  // namespace zustd
