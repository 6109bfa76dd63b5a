#include "Pages.h"
#include "ZuButton.h"
#include "ZuCaption.h"
#include "ZuForkControl.h"
#include "ZuIcon.h"
#include "ZuLabel.h"
#include "ZuLink.h"
#include "ZuNativeButton.h"

namespace zustd::gallery {

namespace {

constexpr std::uint64_t kMessageImage = 100;
constexpr std::uint64_t kFolderImage = 121;

std::shared_ptr<FontDescriptor> fontOf(std::int32_t size, bool bold = false) {
    FontStyle style;
    style.size = size;
    style.bold = bold;
    return std::make_shared<FontDescriptor>(style);
}

void addTexts(PageBuilder& builder) {
    builder.section(L"Captions, labels, links");
    builder.add(makeControl<Caption>(L"A caption, bold as it comes"));
    const auto large = builder.add(makeControl<Caption>(L"One too long for its room"), {150, 26});
    large->setFont(fontOf(14));
    const auto link = builder.add(makeControl<Link>(L"A link"));
    link->tooltip().setLiteral(
        L"Links have tooltips, too: this one is rather long and is wrapped "
        L"where the tooltip's maximum width ends.");
    const auto count = builder.add(makeControl<Label>(L"not clicked"), {90, 20});
    builder.on(*link, Link::kLeftClicked, [label = count.get(), clicks = 0](MessageWord) mutable {
        label->setText(L"clicked " + std::to_wstring(++clicks) + L" times");
    });
    builder.breakLine();
    const auto off = builder.add(makeControl<Link>(L"A link that is off"));
    off->setEnabled(false);
    const auto wrapped = builder.add(
        makeControl<Label>(L"A label that wraps its words where its room ends, in the middle"),
        {215, 56});
    wrapped->setFont(fontOf(9));
    wrapped->setWordWrap(true);
    wrapped->setTextAlignment(TextAlignment::kCentre, TextAlignment::kCentre);
    builder.breakLine();
    const auto keys = builder.add(makeControl<Label>(L"With an &access key && more"));
    keys->setAccessKeys(true);
}

void addButtons(PageBuilder& builder) {
    builder.section(L"Buttons and icons");
    const auto plain = builder.add(makeControl<Button>(L"&Push"));
    plain->tooltip().setLiteral(L"A drawn button");
    const auto bold = builder.add(makeControl<Button>(L"&Toggle"));
    bold->setToggles(true);
    bold->setChecked(true);
    const auto image = makeControl<Button>(L"With an image");
    image->setBitmap(std::make_shared<BitmapDescriptor>(kMessageImage, Size{16, 16}));
    builder.add(image);
    const auto off = makeControl<Button>(L"Off");
    off->setBitmap(std::make_shared<BitmapDescriptor>(kMessageImage, Size{16, 16}));
    off->setEnabled(false);
    builder.add(off);
    const auto bitmap = std::make_shared<BitmapDescriptor>(kFolderImage, Size{24, 24});
    for (const double opacity : {1.0, 0.5}) {
        const auto icon = builder.add(makeControl<Icon>(bitmap), {24, 24});
        icon->setOpacity(opacity);
    }
    const auto pale = builder.add(makeControl<Icon>(bitmap), {24, 24});
    pale->setEnabled(false);
}

void addForks(PageBuilder& builder) {
    builder.section(L"What opens and closes");
    const auto fork = builder.add(makeControl<ForkControl>(L"A fork, open"), {});
    const auto inner = makeControl<ForkControl>(L"Another one inside");
    inner->body().addChild(makeControl<Label>(L"Left and Right open and close it as well"));
    fork->body().addChild(makeControl<Label>(L"What lies below makes room"));
    if (const auto native = builder.windows().createNativeButton()) {
        native->setCaption(literal(L"A native button goes along"));
        fork->body().addChild(native);
        native->setSize(native->preferredSize());
    }
    fork->body().addChild(inner);
    fork->setOpen(true);
    builder.add(makeControl<ForkControl>(L"A fork, closed"));
}

}  // namespace

void buildWidgets(PageBuilder& builder) {
    addTexts(builder);
    addButtons(builder);
    addForks(builder);
}

}  // namespace zustd::gallery
