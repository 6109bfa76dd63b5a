#include "ZuMarkup.h"

#include "ZuXml.h"

namespace zustd {

namespace {

// What an attribute of the control tag sets.
void apply(const XmlAttribute& attribute, MarkupSettings& settings) {
    auto& [size, arrangement, placement, wrapsWords] = settings;
    const struct {
        std::wstring_view name;
        std::int32_t& number;
        std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    } numbers[] = {
        {L"width", size.width, 1},
        {L"height", size.height, 1},
        {L"maxwidth", placement.maximum.width},
        {L"maxheight", placement.maximum.height},
        {L"hmargin", arrangement.margin.width},
        {L"vmargin", arrangement.margin.height},
        {L"hspacing", arrangement.spacing.width},
        {L"vspacing", arrangement.spacing.height},
    };
    for (const auto& [name, number, lowest] : numbers) {
        if (name == attribute.name) {
            number = std::max(Xml::toLong(attribute.value), lowest);
        }
    }
    if (attribute.name == L"autosize") {
        placement.autoSized = attribute.value == L"true";
    } else if (attribute.name == L"wordwrap") {
        wrapsWords = attribute.value == L"true";
    }
}

// The five entities are characters, every other "&" is one itself.
std::wstring decoded(std::wstring_view raw) {
    std::wstring text;
    text.reserve(raw.size());
    const wchar_t* at = raw.data();
    XmlRange in(at, raw.data() + raw.size());
    while (in.peek() != XmlRange::kEnd) {
        if (const wchar_t entity = xml::takeEntity(in); entity != 0) {
            text.push_back(entity);
        } else {
            text.push_back(static_cast<wchar_t>(in.peek()));
            in.skip();
        }
        text.append(xml::takePlainText(in));
    }
    return text;
}

// Those before the first fault.
std::vector<XmlAttribute> attributesOf(std::wstring_view text) {
    std::vector<XmlAttribute> attributes;
    Xml::parseAttributes(text, attributes);
    return attributes;
}

class MarkupReader {
public:
    MarkupReader(FontDescriptor& font, IMarkupHandler& handler) noexcept
        : font_(font), handler_(handler) {}

    // markup = { run | tag } ;
    void read(std::wstring_view rest) {
        while (!rest.empty()) {
            const std::size_t open = std::min(rest.find(L'<'), rest.size());
            takeRun(rest.substr(0, open));
            rest.remove_prefix(open);
            const std::size_t close = rest.find(L'>');
            if (close == std::wstring_view::npos) {
                // A bracket that nothing closes is text like the rest.
                takeRun(rest);
                return;
            }
            takeTag(rest.substr(1, close - 1));
            rest.remove_prefix(close + 1);
        }
    }

private:
    void takeRun(std::wstring_view raw) {
        if (raw.empty()) {
            return;
        }
        const std::wstring text = decoded(raw);
        if (inLink_) {
            linkText_ += text;
        } else {
            handler_.addRun(text);
        }
    }

    // tag = name , [ " " , attributes ] ;
    void takeTag(std::wstring_view tag) {
        const std::size_t blank = std::min(tag.find(L' '), tag.size());
        const std::wstring_view name = tag.substr(0, blank);
        const std::wstring_view attributes = tag.substr(blank);
        const bool on = !name.starts_with(L'/');
        const std::wstring_view flag = name.substr(on ? 0 : 1);
        if (name == L"br/") {
            handler_.addLineBreak();
        } else if (name == L"a") {
            openLink(attributes);
        } else if (name == L"/a") {
            closeLink();
        } else if (name == L"control") {
            applySettings(attributes);
        } else if (name == L"font") {
            for (const XmlAttribute& attribute : attributesOf(attributes)) {
                if (attribute.name == L"size") {
                    font_.setSize(Xml::toLong(attribute.value));
                }
            }
        } else if (name == L"/font") {
            // All of it: what is still bold, italic or underlined ends here too.
            font_.reset();
        } else if (flag == L"b") {
            font_.setBold(on);
        } else if (flag == L"i") {
            font_.setItalic(on);
        } else if (flag == L"u") {
            font_.setUnderline(on);
        }
    }

    // One that is open still is forgotten with its text.
    void openLink(std::wstring_view attributes) {
        inLink_ = true;
        linkText_.clear();
        linkMessage_.clear();
        for (const XmlAttribute& attribute : attributesOf(attributes)) {
            if (attribute.name == L"leftclickmessage") {
                linkMessage_ = decoded(attribute.value);
            }
        }
    }

    void closeLink() {
        if (std::exchange(inLink_, false) && !linkText_.empty()) {
            handler_.addLink(linkText_, linkMessage_);
        }
    }

    void applySettings(std::wstring_view attributes) {
        MarkupSettings settings = handler_.settings();
        for (const XmlAttribute& attribute : attributesOf(attributes)) {
            apply(attribute, settings);
        }
        handler_.onSettings(settings);
    }

    FontDescriptor& font_;
    IMarkupHandler& handler_;
    bool inLink_ = false;
    std::wstring linkText_;
    std::wstring linkMessage_;
};

}  // namespace

void readMarkup(std::wstring_view markup, FontDescriptor& font, IMarkupHandler& handler) {
    MarkupReader(font, handler).read(markup);
}

}  // namespace zustd
