#include "Pages.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeTextBox.h"

namespace zustd::gallery {

namespace {

constexpr std::int32_t kLabelWidth = 72;
constexpr Size kField{142, 24};

std::shared_ptr<NativeTextBox> addField(PageBuilder& builder, const wchar_t* label,
                                        TextBoxKind kind, Size size = kField) {
    builder.add(makeControl<Text>(label, false), {kLabelWidth, size.height});
    auto field = builder.add(builder.windows().createNativeTextBox(), size);
    field->setKind(kind);
    return field;
}

std::shared_ptr<NativeComboBox> addList(PageBuilder& builder, const wchar_t* label, bool editable) {
    builder.add(makeControl<Text>(label, false), {kLabelWidth, kField.height});
    auto list = builder.add(builder.windows().createNativeComboBox(), kField);
    list->setEditable(editable);
    for (const wchar_t* item :
         {L"First item", L"Second item", L"An item that is rather too long"}) {
        list->addItem(item);
    }
    return list;
}

}  // namespace

void buildTexts(PageBuilder& builder) {
    builder.section(L"Text boxes");
    addField(builder, L"Text", TextBoxKind::kSingleLine)->setText(L"Gr\u00FC\u00DFe, \u4F60\u597D");
    const auto hint = addField(builder, L"Hint", TextBoxKind::kSingleLine);
    hint->setWatermark(literal(L"Type a name"));
    builder.breakLine();
    addField(builder, L"Password", TextBoxKind::kPassword)->setText(L"secret");
    const auto readOnly = addField(builder, L"Read-only", TextBoxKind::kSingleLine);
    readOnly->setText(L"Cannot be changed");
    readOnly->setReadOnly(true);
    builder.breakLine();
    const auto disabled = addField(builder, L"Disabled", TextBoxKind::kSingleLine);
    disabled->setText(L"Cannot be used");
    disabled->setEnabled(false);
    builder.breakLine();
    addField(builder, L"Lines", TextBoxKind::kMultiLine, {372, 84})
        ->setText(
            L"First line\nA second line that is so long that it has to be wrapped at the "
            L"right edge of the field\n\nFourth\nFifth\nSixth\nSeventh");

    builder.section(L"Combo boxes");
    addList(builder, L"Chosen", false)->selectItem(1);
    addList(builder, L"Hint", false)->setCaption(literal(L"Choose one"));
    builder.breakLine();
    addList(builder, L"Editable", true)->setText(L"Typed");
    const auto off = addList(builder, L"Disabled", false);
    off->selectItem(2);
    off->setEnabled(false);
}

}  // namespace zustd::gallery
