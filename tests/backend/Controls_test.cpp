// The native controls against a model, and what the user does with them.

#include <map>
#include <numeric>

#include "ZuFontWin32Gdi.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "ZuTooltip.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <commctrl.h>

extern "C" void* __imp_TrackMouseEvent IMPORT_SLOT("TrackMouseEvent", "@4");

namespace zustd::test {
namespace {

// Widgets at random: what program and user do with one, and what its window says then.
class MirrorTest : public SurfaceTest {
protected:
    struct Holder : Control {
        bool onKey(const KeyEvent&) override { throw std::wstring(L"torn"); }
    };
    MirrorTest() {
        holder_->setBoundary({0, 0, 199, 199});
        holder_->setFocusable(true);
        window_->addChild(holder_);
        SetForegroundWindow(native());
    }

    int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool flip() { return any(2) == 0; }
    Rect anyPlace() { return Rect::at({any(50), any(50)}, {90 + any(90), 22 + any(20)}); }
    const wchar_t* word() {
        return std::array{L"", L"&Save", L"one", L"two", L"a\nb"}[random_() % 5];
    }
    std::shared_ptr<TextDescriptor> anyText() {
        auto text = std::make_shared<TextDescriptor>(word());
        text->setIdentifier(any(3) == 0 ? 9012 : 0);
        return any(4) != 0 ? text : nullptr;
    }
    std::shared_ptr<FontDescriptor> anyFont() {
        return std::make_shared<FontDescriptor>(FontStyle{false, false, false, 6 * any(3) + 6, {}});
    }
    static void notify(const Control& widget, UINT id, WPARAM wide) {
        const HWND shown = nativeWindowOf(widget);
        EXPECT_EQ(send(GetParent(shown), id, wide, reinterpret_cast<LPARAM>(shown)), 0);
    }
    static std::wstring captionOf(const auto& widget) {
        return widget.hasCaption() ? widget.caption().text(widget) : L"";
    }
    // 6 points are 8 pixels.
    static void expectFont(HWND shown, const FontDescriptor* font) {
        LOGFONTW made{};
        GetObjectW(reinterpret_cast<HGDIOBJ>(send(shown, WM_GETFONT)), sizeof(made), &made);
        EXPECT_EQ(made.lfHeight, font != nullptr ? -(font->style().size * 4 + 1) / 3
                                                 : windowMetrics().lfMessageFont.lfHeight);
    }
    static void expectLook(HWND shown, DWORD style, const std::wstring& text, int frame = 0) {
        EXPECT_EQ(GetWindowLongW(shown, GWL_STYLE) & (0xFFFF | WS_VSCROLL), LONG(style));
        EXPECT_EQ(GetWindowLongW(shown, GWL_EXSTYLE), frame);
        EXPECT_EQ(textOf(shown), text);
    }
    static bool holdsFocus(const Control& control) {
        const HWND shown = nativeWindowOf(control);
        return GetFocus() != nullptr && (GetFocus() == shown || IsChild(shown, GetFocus()));
    }
    static LRESULT CALLBACK noteSent(int code, WPARAM wide, LPARAM extra) noexcept {
        const auto& message = *reinterpret_cast<const CWPSTRUCT*>(extra);
        sent_[{message.hwnd, message.message}] = {message.wParam, message.lParam};
        changes_ += message.message == WM_ENABLE || message.message == SBM_SETSCROLLINFO ||
                    message.message == PBM_SETRANGE32;
        if (message.message == EM_SETCUEBANNER || message.message == CB_SETCUEBANNER) {
            hints_[message.hwnd].assign(reinterpret_cast<const wchar_t*>(message.lParam));
            hints_[message.hwnd].append(message.wParam, L'!');
        }
        return CallNextHookEx(nullptr, code, wide, extra);
    }
    static BOOL WINAPI track(TRACKMOUSEEVENT* request) {
        tracked_ = request->dwFlags == TME_LEAVE ? request->hwndTrack : nullptr;
        return TRUE;
    }
    // The field that lies on a control, or its own window.
    static HWND innermost(const Control& control) {
        const HWND part = GetWindow(nativeWindowOf(control), GW_CHILD);
        return part != nullptr ? part : nativeWindowOf(control);
    }
    // The pointer comes, a button or key ends the wait for the tooltip, the pointer goes.
    void hover(Control& control) {
        InputRouter& router = *holder_->surface()->inputRouter();
        const HWND inner = innermost(control);
        const std::wstring tooltip = tooltipTimerKey(control);
        const int inside = inner != nativeWindowOf(control) ? -2 : 1;
        sendMouse(inner, WM_MOUSEMOVE, {inside, inside});
        EXPECT_EQ(std::exchange(tracked_, nullptr), inner);
        sendMouse(inner, WM_MOUSEMOVE, {inside, inside});
        EXPECT_EQ(tracked_, nullptr) << "asked for already";
        EXPECT_EQ(router.hovered().get() == &control, control.isShown());
        EXPECT_EQ(control.windowService()->getNamedObject(tooltip) != nullptr, control.isShown());
        send(inner, flip() ? WM_RBUTTONDOWN : WM_KEYDOWN, VK_SHIFT);
        EXPECT_FALSE(control.windowService()->getNamedObject(tooltip));
        flip() ? router.routeMouse({MouseAction::kMove, {290, 190}}) : false;
        const auto next = router.hovered();
        send(inner, WM_MOUSELEAVE);
        EXPECT_EQ(router.hovered(), next.get() == &control ? nullptr : next);
    }
    using Changes = std::vector<std::function<void()>>;
    void expectMirrored(const std::shared_ptr<Control>& widget, const Changes& own,
                        const std::function<void(HWND)>& check);

    // The last message of each kind that a window was sent; how many changed something.
    static inline std::map<std::pair<HWND, UINT>, std::pair<WPARAM, LPARAM>> sent_;
    static inline int changes_ = 0;
    static inline std::map<HWND, std::wstring> hints_;
    const HookHandle hook_{
        SetWindowsHookExW(WH_CALLWNDPROC, &noteSent, nullptr, GetCurrentThreadId())};
    static inline HWND tracked_ = nullptr;
    const ReplacedImport tracking_{__imp_TrackMouseEvent, reinterpret_cast<void*>(&track)};
    const TraceCapture trace_;
    std::mt19937 random_{20260713};
    std::shared_ptr<NativeWindow> other_ = makeWindow({300, 200});
    std::shared_ptr<Holder> holder_ = makeControl<Holder>();
};

void MirrorTest::expectMirrored(const std::shared_ptr<Control>& widget, const Changes& own,
                                const std::function<void(HWND)>& check) {
    Control& control = *widget;
    show(widget, Rect::at({}, {90, 25}), holder_.get());
    control.tooltip().setLiteral(L"tip");
    bool isMoved = false;
    const Changes common = {
        [&] { control.setVisible(any(3) != 0); },
        [&] { control.setEnabled(any(3) != 0); },
        [&] {
            control.releaseTree();
            control.synchronizeTree();
            isMoved = !control.hasFocus() || !control.takeFocus();
            log_->take();
        },
        [&] { resources_->selectLocale(flip() ? L"en" : L"de"); },
        [&] { holder_->moveTo(anyPlace().position()); },
        [&] { control.isFocusable() && control.isShown() ? SetFocus(innermost(control)) : HWND{}; },
        [&] {
            SetFocus(nullptr);
            EXPECT_FALSE(control.hasFocus());
            SetFocus(nativeWindowOf(*holder_->surface()));
            isMoved = true;
        },
        [&] { control.inputRouter() == nullptr ? hover(control) : void(); },
        [&] {
            (holder_->surface() == window_.get() ? *other_ : *window_).addChild(holder_);
            SetForegroundWindow(nativeWindowOf(*holder_->surface()));
            isMoved = true;
        },
        [&] { control.setBoundary(anyPlace()); }};
    for (int step = 0; step < 300; ++step) {
        SCOPED_TRACE(step);
        const bool hadFocus = holdsFocus(control);
        const HWND before = nativeWindowOf(control);
        isMoved = false;
        const bool isOwn = flip();
        const Changes& changes = isOwn ? own : common;
        changes[random_() % changes.size()]();
        // Only own changes may be told as clicks, choices and new texts or places.
        const std::wstring told = log_->take();
        EXPECT_TRUE(told.find(L"ed") == told.npos || isOwn) << narrow(told);
        EXPECT_TRUE((told.find(L"Focus") != told.npos) == (hadFocus != holdsFocus(control)) ||
                    isMoved);
        const HWND shown = nativeWindowOf(control);
        const HWND parent = nativeWindowOf(*holder_->surface());
        const auto* bar = dynamic_cast<const NativeScrollBar*>(&control);
        const bool isUsable =
            control.isUsable() && (bar == nullptr || bar->minimum() < bar->highestPosition());
        EXPECT_EQ(IsWindow(before) != FALSE, before == shown);
        EXPECT_EQ(IsWindowVisible(shown) != FALSE, control.isShown());
        EXPECT_EQ(IsWindowEnabled(shown) != FALSE, isUsable);
        EXPECT_EQ(GetParent(shown), parent);
        EXPECT_EQ(
            windowRect(shown, parent),
            Rect::at(holder_->toSurface(control.boundary().position()), control.boundary().size()));
        EXPECT_EQ(control.hasFocus(), holdsFocus(control));
        const bool keeps = isUsable && control.isShown() && !isMoved;
        EXPECT_TRUE(!hadFocus || (holdsFocus(control) ? keeps : !keeps && GetFocus() == parent));
        check(shown);
        UpdateWindow(shown);
        changes_ = 0;
        control.backend()->synchronizeWithAbstraction();
        EXPECT_FALSE(changes_ != 0 || GetUpdateRect(shown, nullptr, FALSE)) << "painted again";
        ASSERT_FALSE(HasFailure());
    }
    holder_->removeAllChildren();
}

TEST_F(MirrorTest, button_randomChanges_windowSaysWhatItWants) {
    const auto w = service().createNativeButton();
    const auto press = [&] {
        w->setEnabled(true);
        log_->take();
        notify(*w, WM_COMMAND, MAKEWPARAM(0, flip() ? BN_CLICKED : BN_DOUBLECLICKED));
        EXPECT_NE(log_->take().find(L"leftClicked"), std::wstring::npos);
    };
    const Changes changes = {[&] { w->setKind(static_cast<ButtonKind>(any(4))); },
                             [&] { w->setCaption(anyText()); },
                             [&] { w->setChecked(flip()); },
                             [&] { w->setFont(anyFont()); },
                             [&] { w->setBitmap(std::make_shared<BitmapDescriptor>(120)); },
                             [&] { w->setBitmap(nullptr); },
                             press};
    expectMirrored(w, changes, [&](HWND shown) {
        static constexpr DWORD kStyles[] = {BS_PUSHBUTTON, BS_DEFPUSHBUTTON, BS_CHECKBOX,
                                            BS_RADIOBUTTON};
        expectLook(shown, kStyles[int(w->kind())], captionOf(*w));
        expectFont(shown, w->hasFont() ? &w->font() : nullptr);
        EXPECT_TRUE(w->isPush() || send(shown, BM_GETCHECK) == LRESULT{w->isChecked()});
        EXPECT_EQ(send(shown, BM_GETIMAGE, IMAGE_ICON) != 0, w->bitmap() != nullptr);
        const UINT id = std::array<UINT, 3>{WM_KEYDOWN, WM_SYSKEYDOWN, WM_CHAR}[random_() % 3];
        const MSG key{.hwnd = shown, .message = id};
        const LRESULT wants = send(shown, WM_GETDLGCODE, 0, reinterpret_cast<LPARAM>(&key));
        EXPECT_EQ((wants & DLGC_WANTMESSAGE) != 0, id != WM_CHAR);
    });
}

TEST_F(MirrorTest, textBox_randomChanges_windowSaysWhatItWants) {
    const auto w = service().createNativeTextBox();
    const Changes changes = {
        [&] { w->setKind(static_cast<TextBoxKind>(any(3))); },
        [&] { w->setWatermark(anyText()); },
        [&] { w->setReadOnly(flip()); },
        [&] { w->setFont(anyFont()); },
        [&] { w->setMaximumLength(std::size_t(any(3) * 4)); },
        [&] { w->setText(word()); },
        [&] {
            // In several lines the window itself says nothing of that.
            SetWindowTextW(nativeWindowOf(*w), L"set");
            notify(*w, WM_COMMAND, MAKEWPARAM(0, EN_CHANGE));
        },
        [&] {
            const auto colors = std::make_shared<ColorsDescriptor>();
            const auto red = static_cast<std::uint8_t>(any(256));
            colors->setColor(ColorRole::kText, Color::rgb(red, 2, 3));
            w->setColors(colors);
            EXPECT_TRUE(!w->isShown() || GetUpdateRect(nativeWindowOf(*w), nullptr, FALSE));
        }};
    expectMirrored(w, changes, [&](HWND shown) {
        static constexpr DWORD kStyles[] = {
            ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
            ES_PASSWORD | ES_AUTOHSCROLL};
        std::wstring text;
        for (const wchar_t c : w->text()) {
            text += c == L'\n' ? std::wstring(L"\r\n") : std::wstring(1, c);
        }
        expectLook(shown, kStyles[int(w->kind())] | (w->isReadOnly() ? ES_READONLY : 0), text,
                   WS_EX_CLIENTEDGE);
        expectFont(shown, w->hasFont() ? &w->font() : nullptr);
        EXPECT_EQ(send(shown, EM_GETLIMITTEXT),
                  w->maximumLength() != 0 ? LRESULT(w->maximumLength()) : 0x7FFFFFFE);
        const Canvas canvas({1, 1});
        send(GetParent(shown), WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(canvas.context()),
             reinterpret_cast<LPARAM>(shown));
        EXPECT_EQ(GetTextColor(canvas.context()),
                  w->colors() && w->isUsable() ? nativeColor(w->colors()->color(ColorRole::kText))
                                               : GetSysColor(COLOR_WINDOWTEXT));
        const bool hasHint = w->kind() != TextBoxKind::kMultiLine && w->hasWatermark();
        EXPECT_EQ(hints_[shown], hasHint ? w->watermark().text(*w) : L"");
    });
}

TEST_F(MirrorTest, comboBox_randomChanges_windowSaysWhatItWants) {
    const auto w = service().createNativeComboBox();
    const auto anyItem = [&] {
        return w->getItemCount() != 0 ? random_() % w->getItemCount() : kNullSize;
    };
    const auto typeOver = [&] {
        const HWND field = FindWindowExW(nativeWindowOf(*w), nullptr, L"Edit", nullptr);
        send(field, EM_SETSEL, 0, -1);
        type(field, flip() ? L"one" : L"o");
        EXPECT_TRUE(!w->isEditable() || w->getSelectedItem() == w->findItem(textOf(field)));
        w->backend()->synchronizeWithAbstraction();
    };
    const auto leaveList = [&] {
        const HWND shown = nativeWindowOf(*w);
        // The first answers the list, the second is nothing for the box.
        send(shown, CB_SHOWDROPDOWN, TRUE);
        for (const bool isUsed : {true, false}) {
            const std::size_t before = trace_.bytes().size();
            send(shown, WM_KEYDOWN, flip() ? VK_ESCAPE : VK_RETURN, 1);
            EXPECT_EQ(trace_.bytes().size() == before, isUsed);
            EXPECT_EQ(send(shown, CB_GETDROPPEDSTATE), 0);
        }
        w->addItem(L"one");
        const std::size_t chosen = w->getItemCount() - 1;
        w->isEditable() ? w->selectItem(chosen) : void();
        send(shown, CB_SETCURSEL, chosen);
        static constexpr int kEnds[] = {CBN_SELENDCANCEL, CBN_CLOSEUP, CBN_SELCHANGE};
        notify(*w, WM_COMMAND, MAKEWPARAM(0, kEnds[any(3)]));
        EXPECT_EQ(w->getSelectedItem(), chosen) << "of several alike the chosen one";
    };
    // clang-format off
    const Changes changes = {
        [&] { w->setEditable(flip()); }, [&] { w->setFont(anyFont()); }, typeOver,
        [&] { w->setCaption(anyText()); }, [&] { w->setText(word()); }, leaveList,
        [&] { w->addItem(flip() ? L"one" : L"&Save"); }, [&] { w->removeItem(anyItem()); },
        [&] { w->selectItem(flip() ? anyItem() : kNullSize); },
        [&] { w->getItemCount() > 4 ? w->clear() : w->selectItem(kNullSize); },
        [&] { send(nativeWindowOf(*w), WM_KEYDOWN, VK_DOWN, 1); }};
    // clang-format on
    expectMirrored(w, changes, [&](HWND shown) {
        const DWORD kind = w->isEditable() ? CBS_DROPDOWN : CBS_DROPDOWNLIST;
        expectLook(shown, kind | CBS_HASSTRINGS | CBS_AUTOHSCROLL, w->text());
        expectFont(shown, w->font().get());
        EXPECT_EQ(hints_[shown], captionOf(*w));
        EXPECT_EQ(static_cast<std::size_t>(send(shown, CB_GETCURSEL)), w->getSelectedItem());
        ASSERT_EQ(static_cast<std::size_t>(send(shown, CB_GETCOUNT)), w->getItemCount());
        for (std::size_t i = 0; i < w->getItemCount(); ++i) {
            wchar_t item[32];
            send(shown, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(item));
            EXPECT_EQ(item, w->getItemText(i));
        }
    });
}

TEST_F(MirrorTest, scrollBar_randomChanges_windowSaysWhatItWants) {
    for (const bool vertical : {true, false}) {
        const auto w = service().createNativeScrollBar(vertical);
        const auto scroll = [&] {
            const int steps[] = {-w->lineSize(), w->lineSize(), -w->pageSize(), w->pageSize()};
            const int request = any(9);
            const int wanted = request == SB_TOP      ? w->minimum()
                               : request == SB_BOTTOM ? w->maximum()
                               : request < 4          ? w->position() + steps[request]
                                                      : w->position();
            const int expected = std::clamp(wanted, w->minimum(), w->highestPosition());
            notify(*w, vertical ? WM_VSCROLL : WM_HSCROLL, WPARAM(request));
            EXPECT_EQ(w->position(), expected) << request;
            EXPECT_EQ(w->isTracking(), request == SB_THUMBTRACK);
        };
        const Changes changes = {[&] { w->setRange(any(3) - 2, any(9) * 100'000); },
                                 [&] { w->setPageSize(any(2) * 90 + 1); },
                                 [&] { w->setPosition(any(2) * any(900'000)); },
                                 [&] { w->setLineSize(1 + any(9)); }, scroll};
        expectMirrored(w, changes, [&](HWND shown) {
            SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 0, 0, 0, 0};
            GetScrollInfo(shown, SB_CTL, &info);
            expectLook(shown, vertical ? SBS_VERT : SBS_HORZ, L"");
            const int page = std::min(w->pageSize(), w->maximum() - w->minimum() + 1);
            EXPECT_EQ(std::tuple(info.nMin, info.nMax, int(info.nPage), info.nPos),
                      std::tuple(w->minimum(), w->maximum(), page, w->position()));
            EXPECT_EQ(recordingOf<INativeScrollBarImpl>(*w).getPosition(), w->position());
            const bool isOn = IsWindowEnabled(shown) != FALSE;
            SCROLLBARINFO parts{sizeof(parts), {}, 0, 0, 0, 0, {}};
            GetScrollBarInfo(shown, OBJID_CLIENT, &parts);
            const auto isOff = [&](int arrow) { return (parts.rgstate[arrow] & 1U) != 0; };
            EXPECT_TRUE(!isOn || isOff(1) == (w->position() == w->minimum()));
            EXPECT_TRUE(!isOn || isOff(5) == (w->position() == w->highestPosition()));
        });
    }
}

TEST_F(MirrorTest, progressBarAndWindow_randomChanges_windowsSayWhatTheyWant) {
    const auto bar = service().createNativeProgressBar();
    const Changes changes = {[&] { bar->setRange(any(2) - 50, any(2) + 50); },
                             [&] { bar->setEnableMarqueeAnimation(any(3) == 0); },
                             [&] { bar->setMarqueeInterval(1U << any(3)); },
                             [&] { bar->setState(static_cast<ProgressState>(any(3))); },
                             [&] { bar->setPosition(any(100)); }};
    expectMirrored(bar, changes, [&](HWND shown) {
        expectLook(shown, bar->isMarquee() ? PBS_MARQUEE : 0, L"");
        EXPECT_EQ(send(shown, PBM_GETRANGE, TRUE), bar->minimum());
        EXPECT_EQ(send(shown, PBM_GETRANGE), bar->maximum());
        const auto position = recordingOf<INativeProgressBarImpl>(*bar).getPosition();
        EXPECT_TRUE(bar->isMarquee() || position == bar->position());
        EXPECT_EQ((sent_[{shown, PBM_GETSTATE}]), std::pair(WPARAM{}, LPARAM{}));
        static constexpr WPARAM kStates[] = {PBST_NORMAL, PBST_ERROR, PBST_PAUSED};
        const WPARAM state = sent_[{shown, PBM_SETSTATE}].first;
        EXPECT_TRUE(bar->state() == ProgressState::kNormal || state == kStates[int(bar->state())]);
        const LPARAM steps = sent_[{shown, PBM_SETMARQUEE}].second;
        EXPECT_EQ(steps, bar->isMarquee() ? LPARAM(bar->marqueeInterval()) : 0);
    });
    const auto child = service().createNativeWindow();
    expectMirrored(child, {[&] { child->setCaption(anyText()); }}, [&](HWND shown) {
        expectLook(shown, 0, captionOf(*child), WS_EX_CONTROLPARENT);
    });
}

// What takes two units is typed, passed and removed as one.
TEST_F(SurfaceTest, textBox_randomUser_hasTheTextOfTheModelAndAnnouncesEachChangeOnce) {
    constexpr std::size_t kMost = 12;
    const auto box = show(service().createNativeTextBox(), {0, 0, 199, 24});
    box->setMaximumLength(kMost);
    const HWND window = nativeWindowOf(*box);
    std::mt19937 random(20260716);
    Texts letters;
    int caret = 0;
    const auto front = [&](int count) {
        return std::accumulate(letters.begin(), letters.begin() + count, std::wstring());
    };
    for (int step = 0; step < 1200; ++step) {
        const std::wstring letter = std::array{L"a", L"\u0416", L"\U0001F600"}[random() % 3];
        const int count = static_cast<int>(letters.size());
        const std::wstring former = front(count);
        const auto kind = random() % 12;
        if (kind == 0 || kind > 8) {
            send(window, WM_KEYDOWN, VK_LEFT, 1);
            caret = std::max(caret - 1, 0);
        } else if (kind == 1) {
            send(window, WM_KEYDOWN, VK_RIGHT, 1);
            caret = std::min(caret + 1, count);
        } else if (kind == 2 && caret != 0) {
            type(window, L"\b");
            letters.erase(letters.begin() + --caret);
        } else if (kind == 3 && caret != count) {
            send(window, WM_KEYDOWN, VK_DELETE, 1);
            letters.erase(letters.begin() + caret);
        } else if (kind == 4 && caret != count) {
            // Marked, or clicked at, between the halves; one that is typed alone is nothing.
            const int last = caret + static_cast<int>(random() % unsigned(count - caret));
            const std::size_t inside = front(caret + 1).size() - 1;
            const std::size_t end = front(last + 1).size() - 1;
            send(window, EM_SETSEL, inside, static_cast<LPARAM>(end));
            send(window, WM_LBUTTONUP);
            const std::size_t first = front(caret).size();
            const std::size_t behind = end + letters[std::size_t(last)].size() - 1;
            ASSERT_EQ(send(window, EM_GETSEL), MAKELONG(first, inside == end ? first : behind));
            type(window, letter.substr(1));
            if (inside != end) {
                send(window, WM_KEYDOWN, VK_DELETE, 1);
                letters.erase(letters.begin() + caret,
                              letters.begin() + last + (letters[std::size_t(last)].size() == 2));
            }
        } else if (kind == 5) {
            type(window, L'\1' + letter);
            letters = {letter};
            caret = 1;
        } else if (kind > 5) {
            kind == 6 ? send(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(letter.c_str()))
                      : (type(window, letter), 0);
            if (former.size() + letter.size() <= kMost) {
                letters.insert(letters.begin() + caret++, letter);
            }
        }
        const std::wstring text = front(static_cast<int>(letters.size()));
        const std::size_t place = front(caret).size();
        ASSERT_EQ(box->text(), text) << step;
        ASSERT_EQ(textOf(window), text) << step;
        ASSERT_EQ(send(window, EM_GETSEL), MAKELONG(place, place)) << step;
        ASSERT_EQ(log_->take(), text != former ? L"textChanged" : L"") << step;
    }
    // The program's halves are its own.
    box->setText(L"\xD83D");
    EXPECT_EQ(box->text(), L"\xD83D");
}

}  // namespace
}  // namespace zustd::test
