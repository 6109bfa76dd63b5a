// The native controls against a model, and what the user does with them.

#include <array>
#include <map>
#include <random>
#include <sstream>

#include "ZuNativeComboBox.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "ZuScope.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd {
namespace {

using namespace test;

template <class... Values>
std::wstring told(const Values&... values) {
    std::wostringstream out;
    ((out << values << L'|'), ...);
    return out.str();
}

// What changes the windows of this thread while one lives; of what the test bench
// has no way to ask for, the last.
class Sent {
public:
    static inline std::vector<UINT> ids;
    static inline std::map<std::pair<HWND, UINT>, std::wstring> last;

private:
    static LRESULT CALLBACK note(int code, WPARAM own, LPARAM extra) noexcept {
        static constexpr UINT kChanging[] = {
            WM_SETTEXT,   WM_SETFONT,       WM_ENABLE,        WM_SHOWWINDOW,   WM_WINDOWPOSCHANGING,
            BM_SETCHECK,  BM_SETIMAGE,      EM_LIMITTEXT,     EM_SETREADONLY,  EM_SETCUEBANNER,
            CB_SETCURSEL, CB_SETITEMHEIGHT, CB_ADDSTRING,     CB_SETCUEBANNER, PBM_SETRANGE32,
            PBM_SETPOS,   PBM_SETMARQUEE,   SBM_SETSCROLLINFO};
        const auto& sent = *reinterpret_cast<const CWPSTRUCT*>(extra);
        if (std::find(std::begin(kChanging), std::end(kChanging), sent.message) !=
            std::end(kChanging)) {
            ids.push_back(sent.message);
        }
        if (sent.message == CB_SETCUEBANNER) {
            last[{sent.hwnd, sent.message}] = reinterpret_cast<const wchar_t*>(sent.lParam);
        } else if (sent.message == PBM_SETSTATE || sent.message == PBM_SETMARQUEE) {
            last[{sent.hwnd, sent.message}] = told(sent.wParam, sent.lParam);
        }
        return CallNextHookEx(nullptr, code, own, extra);
    }

    HookHandle hook_{SetWindowsHookExW(WH_CALLWNDPROC, &note, nullptr, GetCurrentThreadId())};
};

// A widget at random: what the program and the user do with it, what its control
// wants the window to say, and what that says.
class MirrorTest : public SurfaceTest {
protected:
    struct Subject {
        std::string name;
        std::shared_ptr<Control> control;
        std::vector<std::function<void()>> changes;
        std::function<std::wstring()> wanted;
        std::function<std::wstring(HWND)> said;
    };
    // What the widgets lie on.
    struct Holder : Control {
        bool throws = false;
        bool onKey(const KeyEvent&) override {
            if (throws) {
                throw std::wstring(L"torn");
            }
            return false;
        }
    };

    int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool flip() { return any(2) == 0; }
    const wchar_t* word() {
        static constexpr const wchar_t* kWords[] = {L"", L"&Save", L"one", L"two", L"a\nb"};
        return kWords[any(5)];
    }
    std::shared_ptr<TextDescriptor> anyText() {
        auto text = std::make_shared<TextDescriptor>(word());
        if (any(3) == 0) {
            text->setIdentifier(9012);
        }
        return any(4) != 0 ? text : nullptr;
    }
    std::shared_ptr<FontDescriptor> anyFont() {
        return std::make_shared<FontDescriptor>(FontStyle{false, false, false, 6 * any(3) + 6, {}});
    }
    // Pixels of a font; 6 points are 8.
    static int heightOf(HWND native) {
        LOGFONTW font{};
        GetObjectW(reinterpret_cast<HGDIOBJ>(send(native, WM_GETFONT)), sizeof(font), &font);
        return -font.lfHeight;
    }
    static int heightOf(const FontDescriptor* font) {
        return ((font != nullptr ? font->style().size : FontStyle::kDefaultSize) * 4 + 1) / 3;
    }

    Subject button() {
        const auto w = service().createNativeButton();
        return {"ButtonWin32Gdi",
                w,
                {[=, this] { w->setKind(static_cast<ButtonKind>(any(4))); },
                 [=, this] { w->setCaption(anyText()); }, [=, this] { w->setChecked(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=, this] {
                     w->setBitmap(flip() ? std::make_shared<BitmapDescriptor>(120, Size{16, 16})
                                         : nullptr);
                 },
                 [=, this] {
                     const HWND native = nativeWindowOf(*w);
                     const bool expected = w->kind() == ButtonKind::kRadio ||
                                           (w->kind() == ButtonKind::kCheck) != w->isChecked();
                     w->setEnabled(true);
                     log_->take();
                     // A second quick press is a press.
                     send(GetParent(native), WM_COMMAND,
                          MAKEWPARAM(0, flip() ? BN_CLICKED : BN_DOUBLECLICKED),
                          reinterpret_cast<LPARAM>(native));
                     EXPECT_NE(log_->take().find(L"leftClicked"), std::wstring::npos);
                     EXPECT_EQ(w->isChecked(), expected);
                 }},
                [=] {
                    static constexpr int kStyles[] = {BS_PUSHBUTTON, BS_DEFPUSHBUTTON, BS_CHECKBOX,
                                                      BS_RADIOBUTTON};
                    const std::wstring caption = w->hasCaption() ? w->caption().text(*w) : L"";
                    return told(L"Button", kStyles[static_cast<int>(w->kind())], 0, caption,
                                heightOf(w->hasFont() ? &w->font() : nullptr),
                                !w->isPush() && w->isChecked(),
                                w->bitmap() == nullptr ? 0
                                : caption.empty()      ? 16
                                                       : 20);
                },
                [=](HWND native) {
                    ICONINFO parts{};
                    BITMAP bitmap{};
                    GetIconInfo(reinterpret_cast<HICON>(send(native, BM_GETIMAGE, IMAGE_ICON)),
                                &parts);
                    const BitmapHandle colors(parts.hbmColor);
                    const BitmapHandle mask(parts.hbmMask);
                    GetObjectW(colors.get(), sizeof(bitmap), &bitmap);
                    return told(heightOf(native), !w->isPush() && send(native, BM_GETCHECK) != 0,
                                bitmap.bmWidth);
                }};
    }

    Subject textBox() {
        const auto w = service().createNativeTextBox();
        return {"TextBoxWin32Gdi",
                w,
                {[=, this] { w->setKind(static_cast<TextBoxKind>(any(3))); },
                 [=, this] { w->setWatermark(anyText()); }, [=, this] { w->setReadOnly(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=, this] { w->setMaximumLength(static_cast<std::size_t>(any(6))); },
                 [=, this] { w->setText(word()); },
                 [=, this] { type(nativeWindowOf(*w), flip() ? L"y" : L"\r\U0001F600"); }},
                [=] {
                    static constexpr DWORD kStyles[] = {
                        ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
                        ES_PASSWORD | ES_AUTOHSCROLL};
                    const bool isLong = w->kind() == TextBoxKind::kMultiLine;
                    std::wstring text;
                    for (const wchar_t c : w->text()) {
                        text += c == L'\n' ? std::wstring(L"\r\n") : std::wstring(1, c);
                    }
                    return told(
                        L"Edit",
                        kStyles[static_cast<int>(w->kind())] | (w->isReadOnly() ? ES_READONLY : 0),
                        WS_EX_CLIENTEDGE, text, heightOf(w->hasFont() ? &w->font() : nullptr),
                        w->maximumLength() != 0 ? w->maximumLength() : 0x7FFFFFFE,
                        !isLong && w->hasWatermark() ? w->watermark().text(*w) : L"");
                },
                [](HWND native) {
                    wchar_t hint[64] = L"";
                    send(native, EM_GETCUEBANNER, reinterpret_cast<WPARAM>(hint), 64);
                    return told(heightOf(native), send(native, EM_GETLIMITTEXT), hint);
                }};
    }

    Subject comboBox() {
        const auto w = service().createNativeComboBox();
        const auto anyItem = [=, this] {
            return static_cast<std::size_t>(any(static_cast<int>(w->getItemCount())));
        };
        return {
            "ComboBoxWin32Gdi",
            w,
            {[=, this] { w->setEditable(flip()); }, [=, this] { w->setEditable(flip()); },
             [=, this] { w->setCaption(anyText()); }, [=, this] { w->setFont(anyFont()); },
             [=, this] { w->setText(word()); }, [=, this] { w->addItem(word()); },
             [=, this] { w->addItem(word()); },
             [=] { w->selectItem(w->getItemCount() != 0 ? anyItem() : kNullSize); },
             [=] { w->getItemCount() != 0 ? w->removeItem(anyItem()) : w->selectItem(kNullSize); },
             [=] { w->getItemCount() > 4 ? w->clear() : w->selectItem(kNullSize); },
             [=] { send(nativeWindowOf(*w), WM_KEYDOWN, VK_DOWN, 1); },
             [=, this] {
                 const HWND field = FindWindowExW(nativeWindowOf(*w), nullptr, L"Edit", nullptr);
                 send(field, EM_SETSEL, 0, -1);
                 type(field, flip() ? L"one" : L"o");
                 w->backend()->synchronizeWithAbstraction();
             }},
            [=] {
                std::wstring items;
                for (const std::wstring& item : w->items()) {
                    items += item + L';';
                }
                return told(L"ComboBox",
                            (w->isEditable() ? CBS_DROPDOWN : CBS_DROPDOWNLIST) | CBS_HASSTRINGS |
                                CBS_AUTOHSCROLL,
                            0, w->text(), heightOf(w->font().get()),
                            static_cast<LRESULT>(w->getSelectedItem()),
                            w->hasCaption() ? w->caption().text(*w) : L"", items);
            },
            [](HWND native) {
                std::wstring items;
                for (LRESULT i = 0; i < send(native, CB_GETCOUNT); ++i) {
                    wchar_t item[32] = L"";
                    send(native, CB_GETLBTEXT, static_cast<WPARAM>(i),
                         reinterpret_cast<LPARAM>(item));
                    items += std::wstring(item) + L';';
                }
                return told(heightOf(native), send(native, CB_GETCURSEL),
                            Sent::last[{native, CB_SETCUEBANNER}], items);
            }};
    }

    Subject scrollBar(bool vertical) {
        const auto w = service().createNativeScrollBar(vertical);
        return {
            "ScrollBarWin32Gdi",
            w,
            {[=, this] { w->setRange(any(3) - 2, any(9) * 100'000); },
             [=, this] { w->setPageSize(any(2) * 90 + 1); },
             [=, this] {
                 w->setPosition(any(2) * any(900'000));
                 w->setLineSize(1 + any(9));
             },
             [=, this] {
                 const int steps[] = {-w->lineSize(),
                                      w->lineSize(),
                                      -w->pageSize(),
                                      w->pageSize(),
                                      0,
                                      0,
                                      w->minimum() - w->position(),
                                      w->maximum() - w->position(),
                                      0};
                 const int request = any(9);
                 const int expected =
                     std::clamp(w->position() + steps[request], w->minimum(), w->highestPosition());
                 const HWND native = nativeWindowOf(*w);
                 send(GetParent(native), vertical ? WM_VSCROLL : WM_HSCROLL,
                      static_cast<WPARAM>(request), reinterpret_cast<LPARAM>(native));
                 EXPECT_EQ(w->position(), expected) << request;
                 EXPECT_EQ(w->isTracking(), request == SB_THUMBTRACK);
             }},
            [=] {
                const int page = std::min(w->pageSize(), w->maximum() - w->minimum() + 1);
                const bool isUsable = w->isUsable() && w->minimum() < w->highestPosition();
                return told(L"ScrollBar", vertical ? SBS_VERT : SBS_HORZ, 0, L"", w->minimum(),
                            w->maximum(), page, w->position(),
                            isUsable && w->position() == w->minimum(),
                            isUsable && w->position() == w->highestPosition());
            },
            [](HWND native) {
                SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 0, 0, 0, 0};
                GetScrollInfo(native, SB_CTL, &info);
                SCROLLBARINFO parts{};
                parts.cbSize = sizeof(parts);
                GetScrollBarInfo(native, OBJID_CLIENT, &parts);
                const bool isUsable = IsWindowEnabled(native) != FALSE;
                return told(info.nMin, info.nMax, info.nPage, info.nPos,
                            isUsable && parts.rgstate[1] != 0, isUsable && parts.rgstate[5] != 0);
            }};
    }

    Subject progressBar() {
        const auto w = service().createNativeProgressBar();
        return {"ProgressBarWin32Gdi",
                w,
                {[=, this] { w->setRange(any(100) - 50, any(100) + 50); },
                 [=, this] { w->setEnableMarqueeAnimation(any(3) == 0); },
                 [=, this] { w->setMarqueeInterval(static_cast<unsigned>(any(90) + 1)); },
                 [=, this] { w->setPosition(any(100)); },
                 [=, this] { w->setState(static_cast<ProgressState>(1 + any(2))); }},
                [=] {
                    static constexpr int kStates[] = {PBST_NORMAL, PBST_ERROR, PBST_PAUSED};
                    return told(L"msctls_progress32", w->isMarquee() ? PBS_MARQUEE : 0, 0, L"",
                                w->minimum(), w->maximum(), w->isMarquee() ? 0 : w->position(),
                                kStates[static_cast<int>(w->state())],
                                w->isMarquee() ? told(TRUE, w->marqueeInterval()) : L"");
                },
                [=](HWND native) {
                    return told(send(native, PBM_GETRANGE, TRUE), send(native, PBM_GETRANGE),
                                w->isMarquee() ? 0 : send(native, PBM_GETPOS)) +
                           (Sent::last.contains({native, PBM_SETSTATE})
                                ? Sent::last[{native, PBM_SETSTATE}].substr(0, 2)
                                : told(PBST_NORMAL)) +
                           told(Sent::last[{native, PBM_SETMARQUEE}]);
                }};
    }

    Subject childWindow() {
        const auto w = service().createNativeWindow();
        return {"WindowWin32Gdi",
                w,
                {[=, this] { w->setCaption(anyText()); }},
                [=] {
                    return told(L"ZuNativeWindow", 0, 0,
                                w->hasCaption() ? w->caption().text(*w) : L"");
                },
                [](HWND) { return std::wstring(); }};
    }

    static std::wstring look(HWND native) {
        constexpr LONG kKept = 0xFFFF | WS_VSCROLL;
        wchar_t name[64] = L"";
        GetClassNameW(native, name, 64);
        return told(name, GetWindowLongW(native, GWL_STYLE) & kKept,
                    GetWindowLongW(native, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, textOf(native));
    }
    static bool holdsFocus(const Control& control) {
        const HWND native = nativeWindowOf(control);
        return GetFocus() != nullptr && (GetFocus() == native || IsChild(native, GetFocus()));
    }
    // Whether a control that has the focus is to keep it.
    bool changeAnything(Control& control) {
        switch (any(9)) {
            case 0:
                control.setVisible(any(3) != 0);
                return control.isVisible();
            case 1:
                control.setEnabled(any(3) != 0);
                return control.isEnabled();
            case 2:
                control.releaseTree();
                control.synchronizeTree();
                return control.hasFocus() && control.takeFocus();
            case 3:
                resources_->selectLocale(flip() ? L"en" : L"de");
                return true;
            case 4:
                holder_->moveTo({any(50), any(50)});
                return true;
            case 5:
                control.takeFocus();
                return true;
            case 6:
                (holder_->surface() == window_.get() ? *other_ : *window_).addChild(holder_);
                SetForegroundWindow(nativeWindowOf(*holder_->surface()));
                return false;
            default:
                control.setBoundary(Rect::at({any(50), any(50)}, {90 + any(90), 22 + any(20)}));
                return true;
        }
    }

    std::mt19937 random_{20260713};
    std::shared_ptr<NativeWindow> other_ = makeWindow({300, 200});
    std::shared_ptr<Holder> holder_ = makeControl<Holder>();
    Sent sent_;
};

TEST_F(MirrorTest, anyWidget_randomChanges_windowSaysWhatTheControlWants) {
    const TraceCapture trace;
    const auto expectReport = [&](const std::string& operation) {
        ASSERT_FALSE(trace.messages().empty()) << operation;
        EXPECT_TRUE(trace.messages().back().starts_with(operation + ": catched "))
            << operation << ": " << trace.messages().back();
    };
    show(holder_, {0, 0, 199, 199});
    SetForegroundWindow(native());
    holder_->setFocusable(true);
    for (const Subject& subject : {button(), textBox(), comboBox(), scrollBar(true),
                                   scrollBar(false), progressBar(), childWindow()}) {
        Control& control = *subject.control;
        {
            const RefusedWindows refused;
            show(subject.control, Rect::at({}, {90, 25}), holder_.get());
            EXPECT_EQ(nativeWindowOf(control), nullptr);
            expectReport(subject.name + "::synchronizeWithAbstraction");
        }
        control.synchronizeTree();
        for (int step = 0; step < 120; ++step) {
            SCOPED_TRACE(testing::Message() << subject.name << ' ' << step);
            const bool hadFocus = holdsFocus(control);
            bool keepsFocus = true;
            flip() ? static_cast<void>(keepsFocus = changeAnything(control))
                   : subject.changes[static_cast<std::size_t>(
                         any(static_cast<int>(subject.changes.size())))]();
            const HWND shown = nativeWindowOf(control);
            const HWND parent = nativeWindowOf(*holder_->surface());
            const auto* bar = dynamic_cast<const NativeScrollBar*>(&control);
            const bool isUsable =
                control.isUsable() && (bar == nullptr || bar->minimum() < bar->highestPosition());
            const std::wstring wanted = told(control.isShown(), isUsable) + subject.wanted();
            ASSERT_EQ(told(IsWindowVisible(shown) != FALSE, IsWindowEnabled(shown) != FALSE) +
                          look(shown) + subject.said(shown),
                      wanted);
            ASSERT_EQ(GetParent(shown), parent);
            ASSERT_EQ(windowRect(shown, parent),
                      Rect::at(holder_->toSurface(control.boundary().position()),
                               control.boundary().size()));
            ASSERT_EQ(control.hasFocus(), holdsFocus(control));
            ASSERT_EQ(hadFocus && keepsFocus && isUsable, hadFocus && holdsFocus(control));
            Sent::ids.clear();
            control.backend()->synchronizeWithAbstraction();
            ASSERT_TRUE(Sent::ids.empty()) << "sent again: " << Sent::ids.front();
        }
        if (control.inputRouter() == nullptr) {
            const ScopedValue throwing(holder_->throws, true);
            send(nativeWindowOf(control), WM_KEYDOWN, VK_TAB, 1);
            expectReport(subject.name + "::handleMultiWindowMessage");
        }
        holder_->removeAllChildren();
    }
    holder_->throws = true;
    holder_->takeFocus();
    send(nativeWindowOf(*holder_->surface()), WM_KEYDOWN, L'A', 1);
    expectReport("WindowWin32Gdi::windowProcedure");
}

// Windows that were never seen are made ten times as fast.
TEST_F(MirrorTest, anyWidget_madeAgainAndAgain_leavesNothingBehind) {
    other_->setVisible(false);
    int round = 0;
    expectNothingLeft([&] {
        NativeWindow& surface = round++ % 10 == 0 ? *window_ : *other_;
        for (const Subject& subject :
             {button(), textBox(), comboBox(), scrollBar(false), progressBar(), childWindow()}) {
            show(subject.control, Rect::at({}, {90, 25}), &surface);
            for (const auto& change : subject.changes) {
                change();
            }
        }
        UpdateWindow(nativeWindowOf(surface));
        surface.removeAllChildren();
        WindowServiceWin32Gdi::clearDrawingCaches();
    });
}

TEST_F(SurfaceTest, anyWidget_droppedByItsOwnMessage_isGoneAfterwards) {
    auto combo = service().createNativeComboBox();
    combo->addItem(L"one");
    std::pair<std::shared_ptr<Control>, std::function<void(HWND)>> cases[] = {
        {service().createNativeButton(), [](HWND window) { send(window, BM_CLICK); }},
        {service().createNativeButton(), [](HWND window) { SetFocus(window); }},
        {service().createNativeTextBox(), [](HWND window) { type(window, L"\U0001F600"); }},
        {std::move(combo), [](HWND window) { send(window, WM_KEYDOWN, VK_DOWN, 1); }},
        {service().createNativeScrollBar(true), [](HWND window) {
             send(GetParent(window), WM_VSCROLL, SB_LINEDOWN, reinterpret_cast<LPARAM>(window));
         }}};
    const auto dropper =
        std::make_shared<FunctionSink>([&](auto&&...) { window_->removeAllChildren(); });
    for (auto& [widget, act] : cases) {
        show(widget, {0, 0, 89, 24})->connect(dropper, false);
        const HWND window = nativeWindowOf(*widget);
        widget.reset();
        ASSERT_TRUE(IsWindow(window));
        act(window);
        EXPECT_FALSE(IsWindow(window)) << &act - &cases[0].second;
    }
}

// What takes two units is typed, passed, marked and removed as one.
TEST_F(SurfaceTest, textBox_randomUser_hasTheTextOfTheModelAndAnnouncesEachChangeOnce) {
    constexpr std::size_t kMost = 12;
    const auto box = show(service().createNativeTextBox(), {0, 0, 199, 24});
    box->setMaximumLength(kMost);
    const HWND window = nativeWindowOf(*box);
    std::mt19937 random(20260715);
    std::wstring text;
    std::size_t caret = 0;
    const auto isInside = [&](std::size_t place) { return IS_LOW_SURROGATE(text[place]); };
    const auto before = [&] { return caret < 2 ? 0 : caret - (isInside(caret - 1) ? 2 : 1); };
    const auto behind = [&] {
        return caret == text.size() ? caret : caret + (isInside(caret + 1) ? 2U : 1U);
    };
    for (int step = 0; step < 600; ++step) {
        const std::wstring letter = std::array{L"a", L"\u0416", L"\U0001F600"}[random() % 3];
        const std::wstring former = text;
        const auto kind = random() % 9;
        if (kind == 0) {
            send(window, WM_KEYDOWN, VK_LEFT, 1);
            caret = before();
        } else if (kind == 1) {
            send(window, WM_KEYDOWN, VK_RIGHT, 1);
            caret = behind();
        } else if (kind == 2) {
            type(window, L"\b");
            text.erase(before(), caret - before());
            caret -= former.size() - text.size();
        } else if (kind == 3) {
            send(window, WM_KEYDOWN, VK_DELETE, 1);
            text.erase(caret, behind() - caret);
        } else if (kind == 4) {
            // Marked with the mouse.
            const std::size_t start = random() % (text.size() + 1);
            const std::size_t end = start + random() % (text.size() - start + 1);
            send(window, EM_SETSEL, start, static_cast<LPARAM>(end));
            send(window, WM_LBUTTONUP);
            caret = start - (isInside(start) ? 1 : 0);
            ASSERT_EQ(send(window, EM_GETSEL),
                      MAKELONG(caret, start == end ? caret : end + (isInside(end) ? 1 : 0)));
            send(window, EM_SETSEL, caret, static_cast<LPARAM>(caret));
        } else if (kind == 5) {
            // Ctrl+A
            type(window, L'\1' + letter);
            text = letter;
            caret = text.size();
        } else {
            // Typed or pasted.
            kind == 6 ? send(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(letter.c_str()))
                      : (type(window, letter), 0);
            if (text.size() + letter.size() <= kMost) {
                text.insert(caret, letter);
                caret += letter.size();
            }
        }
        ASSERT_EQ(box->text(), text) << step;
        ASSERT_EQ(textOf(window), text) << step;
        ASSERT_EQ(send(window, EM_GETSEL), MAKELONG(caret, caret)) << step;
        ASSERT_EQ(log_->take(), text != former ? L"textChanged" : L"") << step;
    }
}

TEST_F(SurfaceTest, comboBox_listLeftOrTextTaken_isWhatTheWindowShows) {
    const auto box = service().createNativeComboBox();
    for (const wchar_t* item : {L"one", L"two", L"three", L"two"}) {
        box->addItem(item);
    }
    const HWND window = nativeWindowOf(*show(box, {0, 0, 89, 24}));
    send(window, CB_SHOWDROPDOWN, TRUE);
    send(window, WM_KEYDOWN, VK_DOWN, 1);
    send(window, WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_EQ(send(window, CB_GETDROPPEDSTATE), 0);
    for (const int left : {CBN_SELENDCANCEL, CBN_CLOSEUP, CBN_SELCHANGE}) {
        send(window, CB_SETCURSEL, static_cast<WPARAM>(left % 3));
        send(native(), WM_COMMAND, MAKEWPARAM(0, left), reinterpret_cast<LPARAM>(window));
        EXPECT_EQ(box->getSelectedItem(), static_cast<std::size_t>(left % 3));
    }
    box->setEditable(true);
    box->selectItem(3);
    send(native(), WM_COMMAND, MAKEWPARAM(0, CBN_CLOSEUP),
         reinterpret_cast<LPARAM>(nativeWindowOf(*box)));
    EXPECT_EQ(box->getSelectedItem(), 3U) << "of several the chosen one";
    log_->take();
    box->setText(L"other");
    EXPECT_EQ(log_->take(), L"textChanged") << "only the program's own";
}

}  // namespace
}  // namespace zustd
