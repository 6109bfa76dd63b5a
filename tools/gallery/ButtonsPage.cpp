#include "Pages.h"
#include "ZuNativeButton.h"

namespace zustd::gallery {

namespace {

constexpr std::uint64_t kStringClose = 9009;
constexpr std::uint64_t kStringApply = 9011;
constexpr std::uint64_t kStringBrowse = 9016;
constexpr std::uint64_t kImageFolder = 120;

std::shared_ptr<NativeButton> addButton(PageBuilder& builder, ButtonKind kind,
                                        const std::shared_ptr<TextDescriptor>& caption) {
    auto button = builder.add(builder.windows().createNativeButton());
    button->setKind(kind);
    button->setCaption(caption);
    return button;
}

void addMarks(PageBuilder& builder, ButtonKind kind) {
    addButton(builder, kind, literal(L"&First"))->setChecked(true);
    addButton(builder, kind, literal(L"&Second"));
    addButton(builder, kind, numbered(kStringDoNotShowAgain));
    builder.breakLine();
    const auto disabled = addButton(builder, kind, literal(L"Disabled"));
    disabled->setEnabled(false);
    const auto checked = addButton(builder, kind, literal(L"Disabled and checked"));
    checked->setEnabled(false);
    checked->setChecked(kind == ButtonKind::kCheck);
}

}  // namespace

void buildButtons(PageBuilder& builder) {
    builder.section(L"Push buttons");
    addButton(builder, ButtonKind::kDefaultPush, numbered(kStringOk));
    addButton(builder, ButtonKind::kPush, numbered(kStringCancel));
    addButton(builder, ButtonKind::kPush, numbered(kStringApply));
    addButton(builder, ButtonKind::kPush, literal(L"Disabled"))->setEnabled(false);
    builder.breakLine();
    addButton(builder, ButtonKind::kPush, literal(L"&A caption && its access key, rather long"));
    addButton(builder, ButtonKind::kPush, numbered(kStringClose))
        ->tooltip()
        .setLiteral(L"Closes nothing");

    builder.section(L"With images");
    for (const bool enabled : {true, false}) {
        const auto button = addButton(builder, ButtonKind::kPush, numbered(kStringBrowse));
        button->setBitmap(std::make_shared<BitmapDescriptor>(kImageFolder, Size{16, 16}));
        button->setEnabled(enabled);
    }
    auto style = std::make_shared<FontDescriptor>();
    style->setBold(true);
    style->setSize(14);
    addButton(builder, ButtonKind::kPush, literal(L"Large"))->setFont(style);

    builder.section(L"Check boxes");
    addMarks(builder, ButtonKind::kCheck);
    builder.section(L"Radio buttons");
    addMarks(builder, ButtonKind::kRadio);
}

}  // namespace zustd::gallery
