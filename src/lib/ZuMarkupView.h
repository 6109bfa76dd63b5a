// A view of a short formatted text, written in a small tag language.
//
// docs/formats/markup.md is the language's reference. Parsing turns the text
// into child controls, one for each word, run or link, and the row layout puts
// them into lines. Elements are light: they share their fonts, one for each
// state of the font that the text uses, listen to nothing, and are measured
// once, so that a view that is resized only places them anew.
//
// The markup may come from outside. Whatever it is, parsing takes time and
// memory in proportion to its length, and no more than kMaxElements elements;
// what is no markup is text or is passed over. A link sends the message that
// it names only when there is such a kind and it says of itself that its words
// are numbers (MessageWords::kNumbers).
//
// The view is as large as its text: parsing makes it so, and tells whoever
// holds it. A view that is auto-sized keeps the width that it has and takes the
// height alone, and what places the view in a layout or scrolls it gives it any
// other size, which is forgotten with the next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ZuControl.h"
#include "ZuLink.h"

namespace zustd {

struct XmlAttribute;

// A font that elements share.
struct MarkupFont {
    FontStyle style;
    // Null when the backend had none; such text is not seen.
    std::shared_ptr<Font> font;
    std::int32_t lineHeight = 0;
};

// A word, a run, or the blank of a line break.
class MarkupText : public Control {
public:
    MarkupText(std::wstring_view text, std::shared_ptr<const MarkupFont> font, Size size);

    const std::wstring& text() const noexcept { return text_; }
    const FontStyle& fontStyle() const noexcept { return font_->style; }
    Size preferredSize() override { return size_; }

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    std::wstring text_;
    std::shared_ptr<const MarkupFont> font_;
    Size size_;
};

// A link of the markup: keeps the name of the message that the view sends when
// it is clicked.
class MarkupLink : public Link {
public:
    MarkupLink(const std::wstring& text, std::wstring message,
               std::shared_ptr<const MarkupFont> font, Size size);

    // The name of the message's kind; may be empty.
    const std::wstring& message() const noexcept { return message_; }
    const FontStyle& markupStyle() const noexcept { return font_->style; }
    Size preferredSize() override { return size_; }

protected:
    FontStyle fontStyle() const override;

private:
    std::wstring message_;
    std::shared_ptr<const MarkupFont> font_;
    Size size_;
};

class MarkupView : public Control {
public:
    // Markup that wants more leaves the rest out, with a line of trace.
    static constexpr std::size_t kMaxElements = 200'000;
    // Sizes of fonts, in points, are taken to the nearest within these.
    static constexpr std::int32_t kSmallestFont = 1;
    static constexpr std::int32_t kLargestFont = 144;

    MarkupView();
    explicit MarkupView(std::wstring markup);
    void initialize() override;

    const std::wstring& markup() const noexcept { return markup_; }
    // Parses at once when the view can reach its services, otherwise as soon
    // as it comes onto a surface.
    bool setMarkup(std::wstring_view markup);
    // Whether text is cut into words and wrapped; the markup may set it too.
    bool wrapsWords() const noexcept { return wordWrap_; }
    bool setWordWrap(bool wraps);
    // The font of the moment while parsing. Its face is the view's and may be
    // set; the rest is reset when parsing begins.
    FontDescriptor& font() noexcept { return *font_; }

    // A width that differs is what words wrap at from now on.
    bool setBoundary(const Rect& boundary) override;
    // Of the text, wrapped at the maximum width or else at the width that the
    // program or the markup gave the view last, plus twice the margins; within
    // the maximum size. Auto-sized, it is as high as the width that it has asks
    // for.
    Size preferredSize() override;
    Size preferredSizeForWidth(std::int32_t width) override;
    // A left click on a link sends its message; the words are the view and 0.
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

    // --- Slot order is fixed. Elements that are added outside of parsing are
    // put into place by the next arrange().

    // Rebuilds the elements, which are all the children that the view has, and
    // takes their size. Fails the assertions "gs" and "ws" when there is
    // something to show and no graphics or window service.
    virtual void parseMarkup();
    // Each adds elements in the font of the moment.
    virtual void addText(std::wstring_view text, bool breaksLine);
    virtual void addLink(const std::wstring& text, const std::wstring& message);
    // One element a word. A word ends with its delimiter, " " or "-", or with
    // the text, so that the elements together are the text.
    virtual void addWords(std::wstring_view text);
    virtual void addLineBreak();
    // The area that the view's settings leave to the elements. Parsing asks
    // for it whenever it has changed a setting.
    virtual Rect layoutArea() const;

protected:
    void arrangeChildren() override;
    void onJoinedSurface() override;
    void onDescriptorChanged() override;

private:
    class ParseScope;
    struct OpenLink {
        bool isOpen = false;
        std::wstring message;
        std::wstring text;
    };

    void addRun(std::wstring_view raw);
    void applyTag(std::wstring_view tag);
    void applyFontTag(std::wstring_view tag);
    void openLink(std::wstring_view attributes);
    void closeLink();
    void applySettings(std::wstring_view attributes);
    void applySetting(const XmlAttribute& attribute);
    bool applyFlag(const std::wstring& name, bool value);
    const std::shared_ptr<const MarkupFont>& currentFont();
    bool hasRoom();
    Size measureText(std::wstring_view text);
    Arrangement rows() const;
    Rect areaWithin(std::int32_t width) const;
    Size sizeWithin(const Rect& area);
    void takeSize();
    bool reachesServices() const;
    void parseWhenPossible();
    void sendFromLink(const MarkupLink& link);

    std::wstring markup_;
    std::shared_ptr<FontDescriptor> font_ = std::make_shared<FontDescriptor>();
    // By the state of the font; those of one face.
    std::unordered_map<std::uint32_t, std::shared_ptr<const MarkupFont>> fonts_;
    std::wstring fontsFace_;
    std::shared_ptr<const MarkupFont> currentFont_;
    // Those of the parsing under way; the first also of what was added last.
    std::shared_ptr<GraphicsService> graphics_;
    std::shared_ptr<WindowService> window_;
    OpenLink link_;
    Rect layoutArea_;
    // The width that program or markup gave the view; 0 before.
    std::int32_t givenWidth_ = 0;
    bool wordWrap_ = false;
    bool parsing_ = false;
    // The markup has not been parsed yet.
    bool waiting_ = false;
    bool full_ = false;
};

}  // namespace zustd
