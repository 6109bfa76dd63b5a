// One window, and everything that is asked of the window system through it.
//
// A window service is bound to one window, or to none; then it still shows messages and makes
// widgets. The application service makes services for the host's windows. Every surface that a
// window service makes (createNativeWindow, createNativeDialog) has a window service of its own,
// bound to the surface's window and registered in it together with a graphics service; that is the
// one which the controls on the surface find.
//
// Positions and areas are in the client area of the service's window unless
// they are said to be on the screen. Operations that need a window do nothing,
// or answer with the neutral value, while there is none.
#pragma once

#include "ZuBitmap.h"
#include "ZuFont.h"
#include "ZuInput.h"
#include "ZuMessageBox.h"
#include "ZuService.h"

namespace zustd {

class Control;
class GraphicsService;
class NativeButton;
class NativeComboBox;
class NativeDialog;
class NativeGridView;
class NativePopupMenu;
class NativeProgressBar;
class NativeScrollBar;
class NativeTextBox;
class NativeTreeView;
class NativeWindow;
class Timer;

// The longest file name that selectFileToOpen takes and gives, with its terminator.
inline constexpr std::size_t kFileNameBufferSize = 4096;

// What a backend does for a window service. Slot order is fixed.
//
// The create operations return the portable object joined to its backend; the
// native object is made by the first synchronisation. They return null when
// the backend fails. The others let no failure out either.
class IWindowServiceImpl : public IBackend {
public:
    // 1, 2: a dialog, owned by this service's window.
    virtual std::shared_ptr<NativeDialog> createNativeDialog() = 0;
    virtual std::shared_ptr<NativePopupMenu> createNativePopupMenu() = 0;
    // 3: the same with a style (see NativeDialog), which cannot change later.
    virtual std::shared_ptr<NativeDialog> createNativeDialog(std::uint32_t style) = 0;
    // 4 to 10, and 42: widgets. A widget's native object becomes a child of the window
    // of the surface that it is on when it is first synchronised; outside of a
    // surface, of this service's window.
    virtual std::shared_ptr<NativeGridView> createNativeGridView() = 0;
    virtual std::shared_ptr<NativeTreeView> createNativeTreeView() = 0;
    // Without a window to be the child of, a window of its own on the screen.
    virtual std::shared_ptr<NativeWindow> createNativeWindow() = 0;
    virtual std::shared_ptr<NativeComboBox> createNativeComboBox() = 0;
    virtual std::shared_ptr<NativeButton> createNativeButton() = 0;
    virtual std::shared_ptr<NativeProgressBar> createNativeProgressBar() = 0;
    virtual std::shared_ptr<NativeTextBox> createNativeTextBox() = 0;
    // 11, 12: lets the window, or an area of it, be painted again soon.
    virtual void invalidate() = 0;
    virtual void invalidate(const Rect& area) = 0;
    // 13: paints now what is invalid.
    virtual void updateWindow() = 0;
    // 14, 15: the pointer's look while it is over the window.
    virtual MouseCursor getCursor() const = 0;
    virtual void setCursor(MouseCursor cursor) = 0;
    // 16: relative to the window, which need not be under it.
    virtual Point getMousePosition() const = 0;
    // 17, 18: of the whole window, frame included, on the screen.
    virtual Point getWindowPosition() const = 0;
    virtual Size getWindowSize() const = 0;
    // 19, 20: all mouse events go to this window until released.
    virtual void captureMouse() = 0;
    virtual void releaseMouse() = 0;
    // 21: whether a message box or question of this service is open.
    virtual bool isMessageOpen() const = 0;
    // 22: shows a message box and waits for its answer; kAnswerNone, reported
    // as "Could not show message", when that is not possible. The box is
    // complete (see ZuMessageBox.h); the check box's state is written into it.
    virtual int showMessage(MessageBoxContent& box) = 0;
    // 23: gives the answer in the user's place, to the innermost that waits, whether or not it has
    // a button for it; does nothing when none waits.
    virtual void closeMessage(int answer) = 0;
    // 24, 26, 27: as 22, reported as "Could not ask question".
    virtual int askYesNoCancel(MessageBoxContent& box) = 0;
    // 25: the sound of the style's icon; returns before it has ended.
    virtual void playMessageSound(std::uint32_t style) = 0;
    virtual int askYesNo(MessageBoxContent& box) = 0;
    virtual int askOKCancel(MessageBoxContent& box) = 0;
    // 28: 1.0 at 96 dots an inch.
    virtual double getScalingFactor() = 0;
    // 29: of the screen that the window is on, the part that no task bar covers.
    virtual Rect getWorkArea() const = 0;
    // 30: where the client area's left top corner lies on the screen.
    virtual Point getClientPosition() const = 0;
    // 31: a stopped timer of this name.
    virtual std::shared_ptr<Timer> createTimer(const std::wstring& name) = 0;
    // 32: asks the window to close, as its close button does.
    virtual void closeWindow() = 0;
    // 33 to 38: whether the window takes mouse and keys, which what lies on it does not show. A
    // surface that is disabled, or has a modal dialog open, takes none either way.
    virtual void enableWindow(bool enable) = 0;
    // A surface's own state follows this and the other operations that show: it
    // is visible or not; a dialog that is hidden ends with kAnswerNone.
    virtual void hideWindow() = 0;
    // The window with its frame and all native widgets on it.
    virtual void invalidateWindow() = 0;
    // Whether this window, or one on it, is what the user sees at a point of the screen.
    virtual bool isWindowVisibleAtPos(Point place) const = 0;
    // Shows the window with its left top corner there on the screen, in front
    // of the others and without making it active.
    virtual void makeWindowVisibleAtPos(Point place) = 0;
    // Shows the window where it is and makes it active.
    virtual void showWindow() = 0;
    // 39, 40: from the cache of the backend, which outlives single services;
    // null when the backend fails. A bitmap's size is scaled.
    virtual std::shared_ptr<Font> getFont(const FontStyle& style) = 0;
    virtual std::shared_ptr<Bitmap> getBitmap(const ResourceDescriptor& resource, Size size) = 0;
    // 41: as the front's, for texts that fit. One filter a pattern, then "All Files"; an empty
    // pattern has none, an empty name is replaced by the pattern.
    virtual std::wstring selectFileToOpen(const std::wstring& initialFileName,
                                          const std::vector<std::wstring>& patterns,
                                          const std::vector<std::wstring>& patternNames) = 0;
    // 42
    virtual std::shared_ptr<NativeScrollBar> createNativeScrollBar(bool vertical) = 0;
    // 43: gives the system's focus to a native widget, or to the window for a drawn control.
    virtual void setFocus(Control& control) = 0;
};

class WindowService : public Abstraction<IWindowServiceImpl>, public Service {
public:
    using Service::Service;
    ~WindowService() override { releaseImplementation(); }

    // --- Widgets and the window: as in IWindowServiceImpl, where each is described. Each fails the
    // assertion "impl_" when there is no backend. Messages may be sent from inside of those that
    // show, hide, enable and focus.
    auto createNativeDialog() { return implementation().createNativeDialog(); }
    auto createNativeDialog(std::uint32_t style) {
        return implementation().createNativeDialog(style);
    }
    auto createNativePopupMenu() { return implementation().createNativePopupMenu(); }
    auto createNativeGridView() { return implementation().createNativeGridView(); }
    auto createNativeTreeView() { return implementation().createNativeTreeView(); }
    auto createNativeWindow() { return implementation().createNativeWindow(); }
    auto createNativeComboBox() { return implementation().createNativeComboBox(); }
    auto createNativeButton() { return implementation().createNativeButton(); }
    auto createNativeProgressBar() { return implementation().createNativeProgressBar(); }
    auto createNativeTextBox() { return implementation().createNativeTextBox(); }
    auto createNativeScrollBar(bool vertical) {
        return implementation().createNativeScrollBar(vertical);
    }
    auto createTimer(const std::wstring& name) { return implementation().createTimer(name); }
    void invalidate() { implementation().invalidate(); }
    void invalidate(const Rect& area) { implementation().invalidate(area); }
    void updateWindow() { implementation().updateWindow(); }
    MouseCursor getCursor() const { return implementation().getCursor(); }
    void setCursor(MouseCursor cursor) { implementation().setCursor(cursor); }
    Point getMousePosition() const { return implementation().getMousePosition(); }
    Point getWindowPosition() const { return implementation().getWindowPosition(); }
    Size getWindowSize() const { return implementation().getWindowSize(); }
    void captureMouse() { implementation().captureMouse(); }
    void releaseMouse() { implementation().releaseMouse(); }
    double getScalingFactor() { return implementation().getScalingFactor(); }
    Rect getWorkArea() const { return implementation().getWorkArea(); }
    Point getClientPosition() const { return implementation().getClientPosition(); }
    void closeWindow() { implementation().closeWindow(); }
    void enableWindow(bool enable) { implementation().enableWindow(enable); }
    void hideWindow() { implementation().hideWindow(); }
    void invalidateWindow() { implementation().invalidateWindow(); }
    bool isWindowVisibleAtPos(Point place) const {
        return implementation().isWindowVisibleAtPos(place);
    }
    void makeWindowVisibleAtPos(Point place) { implementation().makeWindowVisibleAtPos(place); }
    void showWindow() { implementation().showWindow(); }
    void setFocus(Control& control) { implementation().setFocus(control); }
    bool isMessageOpen() const { return implementation().isMessageOpen(); }
    void closeMessage(int answer) { implementation().closeMessage(answer); }
    void playMessageSound(std::uint32_t style) { implementation().playMessageSound(style); }

    // --- Messages and questions

    // Each shows a box over the window and waits; kAnswerNone when it cannot be
    // shown. What texts and memory lack is traced and not thrown; only a service
    // without backend fails the assertion "impl_". With a rememberKey the box offers a check box;
    // checked, the same key gives the same answer from then on without a box. The choice is kept by
    // the application service; without one there is nothing to remember it and no check box.
    int showMessage(const std::wstring& text, const std::wstring& caption, std::uint32_t style,
                    const std::wstring& rememberKey = {});
    int askYesNoCancel(const std::wstring& text, const std::wstring& caption,
                       const std::wstring& rememberKey = {}) {
        return showMessage(text, caption, kMessageYesNoCancel | kMessageIconQuestion, rememberKey);
    }
    int askYesNo(const std::wstring& text, const std::wstring& caption,
                 const std::wstring& rememberKey = {}) {
        return showMessage(text, caption, kMessageYesNo | kMessageIconQuestion, rememberKey);
    }
    int askOKCancel(const std::wstring& text, const std::wstring& caption,
                    const std::wstring& rememberKey = {}) {
        return showMessage(text, caption, kMessageOkCancel | kMessageIconQuestion, rememberKey);
    }

    // --- Resources

    // From the backend's cache; null when it cannot be made.
    auto getFont(const FontStyle& style) { return implementation().getFont(style); }
    // Null stands for the system's own.
    auto getFont(const FontRef& descriptor) { return getFont(styleOf(descriptor)); }
    // Null for a descriptor that names nothing. The descriptor's size times the scaling factor.
    std::shared_ptr<Bitmap> getBitmap(const BitmapDescriptor& descriptor);

    // Lets the user choose a file that exists; the empty text when cancelled. Patterns are the
    // system's wildcards ("*.log", "*.jpg;*.png"), each with its name in the list. Fails the
    // assertions "patterns.size() == patternNames.size()" and "initialFileName.size() < bufSize",
    // and with the text "allowMultiSelect not implemented" when several files are asked for.
    std::wstring selectFileToOpen(const std::wstring& initialFileName,
                                  const std::vector<std::wstring>& patterns,
                                  const std::vector<std::wstring>& patternNames,
                                  bool allowMultiSelect);
};

// Registers a surface's own services in it. Backends call it for every surface that they make.
void furnishSurface(Control& surface, const std::shared_ptr<WindowService>& windowService,
                    const std::shared_ptr<GraphicsService>& graphicsService);

}  // namespace zustd
