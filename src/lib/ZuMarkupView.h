// A view of a short formatted text, written in a small tag language.
//
// The language is ZuMarkup's. Parsing turns the text into child controls, one for each word, run or
// link, and the row layout puts them into lines. Elements are light: they share their fonts, listen
// to nothing, and are measured once, so that a view that is resized only places them anew.
//
// The markup may come from outside: parsing makes no more than kMaxElements
// elements, and a link sends the message that it names only when there is such a
// kind and it says of itself that its words are numbers (MessageWords::kNumbers).
//
// The view is as large as its text: parsing makes it so, and tells whoever holds it. A view that is
// auto-sized keeps the width that it has and takes the height alone, and what places the view in a
// layout or scrolls it gives it any other size, which is forgotten with the next.
#pragma once

#include <map>

#include "ZuLink.h"
#include "ZuMarkup.h"

namespace zustd {

// A word, a run, or the blank of a line break.
class MarkupText : public Control {
public:
    MarkupText(std::wstring_view text, std::shared_ptr<Font> font, Size size);

    const std::wstring& text() const noexcept { return text_; }
    Size preferredSize() override { return size_; }

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    std::wstring text_;
    // Null when the backend had none; the text is not seen then.
    std::shared_ptr<Font> font_;
    Size size_;
};

// A link within a markup view.
class MarkupLink : public Link {
public:
    MarkupLink(const std::wstring& text, std::wstring message, std::shared_ptr<Font> font,
               Size size);

    // The name of the message that the view sends for a click; may be empty.
    const std::wstring& message() const noexcept { return message_; }
    Size preferredSize() override { return size_; }

protected:
    FontStyle fontStyle() const override;

private:
    std::wstring message_;
    std::shared_ptr<Font> font_;
    Size size_;
};

class MarkupView : public Control, private IMarkupHandler {
public:
    // Markup that wants more leaves the rest out, with a line of trace.
    static constexpr std::size_t kMaxElements = 200'000;

    explicit MarkupView(std::wstring markup = {});
    void initialize() override { watch(font_.get()); }

    const std::wstring& markup() const noexcept { return markup_; }
    // Parses at once when the view reaches its services, otherwise as soon as it is on a surface.
    bool setMarkup(std::wstring_view markup);
    // Whether text is cut into words and wrapped; the markup may set it too.
    bool setWordWrap(bool wraps);
    // The font of the moment while parsing. Its face is the view's and may be
    // set; the rest is reset when parsing begins.
    FontDescriptor& font() noexcept { return *font_; }

    // A width that differs is what words wrap at from now on.
    bool setBoundary(const Rect& boundary) override;
    // Of the text, wrapped at the maximum width or else at the width that the program or the markup
    // gave the view last, plus twice the margins; within the maximum size. Auto-sized, it is as
    // high as the width that it has asks for.
    Size preferredSize() override;
    Size preferredSizeForWidth(std::int32_t width) override {
        return sizeWithin(areaWithin(width));
    }
    // A left click on a link sends its message; the words are the view and 0.
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

    // --- Slot order is fixed. Elements that are added outside of parsing are
    // put into place by the next arrange().

    // Rebuilds the elements, which are all the children that the view has, and
    // takes their size. Fails the assertions "gs" and "ws" when there is
    // something to show and no graphics or window service.
    virtual void parseMarkup();
    // Each adds elements in the font of the moment, failing the same assertions.
    virtual void addText(std::wstring_view text, bool breaksLine);
    void addLink(const std::wstring& text, const std::wstring& message) override;
    // One element a word. A word ends with its delimiter, " " or "-", or with
    // the text, so that the elements together are the text.
    virtual void addWords(std::wstring_view text);
    // One blank. On a line that has something already it takes no room.
    void addLineBreak() override;
    // The area that the view's settings leave to the elements. Parsing asks
    // for it whenever it has changed a setting.
    virtual Rect layoutArea() const {
        return areaWithin(givenWidth_ > 0 ? givenWidth_ : kUnlimited);
    }

protected:
    void arrangeChildren() override;
    void onJoinedSurface() override {
        Control::onJoinedSurface();
        parseWhenPossible();
    }
    void onDescriptorChanged() override;

private:
    using Services = std::pair<std::shared_ptr<GraphicsService>, std::shared_ptr<WindowService>>;

    void addRun(const std::wstring& text) override {
        wordWrap_ ? addWords(text) : addText(text, false);
    }
    MarkupSettings settings() const override { return {{}, arrangement(), placement(), wordWrap_}; }
    void onSettings(const MarkupSettings& settings) override;

    bool hasRoom();
    // The font of the moment and the text's size in it.
    std::pair<std::shared_ptr<Font>, Size> measured(std::wstring_view text);
    Arrangement rows() const;
    Rect areaWithin(std::int32_t width) const;
    Size sizeWithin(const Rect& area);
    void takeSize();
    bool reachesServices() const { return windowService() && graphicsService(); }
    void parseWhenPossible();
    bool parseAnew();
    void sendFromLink(const MarkupLink& link);

    std::wstring markup_;
    std::shared_ptr<FontDescriptor> font_ = std::make_shared<FontDescriptor>();
    // One for each state that the font has had.
    std::map<FontStyle, std::shared_ptr<Font>> fonts_;
    // The face that all elements have.
    std::wstring face_;
    // Those of the parsing under way.
    Services services_;
    Rect layoutArea_;
    // The width that program or markup gave the view; 0 before.
    std::int32_t givenWidth_ = 0;
    bool wordWrap_ = false;
    bool parsing_ = false;
    // The markup has not been parsed yet.
    bool waiting_;
    bool full_ = false;
};

}  // namespace zustd
