// The native controls against a model, and what the user does with them.

#include <array>
#include <numeric>
#include <random>

#include "ZuFontWin32Gdi.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd {
namespace {

using namespace test;

// Widgets at random: what the program and the user do with one, and what its window
// has to say then.
class MirrorTest : public SurfaceTest {
protected:
    struct Subject {
        std::string name;
        std::shared_ptr<Control> control;
        std::vector<std::function<void()>> changes;
        std::function<void(HWND)> check;
    };
    // What the widgets lie on.
    struct Holder : Control {
        bool onKey(const KeyEvent&) override { throw std::wstring(L"torn"); }
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
    // What the widget's window tells its parent.
    static void notify(const Control& widget, UINT id, WPARAM wide) {
        const HWND shown = nativeWindowOf(widget);
        send(GetParent(shown), id, wide, reinterpret_cast<LPARAM>(shown));
    }
    // Announced once: not by the window too.
    template <class Widget>
    void setAnyText(Widget& widget) {
        log_->take();
        widget.setText(word());
        EXPECT_LE(log_->entries.size(), 1U);
    }
    template <class Widget>
    static std::wstring captionOf(const Widget& widget) {
        return widget.hasCaption() ? widget.caption().text(widget) : L"";
    }
    std::shared_ptr<FontDescriptor> anyFont() {
        return std::make_shared<FontDescriptor>(FontStyle{false, false, false, 6 * any(3) + 6, {}});
    }
    // 6 points are 8 pixels.
    static void expectFont(HWND shown, const FontDescriptor* font) {
        LOGFONTW made{};
        GetObjectW(reinterpret_cast<HGDIOBJ>(send(shown, WM_GETFONT)), sizeof(made), &made);
        EXPECT_EQ(made.lfHeight, font != nullptr ? -(font->style().size * 4 + 1) / 3
                                                 : windowMetrics().lfMessageFont.lfHeight);
    }
    static void expectLook(HWND shown, const wchar_t* windowClass, DWORD style,
                           const std::wstring& text, LONG edge = 0) {
        wchar_t name[64] = L"";
        GetClassNameW(shown, name, 64);
        EXPECT_STREQ(name, windowClass);
        EXPECT_EQ(GetWindowLongW(shown, GWL_STYLE) & (0xFFFF | WS_VSCROLL), LONG(style));
        EXPECT_EQ(GetWindowLongW(shown, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, edge);
        EXPECT_EQ(textOf(shown), text);
    }

    Subject button() {
        const auto w = service().createNativeButton();
        const auto press = [=, this] {
            const bool expected = w->kind() == ButtonKind::kRadio ||
                                  (w->kind() == ButtonKind::kCheck) != w->isChecked();
            w->setEnabled(true);
            // A second quick press is a press.
            notify(*w, WM_COMMAND, MAKEWPARAM(0, flip() ? BN_CLICKED : BN_DOUBLECLICKED));
            EXPECT_EQ(w->isChecked(), expected);
        };
        const auto check = [=](HWND shown) {
            static constexpr DWORD kStyles[] = {BS_PUSHBUTTON, BS_DEFPUSHBUTTON, BS_CHECKBOX,
                                                BS_RADIOBUTTON};
            expectLook(shown, L"Button", kStyles[int(w->kind())], captionOf(*w));
            expectFont(shown, w->hasFont() ? &w->font() : nullptr);
            EXPECT_TRUE(w->isPush() || send(shown, BM_GETCHECK) == LRESULT{w->isChecked()});
            EXPECT_EQ(send(shown, BM_GETIMAGE, IMAGE_ICON) != 0, w->bitmap() != nullptr);
        };
        return {"ButtonWin32Gdi",
                w,
                {[=, this] { w->setKind(static_cast<ButtonKind>(any(4))); },
                 [=, this] { w->setCaption(anyText()); }, [=, this] { w->setChecked(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=] { w->setBitmap(std::make_shared<BitmapDescriptor>(120)); },
                 [=] { w->setBitmap(nullptr); }, press},
                check};
    }

    Subject textBox() {
        const auto w = service().createNativeTextBox();
        const auto check = [=](HWND shown) {
            static constexpr DWORD kStyles[] = {
                ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
                ES_PASSWORD | ES_AUTOHSCROLL};
            std::wstring text;
            for (const wchar_t c : w->text()) {
                text += c == L'\n' ? std::wstring(L"\r\n") : std::wstring(1, c);
            }
            expectLook(shown, L"Edit",
                       kStyles[int(w->kind())] | (w->isReadOnly() ? ES_READONLY : 0), text,
                       WS_EX_CLIENTEDGE);
            expectFont(shown, w->hasFont() ? &w->font() : nullptr);
            EXPECT_EQ(send(shown, EM_GETLIMITTEXT),
                      w->maximumLength() != 0 ? LRESULT(w->maximumLength()) : 0x7FFFFFFE);
            wchar_t hint[64] = L"";
            send(shown, EM_GETCUEBANNER, reinterpret_cast<WPARAM>(hint), 64);
            const bool hasHint = w->kind() != TextBoxKind::kMultiLine && w->hasWatermark();
            EXPECT_EQ(hint, hasHint ? w->watermark().text(*w) : L"");
        };
        return {"TextBoxWin32Gdi",
                w,
                {[=, this] { w->setKind(static_cast<TextBoxKind>(any(3))); },
                 [=, this] { w->setWatermark(anyText()); }, [=, this] { w->setReadOnly(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=, this] { w->setMaximumLength(static_cast<std::size_t>(any(6))); },
                 [=, this] { setAnyText(*w); },
                 [=, this] { type(nativeWindowOf(*w), flip() ? L"y" : L"\r\U0001F600"); }},
                check};
    }

    Subject comboBox() {
        const auto w = service().createNativeComboBox();
        const auto anyItem = [=, this] {
            return w->getItemCount() != 0 ? random_() % w->getItemCount() : kNullSize;
        };
        const auto typeOver = [=, this] {
            const HWND field = FindWindowExW(nativeWindowOf(*w), nullptr, L"Edit", nullptr);
            send(field, EM_SETSEL, 0, -1);
            type(field, flip() ? L"one" : L"o");
            w->backend()->synchronizeWithAbstraction();
        };
        const auto leaveList = [=, this] {
            const HWND shown = nativeWindowOf(*w);
            send(shown, CB_SHOWDROPDOWN, TRUE);
            send(shown, WM_KEYDOWN, VK_ESCAPE, 1);
            EXPECT_EQ(send(shown, CB_GETDROPPEDSTATE), 0);
            const std::size_t chosen = w->isEditable() ? w->getSelectedItem() : anyItem();
            send(shown, CB_SETCURSEL, chosen);
            const int left =
                std::array{CBN_SELENDCANCEL, CBN_CLOSEUP, CBN_SELCHANGE}[random_() % 3];
            notify(*w, WM_COMMAND, MAKEWPARAM(0, left));
            EXPECT_EQ(w->getSelectedItem(), chosen) << "of several alike the chosen one";
        };
        const auto check = [=](HWND shown) {
            expectLook(shown, L"ComboBox",
                       (w->isEditable() ? CBS_DROPDOWN : CBS_DROPDOWNLIST) | CBS_HASSTRINGS |
                           CBS_AUTOHSCROLL,
                       w->text());
            expectFont(shown, w->font().get());
            EXPECT_EQ(static_cast<std::size_t>(send(shown, CB_GETCURSEL)), w->getSelectedItem());
            Texts items;
            for (WPARAM i = 0; i < static_cast<WPARAM>(send(shown, CB_GETCOUNT)); ++i) {
                wchar_t item[32] = L"";
                send(shown, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(item));
                items.push_back(item);
            }
            EXPECT_EQ(items, w->items());
        };
        return {"ComboBoxWin32Gdi",
                w,
                {[=, this] { w->setEditable(flip()); }, [=, this] { w->setEditable(flip()); },
                 [=, this] { w->setFont(anyFont()); }, [=, this] { setAnyText(*w); },
                 [=, this] { w->addItem(word()); }, [=, this] { w->addItem(word()); },
                 [=] { w->selectItem(anyItem()); }, [=] { w->removeItem(anyItem()); },
                 [=] { w->selectItem(kNullSize); },
                 [=] { w->getItemCount() > 4 ? w->clear() : w->selectItem(kNullSize); },
                 [=] { send(nativeWindowOf(*w), WM_KEYDOWN, VK_DOWN, 1); }, typeOver, leaveList},
                check};
    }

    Subject scrollBar(bool vertical) {
        const auto w = service().createNativeScrollBar(vertical);
        const auto scroll = [=, this] {
            const int steps[] = {-w->lineSize(), w->lineSize(), -w->pageSize(), w->pageSize()};
            const int request = any(9);
            const int wanted = request == SB_TOP      ? w->minimum()
                               : request == SB_BOTTOM ? w->maximum()
                               : request < 4          ? w->position() + steps[request]
                                                      : w->position();
            const int expected = std::clamp(wanted, w->minimum(), w->highestPosition());
            notify(*w, vertical ? WM_VSCROLL : WM_HSCROLL, static_cast<WPARAM>(request));
            EXPECT_EQ(w->position(), expected) << request;
            EXPECT_EQ(w->isTracking(), request == SB_THUMBTRACK);
        };
        const auto check = [=](HWND shown) {
            SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 0, 0, 0, 0};
            GetScrollInfo(shown, SB_CTL, &info);
            expectLook(shown, L"ScrollBar", vertical ? SBS_VERT : SBS_HORZ, L"");
            EXPECT_EQ(info.nMin, w->minimum());
            EXPECT_EQ(info.nMax, w->maximum());
            EXPECT_EQ(int(info.nPage), std::min(w->pageSize(), w->maximum() - w->minimum() + 1));
            EXPECT_EQ(info.nPos, w->position());
            EXPECT_EQ(w->preferredSize().*(vertical ? &Size::width : &Size::height),
                      GetSystemMetrics(vertical ? SM_CXVSCROLL : SM_CYHSCROLL));
        };
        return {"ScrollBarWin32Gdi",
                w,
                {[=, this] { w->setRange(any(3) - 2, any(9) * 100'000); },
                 [=, this] { w->setPageSize(any(2) * 90 + 1); },
                 [=, this] { w->setPosition(any(2) * any(900'000)); },
                 [=, this] { w->setLineSize(1 + any(9)); }, scroll},
                check};
    }

    Subject progressBar() {
        const auto w = service().createNativeProgressBar();
        const auto check = [=](HWND shown) {
            expectLook(shown, L"msctls_progress32", w->isMarquee() ? PBS_MARQUEE : 0, L"");
            EXPECT_EQ(send(shown, PBM_GETRANGE, TRUE), w->minimum());
            EXPECT_EQ(send(shown, PBM_GETRANGE), w->maximum());
            EXPECT_TRUE(w->isMarquee() || send(shown, PBM_GETPOS) == w->position());
        };
        return {"ProgressBarWin32Gdi",
                w,
                {[=, this] { w->setRange(any(100) - 50, any(100) + 50); },
                 [=, this] { w->setEnableMarqueeAnimation(any(3) == 0); },
                 [=, this] { w->setPosition(any(100)); }},
                check};
    }

    Subject childWindow() {
        const auto w = service().createNativeWindow();
        return {"WindowWin32Gdi", w, {[=, this] { w->setCaption(anyText()); }}, [=](HWND shown) {
                    expectLook(shown, L"ZuNativeWindow", 0, captionOf(*w));
                }};
    }

    static bool holdsFocus(const Control& control) {
        const HWND shown = nativeWindowOf(control);
        return GetFocus() != nullptr && (GetFocus() == shown || IsChild(shown, GetFocus()));
    }
    std::mt19937 random_{20260713};
    std::shared_ptr<NativeWindow> other_ = makeWindow({300, 200});
    std::shared_ptr<Holder> holder_ = makeControl<Holder>();
};

TEST_F(MirrorTest, anyWidget_randomChanges_windowSaysWhatTheControlWants) {
    const TraceCapture trace;
    const auto expectReport = [&](const std::string& operation) {
        EXPECT_TRUE(trace.messages().back().starts_with(operation + ": catched "))
            << operation << ": " << trace.messages().back();
    };
    holder_->setBoundary({0, 0, 199, 199});
    window_->addChild(holder_);
    SetForegroundWindow(native());
    holder_->setFocusable(true);
    for (const Subject& subject : {button(), textBox(), comboBox(), scrollBar(true),
                                   scrollBar(false), progressBar(), childWindow()}) {
        Control& control = *subject.control;
        {
            const RefusedWindows refused;
            show(subject.control, Rect::at({}, {90, 25}), holder_.get());
            ASSERT_EQ(nativeWindowOf(control), nullptr);
            expectReport(subject.name + "::synchronizeWithAbstraction");
        }
        control.synchronizeTree();
        bool isMoved = false;
        const std::function<void()> kChanges[] = {
            [&] { control.setVisible(any(3) != 0); },
            [&] { control.setEnabled(any(3) != 0); },
            [&] {
                control.releaseTree();
                control.synchronizeTree();
                isMoved = !control.hasFocus() || !control.takeFocus();
            },
            [&] { resources_->selectLocale(flip() ? L"en" : L"de"); },
            [&] {
                holder_->moveTo({any(50), any(50)});
            },
            [&] {
                // What a combo box's field says may be an item: it looks when it is left.
                control.takeFocus();
                control.synchronizeTree();
            },
            [&] {
                (holder_->surface() == window_.get() ? *other_ : *window_).addChild(holder_);
                SetForegroundWindow(nativeWindowOf(*holder_->surface()));
                isMoved = true;
            },
            [&] {
                control.setBoundary(Rect::at({any(50), 9}, {90 + any(90), 22 + any(20)}));
            }};
        for (int step = 0; step < 120; ++step) {
            SCOPED_TRACE(testing::Message() << subject.name << ' ' << step);
            const bool hadFocus = holdsFocus(control);
            const HWND before = nativeWindowOf(control);
            isMoved = false;
            (flip() ? kChanges[any(8)] : subject.changes[random_() % subject.changes.size()])();
            const HWND shown = nativeWindowOf(control);
            const HWND parent = nativeWindowOf(*holder_->surface());
            const auto* bar = dynamic_cast<const NativeScrollBar*>(&control);
            const bool isUsable =
                control.isUsable() && (bar == nullptr || bar->minimum() < bar->highestPosition());
            EXPECT_EQ(IsWindow(before) != FALSE, before == shown);
            EXPECT_EQ(IsWindowVisible(shown) != FALSE, control.isShown());
            EXPECT_EQ(IsWindowEnabled(shown) != FALSE, isUsable);
            EXPECT_EQ(GetParent(shown), parent);
            EXPECT_EQ(windowRect(shown, parent),
                      Rect::at(holder_->toSurface(control.boundary().position()),
                               control.boundary().size()));
            EXPECT_EQ(control.hasFocus(), holdsFocus(control));
            if (hadFocus) {
                EXPECT_EQ(holdsFocus(control), isUsable && control.isShown() && !isMoved);
                EXPECT_TRUE(holdsFocus(control) || GetFocus() == parent);
            }
            subject.check(shown);
            UpdateWindow(shown);
            control.backend()->synchronizeWithAbstraction();
            EXPECT_FALSE(GetUpdateRect(shown, nullptr, FALSE)) << "painted again";
            ASSERT_FALSE(HasFailure());
        }
        if (control.inputRouter() == nullptr) {
            send(nativeWindowOf(control), WM_KEYDOWN, VK_TAB, 1);
            expectReport(subject.name + "::handleMultiWindowMessage");
        }
        holder_->removeAllChildren();
    }
    holder_->takeFocus();
    send(nativeWindowOf(*holder_->surface()), WM_KEYDOWN, L'A', 1);
    expectReport("WindowWin32Gdi::windowProcedure");
}

// What takes two units is typed, passed, marked and removed as one.
TEST_F(SurfaceTest, textBox_randomUser_hasTheTextOfTheModelAndAnnouncesEachChangeOnce) {
    constexpr std::size_t kMost = 12;
    const auto box = show(service().createNativeTextBox(), {0, 0, 199, 24});
    box->setMaximumLength(kMost);
    const HWND window = nativeWindowOf(*box);
    std::mt19937 random(20260715);
    Texts letters;
    std::size_t caret = 0;
    const auto front = [&](std::size_t count) {
        return std::accumulate(letters.begin(), letters.begin() + int(count), std::wstring());
    };
    const auto isWide = [&](std::size_t at) {
        return at < letters.size() && letters[at].size() > 1;
    };
    const auto remove = [&](std::size_t at) {
        if (at < letters.size()) {
            letters.erase(letters.begin() + int(at));
        }
    };
    for (int step = 0; step < 600; ++step) {
        const std::wstring letter = std::array{L"a", L"\u0416", L"\U0001F600"}[random() % 3];
        const std::wstring former = front(letters.size());
        const auto kind = random() % 9;
        if (kind == 0) {
            send(window, WM_KEYDOWN, VK_LEFT, 1);
            caret -= caret != 0 ? 1 : 0;
        } else if (kind == 1) {
            send(window, WM_KEYDOWN, VK_RIGHT, 1);
            caret += caret != letters.size() ? 1U : 0U;
        } else if (kind == 2 && caret != 0) {
            type(window, L"\b");
            remove(--caret);
        } else if (kind == 3) {
            send(window, WM_KEYDOWN, VK_DELETE, 1);
            remove(caret);
        } else if (kind == 4) {
            // Marked with the mouse, from within a letter to within another.
            caret = random() % (letters.size() + 1);
            const std::size_t end = caret + random() % (letters.size() - caret + 1);
            const std::size_t places[] = {front(caret).size(), front(end).size()};
            send(window, EM_SETSEL, places[0] + isWide(caret), LPARAM(places[1] + isWide(end)));
            send(window, WM_LBUTTONUP);
            ASSERT_EQ(send(window, EM_GETSEL),
                      MAKELONG(places[0], places[1] + (caret != end && isWide(end) ? 2 : 0)));
            send(window, EM_SETSEL, places[0], LPARAM(places[0]));
        } else if (kind == 5) {
            // Ctrl+A
            type(window, L'\1' + letter);
            letters = {letter};
            caret = 1;
        } else if (kind > 5) {
            // Typed or pasted.
            kind == 6 ? send(window, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(letter.c_str()))
                      : (type(window, letter), 0);
            if (former.size() + letter.size() <= kMost) {
                letters.insert(letters.begin() + int(caret++), letter);
            }
        }
        const std::wstring text = front(letters.size());
        const std::size_t place = front(caret).size();
        ASSERT_EQ(box->text(), text) << step;
        ASSERT_EQ(textOf(window), text) << step;
        ASSERT_EQ(send(window, EM_GETSEL), MAKELONG(place, place)) << step;
        ASSERT_EQ(log_->take(), text != former ? L"textChanged" : L"") << step;
    }
}

}  // namespace
}  // namespace zustd
