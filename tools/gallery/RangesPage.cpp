#include "Pages.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"

namespace zustd::gallery {

namespace {

constexpr Size kBar{372, 18};

std::shared_ptr<NativeProgressBar> addProgress(PageBuilder& builder, const wchar_t* label,
                                               std::int32_t position) {
    builder.add(makeControl<Text>(label, false), {64, kBar.height});
    auto bar = builder.add(builder.windows().createNativeProgressBar(), kBar);
    bar->setPosition(position);
    builder.breakLine();
    return bar;
}

std::shared_ptr<NativeScrollBar> addScroll(PageBuilder& builder, bool vertical, Size size) {
    auto bar = builder.add(builder.windows().createNativeScrollBar(vertical), size);
    bar->setRange(0, 199);
    bar->setPageSize(40);
    bar->setPosition(60);
    return bar;
}

}  // namespace

void buildRanges(PageBuilder& builder) {
    builder.section(L"Progress bars");
    addProgress(builder, L"Normal", 60);
    addProgress(builder, L"Full", 100);
    addProgress(builder, L"Paused", 40)->setState(ProgressState::kPaused);
    addProgress(builder, L"Error", 80)->setState(ProgressState::kError);
    addProgress(builder, L"Endless", 0)->setEnableMarqueeAnimation(true);

    builder.section(L"Scroll bars");
    const auto driver = addScroll(builder, false, {260, 17});
    const auto follower = builder.add(builder.windows().createNativeProgressBar(), {160, 17});
    follower->setRange(0, driver->highestPosition());
    follower->setPosition(driver->position());
    builder.on(*driver, Control::kScrolled, [bar = std::weak_ptr(follower)](MessageWord position) {
        if (const auto shown = bar.lock()) {
            shown->setPosition(static_cast<std::int32_t>(position.number()));
        }
    });
    builder.breakLine();
    addScroll(builder, false, {260, 17})->setEnabled(false);
    builder.breakLine();
    addScroll(builder, true, {17, 110});
    addScroll(builder, true, {17, 110})->setEnabled(false);
}

}  // namespace zustd::gallery
