// The native controls against a model: whatever changes, the window is as the portable half says.

#include <random>
#include <sstream>

#include "support/NativeControlTest.h"

namespace zustd {
namespace {

using namespace test;

template <class... Values>
std::wstring told(const Values&... values) {
    std::wostringstream out;
    ((out << values << L'|'), ...);
    return out.str();
}

// A widget at random: what its control wants the window to say, and what that says.
class MirrorTest : public NativeControlTest {
protected:
    struct Subject {
        std::shared_ptr<Control> control;
        std::vector<std::function<void()>> changes;
        std::function<std::wstring()> wanted;
        std::function<std::wstring(HWND)> said;
    };

    MirrorTest() {
        const auto resources = makeService<ResourceService>();
        ResourceServiceGeneric::install(*resources, compiledInResources());
        service().registerService(resources, true, true);
    }

    int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    bool flip() { return any(2) == 0; }
    const wchar_t* word() {
        static constexpr const wchar_t* kWords[] = {L"", L"&Save", L"one", L"two", L"a\nb"};
        return kWords[any(5)];
    }
    std::shared_ptr<TextDescriptor> anyText() { return flip() ? text(word()) : nullptr; }
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
        NONCLIENTMETRICSW own{};
        own.cbSize = sizeof(own);
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(own), &own, 0);
        return font != nullptr ? (font->style().size * 4 + 1) / 3 : -own.lfMessageFont.lfHeight;
    }
    static std::wstring hintOf(HWND native, UINT message) {
        wchar_t hint[32] = L"";
        send(native, message, reinterpret_cast<WPARAM>(hint), 32);
        return hint;
    }

    Subject button() {
        const auto w = service().createNativeButton();
        return {w,
                {[=, this] { w->setKind(static_cast<ButtonKind>(any(4))); },
                 [=, this] { w->setCaption(anyText()); }, [=, this] { w->setChecked(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=, this] {
                     w->setBitmap(flip() ? std::make_shared<BitmapDescriptor>(120, Size{16, 16})
                                         : nullptr);
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
        return {w,
                {[=, this] { w->setKind(static_cast<TextBoxKind>(any(3))); },
                 [=, this] { w->setWatermark(anyText()); }, [=, this] { w->setReadOnly(flip()); },
                 [=, this] { w->setFont(anyFont()); },
                 [=, this] { w->setMaximumLength(static_cast<std::size_t>(any(6))); },
                 [=, this] { w->setText(word()); }},
                [=] {
                    static constexpr DWORD kStyles[] = {
                        ES_AUTOHSCROLL, ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL | WS_VSCROLL,
                        ES_PASSWORD | ES_AUTOHSCROLL};
                    const bool isLong = w->kind() == TextBoxKind::kMultiLine;
                    std::wstring text = w->text();
                    if (const auto feed = text.find(L'\n'); feed != std::wstring::npos) {
                        text.insert(feed, L"\r");
                    }
                    return told(
                        L"Edit",
                        kStyles[static_cast<int>(w->kind())] | (w->isReadOnly() ? ES_READONLY : 0),
                        WS_EX_CLIENTEDGE, text, heightOf(w->hasFont() ? &w->font() : nullptr),
                        w->maximumLength() != 0 ? w->maximumLength() : 0x7FFFFFFE,
                        !isLong && w->hasWatermark() ? w->watermark().text(*w) : L"");
                },
                [](HWND native) {
                    return told(heightOf(native), send(native, EM_GETLIMITTEXT),
                                hintOf(native, EM_GETCUEBANNER));
                }};
    }

    Subject comboBox() {
        const auto w = service().createNativeComboBox();
        const auto anyItem = [=, this] {
            return static_cast<std::size_t>(any(static_cast<int>(w->getItemCount())));
        };
        return {
            w,
            {[=, this] { w->setEditable(flip()); }, [=, this] { w->setCaption(anyText()); },
             [=, this] { w->setFont(anyFont()); }, [=, this] { w->setText(word()); },
             [=, this] { w->addItem(word()); }, [=, this] { w->addItem(word()); },
             [=] { w->selectItem(w->getItemCount() != 0 ? anyItem() : kNullSize); },
             [=] { w->getItemCount() != 0 ? w->removeItem(anyItem()) : w->selectItem(kNullSize); },
             [=] { w->getItemCount() > 4 ? w->clear() : w->selectItem(kNullSize); }},
            [=] {
                std::wstring items;
                for (const std::wstring& item : w->items()) {
                    items += item + L';';
                }
                // The test bench has no hints for lists without a field.
                const bool hasHint = w->isEditable() && w->hasCaption();
                return told(L"ComboBox",
                            (w->isEditable() ? CBS_DROPDOWN : CBS_DROPDOWNLIST) | CBS_HASSTRINGS |
                                CBS_AUTOHSCROLL,
                            0, w->text(), heightOf(w->font().get()),
                            static_cast<LRESULT>(w->getSelectedItem()),
                            hasHint ? w->caption().text(*w) : L"", items);
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
                            hintOf(native, CB_GETCUEBANNER), items);
            }};
    }

    Subject scrollBar(bool vertical) {
        const auto w = service().createNativeScrollBar(vertical);
        return {w,
                {[=, this] { w->setRange(any(3) - 2, any(9) * 100); },
                 [=, this] { w->setPageSize(any(2) * 90 + 1); },
                 [=, this] { w->setPosition(any(2) * any(900)); }},
                [=] {
                    const int page = std::min(w->pageSize(), w->maximum() - w->minimum() + 1);
                    return told(L"ScrollBar", vertical ? SBS_VERT : SBS_HORZ, 0, L"", w->minimum(),
                                w->maximum(), page, w->position());
                },
                [](HWND native) {
                    SCROLLINFO info{sizeof(SCROLLINFO), SIF_ALL, 0, 0, 0, 0, 0};
                    GetScrollInfo(native, SB_CTL, &info);
                    return told(info.nMin, info.nMax, info.nPage, info.nPos);
                }};
    }

    Subject progressBar() {
        const auto w = service().createNativeProgressBar();
        return {w,
                {[=, this] { w->setRange(any(100) - 50, any(100) + 50); },
                 [=, this] { w->setEnableMarqueeAnimation(any(3) == 0); },
                 [=, this] { w->setMarqueeInterval(static_cast<unsigned>(any(90) + 1)); },
                 [=, this] { w->setPosition(any(100)); }},
                [=] {
                    return told(L"msctls_progress32", w->isMarquee() ? PBS_MARQUEE : 0, 0, L"",
                                w->minimum(), w->maximum(), w->isMarquee() ? 0 : w->position());
                },
                [=](HWND native) {
                    return told(send(native, PBM_GETRANGE, TRUE), send(native, PBM_GETRANGE),
                                w->isMarquee() ? 0 : send(native, PBM_GETPOS));
                }};
    }

    static std::wstring look(HWND native) {
        constexpr LONG kKept = 0xFFFF | WS_VSCROLL;
        return told(classOf(native), GetWindowLongW(native, GWL_STYLE) & kKept,
                    GetWindowLongW(native, GWL_EXSTYLE) & WS_EX_CLIENTEDGE, textOf(native));
    }
    void changeAnything(Control& control) {
        switch (any(5)) {
            case 0:
                control.setVisible(any(3) != 0);
                break;
            case 1:
                control.setEnabled(any(3) != 0);
                break;
            case 2:
                control.releaseTree();
                control.synchronizeTree();
                break;
            default:
                control.setBoundary(Rect::at({any(50), any(50)}, {90 + any(90), 22 + any(20)}));
        }
    }

    std::mt19937 random_{20260713};
};

TEST_F(MirrorTest, anyWidget_randomChanges_windowSaysWhatTheControlWants) {
    for (const Subject& subject :
         {button(), textBox(), comboBox(), scrollBar(true), scrollBar(false), progressBar()}) {
        Control& control = *subject.control;
        show(subject.control);
        for (int step = 0; step < 80; ++step) {
            flip() ? changeAnything(control)
                   : subject.changes[static_cast<std::size_t>(
                         any(static_cast<int>(subject.changes.size())))]();
            const HWND native = nativeWindowOf(control);
            const auto* bar = dynamic_cast<const NativeScrollBar*>(&control);
            const bool isUsable =
                control.isUsable() && (bar == nullptr || bar->minimum() < bar->highestPosition());
            const std::wstring wanted = told(control.isShown(), isUsable) + subject.wanted();
            ASSERT_EQ(told(IsWindowVisible(native) != FALSE, IsWindowEnabled(native) != FALSE) +
                          look(native) + subject.said(native),
                      wanted)
                << "step " << step;
            ASSERT_EQ(windowRect(native, nativeWindowOf(*window_)), control.boundary()) << step;
            const Sent sent;
            control.backend()->synchronizeWithAbstraction();
            ASSERT_TRUE(Sent::messages().empty())
                << wanted << step << ": sent again: " << Sent::messages().front().id;
        }
        window_->removeAllChildren();
    }
}

// What was made of each kind is given back by the end of a round; windows that were
// never seen are made ten times as fast.
TEST_F(MirrorTest, anyMaker_manyRounds_leavesNothingBehind) {
    const auto hidden = makeWindowService(nullptr)->createNativeWindow();
    hidden->setVisible(false);
    hidden->synchronizeTree();
    const auto popUp = [this] {
        const auto dialog = service().createNativeDialog(NativeDialog::kStylePopup);
        dialog->addChild(makeControl<Label>(L"Text"));
        dialog->show(false);
        UpdateWindow(nativeWindowOf(*dialog));
    };
    const auto draw = [this] {
        WindowServiceWin32Gdi::clearDrawingCaches();
        const Canvas canvas({40, 30});
        const auto graphics = makeGraphicsService();
        graphicsBackend(*graphics).connect(canvas.context(), canvas.area());
        graphics->beginBufferedPaint(canvas.area());
        graphics->setPen(Color::rgb(255, 0, 0), 2);
        graphics->drawLine({1, 1}, {20, 10});
        graphics->drawBitmap(*service().getBitmap(BitmapDescriptor(120, {8, 8})), {3, 3}, 0.5);
        graphics->drawText(L"Text", {}, *service().getFont(FontStyle{}), Color::rgb(0, 0, 0));
        graphicsBackend(*graphics).disconnect();
    };
    int round = 0;
    const auto widgets = [&] {
        NativeWindow& surface = round++ % 10 == 0 ? *window_ : *hidden;
        for (const Subject& subject :
             {button(), textBox(), comboBox(), scrollBar(false), progressBar()}) {
            subject.control->setBoundary(Rect::at({}, {90, 25}));
            surface.addChild(subject.control);
            for (const auto& change : subject.changes) {
                change();
            }
            ASSERT_NE(nativeWindowOf(*subject.control), nullptr);
        }
        surface.addChild(service().createNativeWindow());
        UpdateWindow(nativeWindowOf(surface));
        surface.removeAllChildren();
        WindowServiceWin32Gdi::clearDrawingCaches();
    };
    for (const auto& maker : std::initializer_list<std::function<void()>>{popUp, draw, widgets}) {
        expectNothingLeft(maker);
    }
}

}  // namespace
}  // namespace zustd
