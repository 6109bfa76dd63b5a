// The native controls, driven as the system and the user drive them.

#include <gtest/gtest.h>

#include "ZuControl.h"
#include "ZuNativeButton.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "ZuNativeWindow.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "ZuWindows.h"
#include "support/DrawingTest.h"
#include "support/WindowTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd {
namespace {

using namespace test;

// The names of the messages that arrive, without their class.
class Log : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        const std::wstring name(kind.name());
        text_ += (text_.empty() ? L"" : L" ") + name.substr(0, name.find(L'.'));
        return true;
    }
    std::wstring take() { return std::exchange(text_, {}); }

private:
    std::wstring text_;
};

class NativeControlTest : public ::testing::Test {
protected:
    NativeControlTest() {
        window_->setSize({400, 300});
        window_->synchronizeTree();
    }

    // Puts a widget on the window and listens to it.
    template <class Widget>
    HWND show(const std::shared_ptr<Widget>& widget,
              const Rect& boundary = Rect::at({}, {90, 25})) {
        widget->setBoundary(boundary);
        window_->addChild(widget);
        log_ = std::make_shared<Log>();
        widget->connect(log_, false);
        return nativeWindowOf(*widget);
    }
    WindowService& service() { return *window_->windowService(); }
    static std::wstring classOf(HWND window) {
        wchar_t name[64] = L"";
        GetClassNameW(window, name, 64);
        return name;
    }
    static LRESULT send(HWND window, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
        return SendMessageW(window, id, wide, extra);
    }
    static std::shared_ptr<TextDescriptor> text(const wchar_t* literal) {
        return std::make_shared<TextDescriptor>(literal);
    }

    std::shared_ptr<NativeWindow> window_ = makeWindowService(nullptr)->createNativeWindow();
    std::shared_ptr<Log> log_;
};

TEST_F(NativeControlTest, button_anyState_isPushedAndPressesComeBackOnce) {
    const auto button = service().createNativeButton();
    button->setCaption(text(L"&Save"));
    button->setBitmap(std::make_shared<BitmapDescriptor>(321, Size{16, 16}));
    button->setEnabled(false);
    const HWND native = show(button, Rect::at({10, 20}, {90, 25}));
    EXPECT_EQ(classOf(native), L"Button");
    EXPECT_EQ(textOf(native), L"&Save");
    EXPECT_FALSE(IsWindowEnabled(native));
    button->setEnabled(true);
    button->caption().setLiteral(L"Other");
    button->moveTo({30, 40});
    RECT area{};
    GetWindowRect(native, &area);
    MapWindowPoints(HWND_DESKTOP, nativeWindowOf(*window_), reinterpret_cast<POINT*>(&area), 2);
    EXPECT_EQ(textOf(native), L"Other");
    EXPECT_EQ(area.left, 30);
    EXPECT_EQ(area.bottom, 65);
    EXPECT_TRUE(IsWindowEnabled(native));
    send(native, BM_CLICK);
    EXPECT_NE(log_->take().find(L"leftClicked"), std::wstring::npos);
}

TEST_F(NativeControlTest, checksAndRadios_pressed_showWhatThePortableHalfDecides) {
    const auto check = service().createNativeButton();
    check->setKind(ButtonKind::kCheck);
    check->setChecked(true);
    HWND native = show(check);
    EXPECT_EQ(send(native, BM_GETCHECK), BST_CHECKED);
    send(native, BM_CLICK);
    EXPECT_FALSE(check->isChecked());
    EXPECT_EQ(send(native, BM_GETCHECK), BST_UNCHECKED);
    const auto first = service().createNativeButton();
    const auto second = service().createNativeButton();
    for (const auto& radio : {first, second}) {
        radio->setKind(ButtonKind::kRadio);
        show(radio);
    }
    send(nativeWindowOf(*first), BM_CLICK);
    send(nativeWindowOf(*second), BM_CLICK);
    EXPECT_EQ(send(nativeWindowOf(*first), BM_GETCHECK), BST_UNCHECKED);
    EXPECT_EQ(send(nativeWindowOf(*second), BM_GETCHECK), BST_CHECKED);
    // Another kind is another window, with the same state.
    check->setChecked(true);
    check->setKind(ButtonKind::kRadio);
    EXPECT_FALSE(IsWindow(native));
    native = nativeWindowOf(*check);
    EXPECT_EQ(send(native, BM_GETCHECK), BST_CHECKED);
}

TEST_F(NativeControlTest, button_droppedByItsOwnPress_isGoneAfterwards) {
    class Dropper : public MessageSink {
    public:
        bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord) override {
            if (kind == Control::kLeftClicked) {
                Control* button = a.object<Control>();
                button->parentControl()->removeChild(button);
            }
            return true;
        }
    };
    std::shared_ptr<NativeButton> button = service().createNativeButton();
    const HWND native = show(button);
    const auto dropper = std::make_shared<Dropper>();
    button->connect(dropper, false);
    button.reset();
    send(native, BM_CLICK);
    EXPECT_FALSE(IsWindow(native));
}

TEST_F(NativeControlTest, textBox_textFromBothSides_staysTheSameAndIsAnnouncedOnce) {
    const auto box = service().createNativeTextBox();
    box->setKind(TextBoxKind::kMultiLine);
    box->setText(L"one\ntwo");
    const HWND native = show(box, Rect::at({}, {200, 100}));
    EXPECT_EQ(classOf(native), L"Edit");
    EXPECT_EQ(textOf(native), L"one\r\ntwo");
    box->setText(L"three");
    EXPECT_EQ(log_->take(), L"textChanged") << "only the program's own";
    send(native, EM_SETSEL, 5, 5);
    for (const wchar_t c : std::wstring(L"\r\u0416\U0001F600")) {
        send(native, WM_CHAR, c);
    }
    EXPECT_EQ(box->text(), L"three\n\u0416\U0001F600");
    box->synchronize();
    EXPECT_EQ(textOf(native), L"three\r\n\u0416\U0001F600");
    send(native, WM_CHAR, 1);  // Ctrl+A
    send(native, WM_CHAR, L'x');
    EXPECT_EQ(box->text(), L"x");
}

TEST_F(NativeControlTest, textBox_kindsAndLimits_holdWhatTheUserTypes) {
    const auto box = service().createNativeTextBox();
    box->setMaximumLength(3);
    HWND native = show(box);
    for (const wchar_t c : std::wstring(L"abcdef")) {
        send(native, WM_CHAR, c);
    }
    EXPECT_EQ(box->text(), L"abc");
    box->setReadOnly(true);
    send(native, WM_CHAR, L'\b');
    EXPECT_EQ(box->text(), L"abc");
    box->setKind(TextBoxKind::kPassword);
    native = nativeWindowOf(*box);
    EXPECT_NE(send(native, EM_GETPASSWORDCHAR), 0);
    EXPECT_EQ(textOf(native), L"abc");
    EXPECT_NE(GetWindowLongW(native, GWL_STYLE) & ES_READONLY, 0);
    EXPECT_EQ(send(native, EM_GETLIMITTEXT), 3);
}

TEST_F(NativeControlTest, keys_thatAControlDoesNotUse_moveTheFocus) {
    const auto first = service().createNativeTextBox();
    const auto second = service().createNativeComboBox();
    second->setEditable(true);
    const auto third = service().createNativeButton();
    show(first);
    show(second, Rect::at({0, 40}, {90, 25}));
    show(third, Rect::at({0, 80}, {90, 25}));
    SetForegroundWindow(nativeWindowOf(*window_));
    ASSERT_TRUE(first->takeFocus());
    for (const auto& next : std::initializer_list<std::shared_ptr<Control>>{second, third, first}) {
        send(GetFocus(), WM_KEYDOWN, VK_TAB, 1);
        EXPECT_TRUE(next->hasFocus());
        EXPECT_TRUE(GetFocus() == nativeWindowOf(*next) ||
                    IsChild(nativeWindowOf(*next), GetFocus()));
    }
    second->takeFocus();
    const HWND field = GetFocus();
    send(field, WM_KEYDOWN, L'Q', 1);
    send(field, WM_CHAR, L'q');
    EXPECT_EQ(second->text(), L"q");
}

TEST_F(NativeControlTest, comboBox_itemsAndChoice_areMirroredBothWays) {
    const auto box = service().createNativeComboBox();
    for (const wchar_t* item : {L"one", L"two", L"three"}) {
        box->addItem(item);
    }
    box->selectItem(1);
    const HWND native = show(box, Rect::at({}, {120, 31}));
    EXPECT_EQ(classOf(native), L"ComboBox");
    EXPECT_EQ(send(native, CB_GETCOUNT), 3);
    EXPECT_EQ(send(native, CB_GETCURSEL), 1);
    RECT area{};
    GetWindowRect(native, &area);
    EXPECT_EQ(area.bottom - area.top, 31);
    box->removeItem(0);
    box->addItem(L"four");
    EXPECT_EQ(send(native, CB_GETCURSEL), 0);
    EXPECT_EQ(log_->take(), L"");
    send(native, WM_KEYDOWN, VK_DOWN, 1);
    EXPECT_EQ(box->getSelectedItem(), 1U);
    EXPECT_EQ(box->text(), L"three");
    EXPECT_NE(log_->take().find(L"selectionChanged textChanged"), std::wstring::npos);
    box->setEditable(true);
    box->setText(L"typed");
    EXPECT_EQ(textOf(nativeWindowOf(*box)), L"typed");
    EXPECT_EQ(send(nativeWindowOf(*box), CB_GETCOUNT), 3);
    box->clear();
    EXPECT_EQ(send(nativeWindowOf(*box), CB_GETCOUNT), 0);
}

TEST_F(NativeControlTest, scrollBar_stepsAndThumb_moveBeyondSixteenBits) {
    const auto bar = service().createNativeScrollBar(true);
    bar->setRange(0, 1000000);
    bar->setPageSize(1000);
    bar->setPosition(300000);
    const HWND native = show(bar, Rect::at({}, {17, 200}));
    const HWND surface = nativeWindowOf(*window_);
    const auto scroll = [&](int request) {
        send(surface, WM_VSCROLL, static_cast<WPARAM>(request), reinterpret_cast<LPARAM>(native));
        SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 0, 0, 0, 0};
        GetScrollInfo(native, SB_CTL, &info);
        EXPECT_EQ(info.nPos, bar->position());
        return bar->position();
    };
    EXPECT_EQ(scroll(SB_LINEDOWN), 300001);
    EXPECT_EQ(log_->take(), L"scrolled scrolledvertically");
    EXPECT_EQ(scroll(SB_PAGEUP), 299001);
    EXPECT_EQ(scroll(SB_BOTTOM), 999001);
    EXPECT_EQ(scroll(SB_LINEDOWN), 999001);
    EXPECT_EQ(scroll(SB_TOP), 0);
    EXPECT_FALSE(bar->isTracking());
    scroll(SB_THUMBTRACK);
    EXPECT_TRUE(bar->isTracking());
    scroll(SB_ENDSCROLL);
    EXPECT_FALSE(bar->isTracking());
}

TEST_F(NativeControlTest, progressBar_changes_areShownAlsoAfterTheMarquee) {
    const auto bar = service().createNativeProgressBar();
    bar->setRange(-50, 50);
    bar->setPosition(10);
    const HWND native = show(bar);
    EXPECT_EQ(classOf(native), L"msctls_progress32");
    EXPECT_EQ(send(native, PBM_GETPOS), 10);
    bar->setEnableMarqueeAnimation(true);
    EXPECT_FALSE(IsWindow(native));
    bar->setPosition(20);
    bar->setEnableMarqueeAnimation(false);
    EXPECT_EQ(send(nativeWindowOf(*bar), PBM_GETRANGE, TRUE), -50);
    EXPECT_EQ(send(nativeWindowOf(*bar), PBM_GETPOS), 20);
}

TEST_F(NativeControlTest, thousandRounds_leaveNoObjectsBehind) {
    const auto round = [this] {
        const auto button = service().createNativeButton();
        button->setBitmap(std::make_shared<BitmapDescriptor>(321, Size{16, 16}));
        const auto combo = service().createNativeComboBox();
        combo->addItem(L"one");
        for (const std::shared_ptr<Control>& widget :
             std::initializer_list<std::shared_ptr<Control>>{
                 button, combo, service().createNativeTextBox(),
                 service().createNativeScrollBar(false), service().createNativeProgressBar()}) {
            show(widget);
            window_->removeChild(widget.get());
        }
    };
    for (int i = 0; i < 3; ++i) {
        round();
    }
    const int windowsBefore = liveWindows();
    const int drawingBefore = drawingObjectCount();
    for (int i = 0; i < 1000; ++i) {
        round();
    }
    EXPECT_EQ(liveWindows(), windowsBefore);
    EXPECT_EQ(drawingObjectCount(), drawingBefore);
}

}  // namespace
}  // namespace zustd
