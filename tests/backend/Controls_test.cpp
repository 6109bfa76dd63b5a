// The native controls, driven as the system and the user drive them.

#include "support/NativeControlTest.h"

namespace zustd {
namespace {

using namespace test;

TEST_F(NativeControlTest, progressBar_stateAndAnimation_areToldToTheWindow) {
    const auto bar = service().createNativeProgressBar();
    show(bar);
    const auto sentBy = [](auto&& change) {
        const Sent sent;
        change();
        return Sent::messages();
    };
    using Messages = std::vector<Sent::Message>;
    const std::pair<ProgressState, WPARAM> kStates[] = {{ProgressState::kError, PBST_ERROR},
                                                        {ProgressState::kPaused, PBST_PAUSED}};
    for (const auto& [state, native] : kStates) {
        EXPECT_EQ(sentBy([&] { bar->setState(state); }), (Messages{{PBM_SETSTATE, native, 0}}));
    }
    bar->releaseTree();
    const Messages anew = sentBy([&] { bar->synchronizeTree(); });
    EXPECT_NE(std::find(anew.begin(), anew.end(), Sent::Message{PBM_SETSTATE, PBST_PAUSED, 0}),
              anew.end());
    bar->setState(ProgressState::kNormal);
    bar->setMarqueeInterval(70);
    EXPECT_EQ(sentBy([&] { bar->setEnableMarqueeAnimation(true); }).back(),
              (Sent::Message{PBM_SETMARQUEE, TRUE, 70}));
    EXPECT_EQ(sentBy([&] { bar->setMarqueeInterval(80); }), (Messages{{PBM_SETMARQUEE, TRUE, 80}}));
}

TEST_F(NativeControlTest, button_doubleClick_isTwoClicks) {
    for (const ButtonKind kind : {ButtonKind::kPush, ButtonKind::kCheck, ButtonKind::kRadio}) {
        const auto button = service().createNativeButton();
        button->setKind(kind);
        const HWND native = show(button);
        int clicks = 0;
        for (const UINT down : {UINT{WM_LBUTTONDOWN}, UINT{WM_LBUTTONDBLCLK}}) {
            log_->take();
            sendMouse(native, down, {5, 5}, MK_LBUTTON);
            sendMouse(native, WM_LBUTTONUP, {5, 5});
            clicks += log_->take().find(L"leftClicked") != std::wstring::npos ? 1 : 0;
        }
        EXPECT_EQ(clicks, 2) << static_cast<int>(kind);
    }
}

TEST_F(NativeControlTest, checksAndRadios_pressed_showWhatThePortableHalfDecides) {
    const auto check = service().createNativeButton();
    check->setKind(ButtonKind::kCheck);
    HWND native = show(check);
    send(native, BM_CLICK);
    EXPECT_TRUE(check->isChecked());
    EXPECT_EQ(send(native, BM_GETCHECK), BST_CHECKED);
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
    // The focus alone chooses nothing, also where the system's radio buttons
    // are pressed by it; the arrow keys do.
    SetForegroundWindow(nativeWindowOf(*window_));
    static WNDPROC usual = nullptr;
    usual = reinterpret_cast<WNDPROC>(GetClassLongPtrW(native, GCLP_WNDPROC));
    const WNDPROC pressed = [](HWND window, UINT id, WPARAM wide, LPARAM extra) -> LRESULT {
        if (id == WM_SETFOCUS) {
            send(GetParent(window), WM_COMMAND, MAKEWPARAM(0, BN_CLICKED),
                 reinterpret_cast<LPARAM>(window));
        }
        return CallWindowProcW(usual, window, id, wide, extra);
    };
    SetClassLongPtrW(native, GCLP_WNDPROC, reinterpret_cast<LONG_PTR>(pressed));
    first->releaseTree();
    first->synchronizeTree();
    SetClassLongPtrW(native, GCLP_WNDPROC, reinterpret_cast<LONG_PTR>(usual));
    EXPECT_TRUE(first->takeFocus());
    EXPECT_TRUE(second->isChecked());
    send(GetFocus(), WM_KEYDOWN, VK_UP, 1);
    EXPECT_EQ(GetFocus(), nativeWindowOf(*second));
    send(GetFocus(), WM_KEYDOWN, VK_RIGHT, 1);
    EXPECT_TRUE(first->hasFocus());
    EXPECT_EQ(send(nativeWindowOf(*first), BM_GETCHECK), BST_CHECKED);
    // Another kind is another window, with the focus.
    check->takeFocus();
    check->setKind(ButtonKind::kRadio);
    EXPECT_FALSE(IsWindow(native));
    EXPECT_EQ(GetFocus(), nativeWindowOf(*check));
    EXPECT_TRUE(check->hasFocus());
}

TEST_F(NativeControlTest, focus_controlDisabledOrHidden_goesToTheSurface) {
    const auto button = service().createNativeButton();
    show(button);
    SetForegroundWindow(nativeWindowOf(*window_));
    for (const auto change : {&Control::setEnabled, &Control::setVisible}) {
        ASSERT_TRUE(button->takeFocus());
        ((*button).*change)(false);
        EXPECT_EQ(GetFocus(), nativeWindowOf(*window_));
        EXPECT_FALSE(button->hasFocus());
        ((*button).*change)(true);
    }
}

TEST_F(NativeControlTest, realPointer_fromSurfaceToControlAndAway_isOverOneOfThem) {
    window_->moveTo({50, 50});
    const auto button = service().createNativeButton();
    const HWND native = show(button, Rect::at({100, 100}, {90, 25}));
    SetForegroundWindow(nativeWindowOf(*window_));
    for (const Point place : {Point{20, 20}, Point{120, 110}, Point{20, 20}}) {
        movePointer(onScreen(nativeWindowOf(*window_), place));
        const bool isOver = place.x > 100;
        runMessages(2000, [&] { return button->isHovered() == isOver; });
        runMessages(30);
        EXPECT_EQ(button->isHovered(), isOver);
    }
    movePointer(middleOf(native));
    runMessages(2000, [&] { return button->isHovered(); });
    movePointer({1279, 1023});
    runMessages(2000, [&] { return !button->isHovered(); });
    EXPECT_FALSE(button->isHovered());
}

TEST_F(NativeControlTest, colours_changed_areShownByWhatIsThereAlready) {
    const auto check = service().createNativeButton();
    check->setKind(ButtonKind::kCheck);
    const auto field = service().createNativeTextBox();
    const auto combo = service().createNativeComboBox();
    combo->setEditable(true);
    show(check);
    show(field, Rect::at({0, 40}, {90, 25}));
    show(combo, Rect::at({0, 80}, {90, 25}));
    const auto fill = [](Control& control, std::uint8_t red) {
        auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kBackground, Color::rgb(red, 0x34, 0x56));
        control.setColors(colors);
    };
    const auto shown = [](const Control& control) {
        return pixelOf(nativeWindowOf(control), {60, 20});
    };
    const std::uint32_t usual = shown(*field);
    fill(*window_, 0x12);
    EXPECT_EQ(shown(*check), 0x123456U);
    EXPECT_EQ(shown(*field), usual);
    fill(*window_, 0x13);
    EXPECT_EQ(shown(*check), 0x133456U);
    fill(*field, 0x14);
    EXPECT_EQ(shown(*field), 0x143456U);
    fill(*combo, 0x15);
    UpdateWindow(FindWindowExW(nativeWindowOf(*combo), nullptr, L"Edit", nullptr));
    EXPECT_EQ(pixelOf(nativeWindowOf(*combo), {50, 18}), 0x153456U);
}

TEST_F(NativeControlTest, anyFailure_isReportedUnderItsNameAndTriedAgain) {
    struct Thrower : Control {
        bool onKey(const KeyEvent&) override { throw std::wstring(L"torn"); }
    };
    const std::pair<std::string, std::shared_ptr<Control>> kWidgets[] = {
        {"ButtonWin32Gdi", service().createNativeButton()},
        {"TextBoxWin32Gdi", service().createNativeTextBox()},
        {"ComboBoxWin32Gdi", service().createNativeComboBox()},
        {"ScrollBarWin32Gdi", service().createNativeScrollBar(true)},
        {"ProgressBarWin32Gdi", service().createNativeProgressBar()},
        {"WindowWin32Gdi", service().createNativeWindow()}};
    const auto holder = makeControl<Thrower>();
    holder->setBoundary(Rect::at({}, {200, 200}));
    holder->setFocusable(true);
    window_->addChild(holder);
    const TraceCapture trace;
    const auto expectReport = [&](const std::string& operation) {
        ASSERT_FALSE(trace.messages().empty()) << operation;
        EXPECT_TRUE(trace.messages().back().starts_with(operation + ": catched "))
            << operation << ": " << trace.messages().back();
    };
    for (const auto& [name, widget] : kWidgets) {
        {
            const RefusedWindows refused;
            holder->addChild(widget);
            EXPECT_FALSE(widget->backend()->hasNativeObject());
            expectReport(name + "::synchronizeWithAbstraction");
        }
        widget->backend()->synchronizeWithAbstraction();
        ASSERT_NE(nativeWindowOf(*widget), nullptr) << name;
        if (widget->inputRouter() == nullptr) {
            send(nativeWindowOf(*widget), WM_KEYDOWN, VK_TAB, 1);
            expectReport(name + "::handleMultiWindowMessage");
        }
    }
    holder->takeFocus();
    send(nativeWindowOf(*window_), WM_KEYDOWN, L'A', 1);
    expectReport("WindowWin32Gdi::windowProcedure");
}

TEST_F(NativeControlTest, button_droppedByItsOwnPress_isGoneAfterwards) {
    std::shared_ptr<NativeButton> button = service().createNativeButton();
    const HWND native = show(button);
    const auto dropper = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        if (kind == Control::kLeftClicked) {
            window_->removeAllChildren();
        }
    });
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
    box->setText(L"three");
    EXPECT_EQ(log_->take(), L"textChanged") << "only the program's own";
    send(native, EM_SETSEL, 5, 5);
    type(native, L"\r\u0416\U0001F600");
    EXPECT_EQ(box->text(), L"three\n\u0416\U0001F600");
    box->synchronize();
    EXPECT_EQ(textOf(native), L"three\r\n\u0416\U0001F600");
    send(native, WM_CHAR, 1);  // Ctrl+A
    send(native, WM_CHAR, L'x');
    EXPECT_EQ(box->text(), L"x");
}

TEST_F(NativeControlTest, textBox_surrogatePairs_areNeverCut) {
    const auto box = service().createNativeTextBox();
    const HWND native = show(box);
    box->setMaximumLength(4);
    box->setText(L"abc\U0001F600");
    EXPECT_EQ(box->text(), L"abc");
    type(native, L"\U0001F600");
    EXPECT_EQ(box->text(), L"abc") << "no room for both halves";
    send(native, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L"\U0001F600"));
    EXPECT_EQ(box->text(), L"abc") << "as when it is pasted";
    box->setMaximumLength(0);
    const auto selection = [&](std::initializer_list<WPARAM> keys) {
        for (const WPARAM key : keys) {
            send(native, WM_KEYDOWN, key, 1);
        }
        return static_cast<DWORD>(send(native, EM_GETSEL));
    };
    box->setText(L"a\U0001F600b");
    EXPECT_EQ(selection({VK_HOME, VK_RIGHT, VK_RIGHT}), DWORD{MAKELONG(3, 3)});
    EXPECT_EQ(selection({VK_LEFT}), DWORD{MAKELONG(1, 1)});
    const std::array<std::array<WORD, 4>, 5> kMarked{
        {{2, 4, 1, 4}, {0, 2, 0, 3}, {2, 2, 1, 1}, {1, 3, 1, 3}, {2, 3, 1, 3}}};
    for (const auto& [start, end, first, last] : kMarked) {
        send(native, EM_SETSEL, start, end);
        send(native, WM_LBUTTONUP);
        EXPECT_EQ(selection({}), static_cast<DWORD>(MAKELONG(first, last))) << start << end;
    }
    send(native, EM_SETSEL, 3, 3);
    type(native, L"\b");
    EXPECT_EQ(box->text(), L"ab");
    EXPECT_EQ(selection({}), DWORD{MAKELONG(1, 1)});
    type(native, L"\U0001F600\U0001F601");
    EXPECT_EQ(box->text(), L"a\U0001F600\U0001F601b");
}

TEST_F(NativeControlTest, language_changed_isShownInAllCaptions) {
    const auto resources = makeService<ResourceService>();
    ResourceServiceGeneric::install(*resources, compiledInResources());
    resources->selectLocale(L"en");
    // The window looks for it while it is made.
    window_->releaseTree();
    window_->registerService(resources, true, true);
    const auto numbered = [](std::uint64_t key) {
        auto descriptor = std::make_shared<TextDescriptor>();
        descriptor->setIdentifier(key);
        return descriptor;
    };
    window_->setCaption(numbered(9019));
    const auto button = service().createNativeButton();
    button->setCaption(numbered(9012));
    window_->addChild(button);
    window_->synchronizeTree();
    resources->selectLocale(L"de");
    EXPECT_EQ(textOf(nativeWindowOf(*window_)), L"Fehler");
    EXPECT_EQ(textOf(nativeWindowOf(*button)), L"Diese Meldung nicht mehr anzeigen");
    window_.reset();
    resources->selectLocale(L"fr");
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

TEST_F(NativeControlTest, comboBox_userChoosesAndTypes_isWhatTheWindowShows) {
    const auto box = service().createNativeComboBox();
    for (const wchar_t* item : {L"one", L"two", L"three", L"TWO"}) {
        box->addItem(item);
    }
    box->selectItem(1);
    HWND native = show(box);
    send(native, WM_KEYDOWN, VK_DOWN, 1);
    EXPECT_EQ(box->text(), L"three");
    EXPECT_NE(log_->take().find(L"selectionChanged textChanged"), std::wstring::npos);
    // The list is opened, looked through and left.
    send(native, CB_SHOWDROPDOWN, TRUE);
    send(native, WM_KEYDOWN, VK_DOWN, 1);
    send(native, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_EQ(send(native, CB_GETDROPPEDSTATE), 0);
    EXPECT_EQ(static_cast<LRESULT>(box->getSelectedItem()), send(native, CB_GETCURSEL));
    for (const int left : {CBN_SELENDCANCEL, CBN_CLOSEUP, CBN_SELCHANGE}) {
        send(native, CB_SETCURSEL, static_cast<WPARAM>(left % 3));
        send(nativeWindowOf(*window_), WM_COMMAND, MAKEWPARAM(0, left),
             reinterpret_cast<LPARAM>(native));
        EXPECT_EQ(box->getSelectedItem(), static_cast<std::size_t>(left % 3));
    }
    SetForegroundWindow(nativeWindowOf(*window_));
    box->takeFocus();
    box->setEditable(true);
    native = nativeWindowOf(*box);
    const HWND field = FindWindowExW(native, nullptr, L"Edit", nullptr);
    EXPECT_EQ(GetFocus(), field);
    for (const std::pair<const wchar_t*, std::size_t>& typed :
         {std::pair{L"TWO", std::size_t{3}}, {L"what", kNullSize}, {L"one", 0}}) {
        send(field, EM_SETSEL, 0, -1);
        type(field, typed.first);
        EXPECT_EQ(box->getSelectedItem(), typed.second) << typed.first;
        EXPECT_EQ(box->text(), typed.first);
    }
    log_->take();
    box->setText(L"typed");
    EXPECT_EQ(textOf(native), L"typed");
    EXPECT_EQ(log_->take(), L"textChanged") << "only the program's own";
    // Without the field its window is nobody's any more.
    box->setEditable(false);
    EXPECT_FALSE(IsWindow(field));
}

TEST_F(NativeControlTest, scrollBar_anyRequest_movesBeyondSixteenBits) {
    const HWND surface = nativeWindowOf(*window_);
    for (const bool isVertical : {true, false}) {
        const auto bar = service().createNativeScrollBar(isVertical);
        bar->setRange(-5, 1000000);
        bar->setPageSize(1000);
        bar->setLineSize(3);
        bar->setPosition(300000);
        const HWND native = show(bar, Rect::at({}, {200, 200}));
        const std::pair<int, int> kRequests[] = {
            {SB_LINEDOWN, 300003}, {SB_PAGEUP, 299003},   {SB_LINEUP, 299000},
            {SB_PAGEDOWN, 300000}, {SB_BOTTOM, 999001},   {SB_LINEDOWN, 999001},
            {SB_TOP, -5},          {SB_LINEUP, -5},       {SB_THUMBTRACK, -5},
            {SB_ENDSCROLL, -5},    {SB_THUMBPOSITION, -5}};
        for (const auto& [request, position] : kRequests) {
            send(surface, isVertical ? WM_VSCROLL : WM_HSCROLL, static_cast<WPARAM>(request),
                 reinterpret_cast<LPARAM>(native));
            EXPECT_EQ(bar->position(), position) << request;
            EXPECT_EQ(GetScrollPos(native, SB_CTL), position) << request;
            EXPECT_EQ(bar->isTracking(), request == SB_THUMBTRACK);
            SCROLLBARINFO parts{};
            parts.cbSize = sizeof(parts);
            GetScrollBarInfo(native, OBJID_CLIENT, &parts);
            EXPECT_EQ(parts.rgstate[1] != 0, position == -5) << request;
            EXPECT_EQ(parts.rgstate[5] != 0, position == 999001) << request;
        }
        EXPECT_EQ(log_->take().find(isVertical ? L"scrolled scrolledvertically"
                                               : L"scrolled scrolledhorizontally"),
                  0U);
    }
}

}  // namespace
}  // namespace zustd
