// The pages of the gallery and what they are built with.
//
// A page is one source file with one function that fills a PageBuilder, and one
// line in the list of Pages.cpp. It is built anew whenever it is shown or the
// language changes, so it may look texts up while it builds.
//
// Something that opens over the page (a menu, a dialog, a message box) is a
// scene: a button that opens it, and for screenshots how to close it again.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ZuControl.h"
#include "ZuWindowService.h"

namespace zustd::gallery {

// A line of text on the page, in the font that fields have. One that is as high
// as the field beside it stands on the base line of the field's first line.
class Text : public Control {
public:
    Text(std::wstring text, bool isHeading);

    Size preferredSize() override;

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    std::shared_ptr<Font> font() const;

    std::wstring text_;
    bool isHeading_;
};

// Blocks until what it opens is closed; closes what is open.
struct Scene {
    std::wstring name;
    std::function<void()> open;
    std::function<void()> close;
};

class PageBuilder {
public:
    // Both outlive the builder; the builder lives as long as its page.
    PageBuilder(WindowService& windows, Control& page);

    WindowService& windows() const noexcept { return windows_; }
    Control& page() const noexcept { return page_; }

    // A heading and below it a row, which what is added later goes to; the row
    // breaks where the page ends.
    void section(const std::wstring& heading);
    // Adds a widget to the row. A size is in pixels at a scaling factor of 1;
    // without one the widget has the size that it prefers. Throws when the
    // window service had no such widget to give.
    template <class W>
    std::shared_ptr<W> add(std::shared_ptr<W> widget, Size size = {}) {
        place(widget, size);
        return widget;
    }
    // What follows begins below.
    void breakLine();
    // Gives everything its size and its place within the page's size. To be
    // called when all has been added and the page has its surface.
    void finish();
    // Handles a message of a control; the second word is passed.
    void on(Control& control, const MessageKind& kind, std::function<void(MessageWord)> handler);

    // A button with this caption that opens the scene.
    void scene(const std::wstring& caption, Scene scene);
    const std::vector<Scene>& scenes() const noexcept { return scenes_; }

private:
    void place(const std::shared_ptr<Control>& widget, Size size);

    WindowService& windows_;
    Control& page_;
    std::shared_ptr<Control> row_;
    // Those that get the size that they prefer.
    Controls measured_;
    std::vector<Scene> scenes_;
};

// A text as it stands; one of the string tables, by its number.
std::shared_ptr<TextDescriptor> literal(const std::wstring& text);
std::shared_ptr<TextDescriptor> numbered(std::uint64_t key);

struct Page {
    // Of the screenshots' files.
    const wchar_t* name;
    const wchar_t* title;
    void (*build)(PageBuilder& builder);
};

std::span<const Page> pages() noexcept;

}  // namespace zustd::gallery
