// A caption with an arrow that opens and closes what lies below it.
//
// Controls to be shown and hidden are children of its body, not of the fork
// itself. Clicks on the header, Space, Enter, Left and Right open and close;
// the fork then takes the height that it needs and sends kToggleExpandCollapse
// and kChangePreferredHeight. Forks may lie in the bodies of others.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

class ForkControl : public DrawnText {
public:
    explicit ForkControl(const std::wstring& caption = {});
    void initialize() override;

    // Stacks its children from top to bottom, which may be changed. Beside it
    // the fork has no children of its own.
    Control& body() const noexcept { return *body_; }
    bool isOpen() const noexcept { return open_; }
    bool setOpen(bool open);
    std::int32_t headerHeight() const;

    Size preferredSize() override { return withBody(open_ ? body_->preferredSize() : Size()); }
    Size preferredSizeForWidth(std::int32_t width) override;
    bool onKey(const KeyEvent& event) override;
    bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

protected:
    void drawSelf(GraphicsService& graphics) override;
    void arrangeChildren() override;
    void onJoinedSurface() override;
    void onDescriptorChanged() override;

private:
    Rect header() const { return Rect::at({}, {boundary().width(), headerHeight()}); }
    std::int32_t indent() const;
    void drawArrow(GraphicsService& graphics) const;
    Size withBody(Size body) const;
    void takeHeight() {
        const std::int32_t width = boundary().width();
        setSize({width, preferredSizeForWidth(width).height});
    }
    void tellHeight() {
        notify(kChangePreferredHeight, MessageWord(std::intptr_t{boundary().height()}));
    }

    std::shared_ptr<Control> body_;
    bool open_ = false;
};

}  // namespace zustd
