#include "Pages.h"
#include "ZuLabel.h"
#include "ZuMarkupView.h"
#include "ZuScrollable.h"

namespace zustd::gallery {

namespace {

const MessageKind kLinkOne(L"linkOne.Gallery", MessageWords::kNumbers);
const MessageKind kLinkTwo(L"linkTwo.Gallery", MessageWords::kNumbers);

constexpr wchar_t kPlain[] =
    L"<control hmargin=\"8\" vmargin=\"4\" vspacing=\"2\">"
    L"Plain, <b>bold</b>, <i>italic</i>, <u>underlined</u>, <font size=\"18\">large</font> and "
    L"<font size=\"8\">small</font>.<br/>"
    L"&lt;b&gt; &amp; others are entities.<br/>"
    L"A <a leftclickmessage=\"linkOne.Gallery\">first link</a>, a "
    L"<b><a leftclickmessage=\"linkTwo.Gallery\">second one</a></b>, and "
    L"<a leftclickmessage=\"nobody.Knows\">one that leads nowhere</a>.";

std::wstring makeLongMarkup() {
    std::wstring markup =
        L"<control wordwrap=\"true\" hmargin=\"8\" vmargin=\"6\" vspacing=\"3\">"
        L"<font size=\"16\"><b>A text that wraps</font><br/><br/>";
    for (int i = 1; i <= 12; ++i) {
        markup += L"<b>Paragraph " + std::to_wstring(i) +
                  L".</b> Words are cut at blanks and at hy-phens, so that every line takes as "
                  L"many of them as fit; <i>a window that gets another width</i> puts them into "
                  L"lines anew. <a leftclickmessage=\"linkOne.Gallery\">Links</a> are reached by "
                  L"Tab and come into view.<br/><br/>";
    }
    return markup;
}

}  // namespace

void buildMarkup(PageBuilder& builder) {
    builder.section(L"As large as its text");
    const auto plain = builder.add(makeControl<MarkupView>(kPlain));
    builder.section(L"Wrapped and scrolled");
    const auto scrolled = builder.add(makeControl<Scrollable<MarkupView>>(), {450, 215});
    auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, Color::rgb(0xFF, 0xFF, 0xFF));
    scrolled->setColors(colors);
    scrolled->content().setMarkup(makeLongMarkup());
    builder.breakLine();
    const auto heard = builder.add(makeControl<Label>(L"No link clicked yet"), {300, 20});
    for (Control* view :
         {static_cast<Control*>(plain.get()), static_cast<Control*>(&scrolled->content())}) {
        for (const MessageKind* kind : {&kLinkOne, &kLinkTwo}) {
            builder.on(*view, *kind, [label = heard.get(), kind](MessageWord) {
                label->setText(L"Clicked: " + std::wstring(kind->name()));
            });
        }
    }
}

}  // namespace zustd::gallery
