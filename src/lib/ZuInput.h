// Mouse and keyboard on their way from a native window to the control that they are meant for.
//
// A surface (a native window or dialog) has one InputRouter. The backend hands it every event of
// its window; the router finds the control, calls its onMouse or onKey, and sends the messages of
// Control: hovering, pressing, clicking, dragging, scrolling, focus. Native widgets below the
// surface get their own events from the system; their backends report clicks, focus and the keys
// that they do not use themselves.
//
// The router remembers controls weakly: any of them may be destroyed by whoever hears a message.
#pragma once

#include <memory>

#include "ZuGeometry.h"

namespace zustd {

class Control;

enum class MouseCursor : std::uint32_t {
    kArrow,
    kHand,
    kText,
    kWait,
    kSizeHorizontal,
    kSizeVertical,
    kSizeAll,
    kNotAllowed,
};

// Bits that say which keys were held; the same as ApplicationService sends.
inline constexpr std::uint32_t kModifierShift = 1;
inline constexpr std::uint32_t kModifierControl = 2;
inline constexpr std::uint32_t kModifierAlt = 4;

// Keys by the numbers that Windows gives them. Letters and digits are their upper-case characters.
inline constexpr std::uint32_t kKeyTab = 0x09;
inline constexpr std::uint32_t kKeyEnter = 0x0D;
inline constexpr std::uint32_t kKeyEscape = 0x1B;
inline constexpr std::uint32_t kKeySpace = 0x20;
inline constexpr std::uint32_t kKeyPageUp = 0x21;
inline constexpr std::uint32_t kKeyPageDown = 0x22;
inline constexpr std::uint32_t kKeyEnd = 0x23;
inline constexpr std::uint32_t kKeyHome = 0x24;
inline constexpr std::uint32_t kKeyLeft = 0x25;
inline constexpr std::uint32_t kKeyUp = 0x26;
inline constexpr std::uint32_t kKeyRight = 0x27;
inline constexpr std::uint32_t kKeyDown = 0x28;

enum class MouseAction : std::uint32_t {
    kMove,
    // The pointer has left the window.
    kLeave,
    kLeftDown,
    kLeftUp,
    kLeftDouble,
    kRightDown,
    kRightUp,
    kWheel,
    kHorizontalWheel,
};

struct MouseEvent {
    // One notch of a wheel.
    static constexpr std::int32_t kWheelStep = 120;

    MouseAction action = MouseAction::kMove;
    // In the surface's client area for the router, in its own for a control.
    Point position;
    // Away from the user, or to the right, is positive.
    std::int32_t wheel = 0;
    std::uint32_t modifiers = 0;
};

// A key that went down, with the modifiers that were held.
struct KeyEvent {
    std::uint32_t key = 0;
    std::uint32_t modifiers = 0;

    // Whether this modifier was held.
    bool has(std::uint32_t modifier) const noexcept { return (modifiers & modifier) != 0; }
};

// Turns of a wheel in whole steps of what it scrolls; the rest of a turn counts for the next one.
class WheelCounter {
public:
    // Steps for a turn when a line has that many.
    std::int64_t turn(std::int32_t wheel, std::int32_t lineSize) noexcept {
        constexpr std::int64_t kLinesPerNotch = 3;
        const std::int64_t turned = std::int64_t{wheel} * kLinesPerNotch * lineSize + rest_;
        rest_ = turned % MouseEvent::kWheelStep;
        return turned / MouseEvent::kWheelStep;
    }
    bool hasRest() const noexcept { return rest_ != 0; }

private:
    std::int64_t rest_ = 0;
};

// Receivers may change the tree and drop the surface, which lives to the end of the operation.
class InputRouter {
public:
    // The surface owns the router.
    explicit InputRouter(Control& surface) noexcept : surface_(surface) {}
    InputRouter(const InputRouter&) = delete;
    InputRouter& operator=(const InputRouter&) = delete;

    // Routes an event of the surface's window; whether a control used it. A press goes to the
    // deepest control under the pointer that takes the mouse, unless that is disabled, and
    // everything up to the release follows it, inside or not.
    bool routeMouse(const MouseEvent& event);

    // Routes a key press to the focused control and, unused, from parent to parent; then Tab and
    // Shift+Tab move the focus, arrows ask for the next or previous item. Whether anything used it.
    bool routeKey(const KeyEvent& event);
    // A key that a native widget below the surface does not use.
    bool routeKeyFrom(Control& control, const KeyEvent& event);

    // The window lost the mouse to another one in the middle of a press.
    void cancelPress();

    // Gives the focus to a control of this surface, or to none. False when it cannot have it
    // (invisible, disabled, not focusable), or when a receiver gave it to another one meanwhile.
    bool setFocus(Control* control);
    // To the next control in focus order, wrapping around; false when none can have the focus.
    bool moveFocus(bool backwards);
    // A native widget of this surface has got or lost the system's focus.
    void acceptFocus(Control* control);

    // Null when there is none.
    std::shared_ptr<Control> hovered() const { return hovered_.lock(); }
    std::shared_ptr<Control> pressed() const { return press_.control.lock(); }
    std::shared_ptr<Control> focused() const { return focused_.lock(); }

    // All that is below a control is about to leave the surface, and perhaps the control itself.
    void forget(const Control& control, bool itself);

private:
    enum class Button : std::uint32_t { kNone, kLeft, kRight };

    struct Press {
        Button button = Button::kNone;
        std::weak_ptr<Control> control;
        Point position;
        bool dragging = false;
    };

    template <class Tell>
    void tellWindow(Tell&& tell) const;
    void moveHover(const std::shared_ptr<Control>& target, Point position);
    void press(const std::shared_ptr<Control>& target, const MouseEvent& event);
    void release(const MouseEvent& event);
    void drag(const MouseEvent& event);
    bool scroll(const std::shared_ptr<Control>& target, const MouseEvent& event);
    bool deliver(const std::shared_ptr<Control>& target, const MouseEvent& event);
    bool navigate(const KeyEvent& event);
    void changeFocus(const std::shared_ptr<Control>& control);

    Control& surface_;
    std::weak_ptr<Control> hovered_;
    std::weak_ptr<Control> focused_;
    Press press_;
};

}  // namespace zustd
