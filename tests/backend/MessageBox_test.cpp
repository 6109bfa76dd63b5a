#include <gtest/gtest.h>

#include "ZuApplicationService.h"
#include "ZuMessageBoxWin32Gdi.h"
#include "ZuNativeButton.h"
#include "ZuNativeDialog.h"
#include "ZuNativeWindow.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"
#include "support/WindowTest.h"

namespace zustd {
namespace {

using namespace test;

// The box that is in front, as the user sees it.
class SeenBox {
public:
    SeenBox() : window_(GetActiveWindow()) {
        EnumChildWindows(
            window_,
            [](HWND child, LPARAM out) -> BOOL {
                auto& seen = *reinterpret_cast<SeenBox*>(out);
                if (GetDlgCtrlID(child) != 0xFFFF) {
                    seen.buttons_.push_back(child);
                }
                return TRUE;
            },
            reinterpret_cast<LPARAM>(this));
    }

    HWND window() const { return window_; }
    Texts texts() const {
        Texts texts{textOf(window_)};
        for (const HWND button : buttons_) {
            texts.push_back(textOf(button));
        }
        return texts;
    }
    HWND button(std::size_t index) const { return buttons_.at(index); }
    // Whether the label has room for its text as labels draw it.
    bool showsWholeLabel() const {
        const HWND label = GetDlgItem(window_, 0xFFFF);
        const std::wstring text = textOf(label);
        const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(label, WM_GETFONT, 0, 0));
        const Canvas canvas({1, 1});
        const SelectedObject selected(canvas.context(), font);
        RECT room{};
        GetClientRect(label, &room);
        RECT needed{0, 0, room.right, 0};
        DrawTextW(canvas.context(), text.c_str(), -1, &needed,
                  DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX);
        return needed.bottom <= room.bottom;
    }
    int width() const {
        RECT client{};
        GetClientRect(window_, &client);
        return client.right;
    }
    // Whether everything lies inside of its parent and on the screen.
    bool isWhole() const {
        RECT outer{};
        RECT screen{};
        GetWindowRect(window_, &outer);
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
        bool whole = isInside(outer, screen);
        POINT corner{};
        ClientToScreen(window_, &corner);
        RECT client{};
        GetClientRect(window_, &client);
        OffsetRect(&client, corner.x, corner.y);
        for (const HWND button : buttons_) {
            RECT inner{};
            GetWindowRect(button, &inner);
            whole = whole && isInside(inner, client);
        }
        return whole;
    }

private:
    static bool isInside(const RECT& inner, const RECT& outer) {
        RECT both{};
        return IntersectRect(&both, &inner, &outer) && EqualRect(&both, &inner);
    }

    HWND window_;
    std::vector<HWND> buttons_;
};

class BoxTest : public ::testing::Test {
protected:
    BoxTest() {
        owner_->setSize({400, 300});
        owner_->synchronizeTree();
        runMessages(10);
    }

    WindowService& service() { return *owner_->windowService(); }
    void addTexts(const wchar_t* locale) {
        auto resources = makeService<ResourceService>();
        ResourceServiceGeneric::install(*resources, compiledInResources());
        resources->selectLocale(locale);
        service().registerService(resources, true, true);
    }
    std::shared_ptr<ApplicationService> addApplication() {
        auto application = makeRecordingApplicationService();
        service().registerService(application, true, true);
        return application;
    }
    // Looks at a box with yes, no and cancel, and cancels it.
    Texts textsOfQuestion(const std::wstring& key = {}) {
        Texts texts;
        const Steps steps{[&] {
                              texts = SeenBox().texts();
                              EXPECT_TRUE(SeenBox().isWhole());
                          },
                          [] { pressKeys({VK_ESCAPE}); }};
        EXPECT_EQ(service().askYesNoCancel(L"Text", L"Title", key), kAnswerCancel);
        return texts;
    }

    std::shared_ptr<NativeWindow> owner_ = makeWindowService(nullptr)->createNativeWindow();
};

TEST_F(BoxTest, texts_fourLanguages_areThoseOfTheTables) {
    addApplication();
    addTexts(L"nl-NL");
    EXPECT_EQ(textsOfQuestion(), (Texts{L"Title", L"&Ja", L"&Nee", L"Annuleren"}));
    addTexts(L"de-AT");
    EXPECT_EQ(textsOfQuestion(), (Texts{L"Title", L"&Ja", L"&Nein", L"Abbrechen"}));
    addTexts(L"fr-FR");
    EXPECT_EQ(textsOfQuestion(), (Texts{L"Title", L"&Oui", L"&Non", L"Annuler"}));
    addTexts(L"en-US");
    EXPECT_EQ(textsOfQuestion(L"key"),
              (Texts{L"Title", L"&Yes", L"&No", L"Cancel", L"Do not show this message again"}));
}

TEST_F(BoxTest, texts_noTables_arePlaceholders) {
    EXPECT_EQ(textsOfQuestion(), (Texts{L"Title", L"{IDS_YES:null rs!}", L"{IDS_NO:null rs!}",
                                        L"{IDS_CANCEL:null rs!}"}));
    const Texts lacking{L"Title", L"{IDS_YES}", L"{IDS_NO}", L"{IDS_CANCEL}"};
    auto resources = makeService<ResourceService>();
    service().registerService(resources, true, true);
    EXPECT_EQ(textsOfQuestion(), lacking) << "no backend";
    joinImplementation(*resources, std::make_unique<ResourceServiceGeneric>());
    EXPECT_EQ(textsOfQuestion(), lacking) << "no namespace";
}

TEST_F(BoxTest, captions_accessKeys_areUniqueAndOnlyWhereNobodyChoseThem) {
    MessageBoxContent box;
    box.buttons = {{kAnswerYes, L"Nun ja"}, {kAnswerNo, L"Nein"}, {kAnswerCancel, L"Nicht"}};
    EXPECT_EQ(buttonCaptionsOf(box), (Texts{L"&Nun ja", L"N&ein", L"Nicht"}));
    box.buttons = {{kAnswerYes, L"A"}, {kAnswerNo, L"a"}, {kAnswerCancel, L""}};
    EXPECT_EQ(buttonCaptionsOf(box), (Texts{L"&A", L"a", L""}));
    box.buttons = {{kAnswerYes, L"Yes"}, {kAnswerNo, L"N&o"}};
    EXPECT_EQ(buttonCaptionsOf(box), (Texts{L"Yes", L"N&o"}));
}

TEST_F(BoxTest, answers_keys_pressTheButtonThatTheyMean) {
    addTexts(L"en-US");
    constexpr std::uint32_t kThree = kMessageYesNoCancel | kMessageIconWarning;
    const auto ask = [&](std::uint32_t style, std::initializer_list<WORD> keys) {
        const std::vector<WORD> pressed = keys;
        const Steps steps{[] {},
                          [&] {
                              for (const WORD key : pressed) {
                                  pressKeys({key});
                              }
                          }};
        return service().showMessage(L"Text", L"Title", style);
    };
    EXPECT_EQ(ask(kThree, {VK_RETURN}), kAnswerYes);
    EXPECT_EQ(ask(kThree | kMessageDefaultSecond, {VK_RETURN}), kAnswerNo);
    EXPECT_EQ(ask(kThree, {VK_TAB, VK_TAB, VK_RETURN}), kAnswerCancel);
    EXPECT_EQ(ask(kThree, {VK_LEFT, VK_SPACE}), kAnswerCancel);
    EXPECT_EQ(ask(kThree, {VK_RIGHT, VK_SPACE}), kAnswerNo);
    EXPECT_EQ(ask(kThree, {'N'}), kAnswerNo);
    EXPECT_EQ(ask(kMessageOk, {VK_ESCAPE}), kAnswerOk);
    // A question without a way out has to be answered.
    EXPECT_EQ(ask(kMessageYesNo, {VK_ESCAPE, 'N'}), kAnswerNo);
    const Steps steps{[] {}, [] { pressKeys({VK_MENU, 'N'}); }};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNo);
}

TEST_F(BoxTest, answers_mouse_pressButtonsAndTheFrame) {
    addTexts(L"en-US");
    {
        const Steps steps{[] {}, [] { click(middleOf(SeenBox().button(1))); }};
        EXPECT_EQ(service().askOKCancel(L"Text", L"Title"), kAnswerCancel);
    }
    {
        const Steps steps{[] { PostMessageW(SeenBox().window(), WM_SYSCOMMAND, SC_CLOSE, 0); }};
        EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerOk);
    }
    const Steps steps{[] { PostMessageW(SeenBox().window(), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      [] { EXPECT_TRUE(IsWindowVisible(SeenBox().window())); },
                      [] { pressKeys({'Y'}); }};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerYes);
}

TEST_F(BoxTest, answers_programs_findTextAndButtonsAsInTheSystemsBoxes) {
    addTexts(L"en-US");
    const Steps steps{[] {
                          const HWND box = SeenBox().window();
                          EXPECT_EQ(textOf(GetDlgItem(box, 0xFFFF)), L"Text\n\n&more");
                          EXPECT_EQ(textOf(GetDlgItem(box, IDNO)), L"&No");
                          PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
                      },
                      [] { PostMessageW(SeenBox().window(), WM_COMMAND, IDNO, 0); }};
    EXPECT_EQ(service().askYesNo(L"Text\n\n&more", L"Title"), kAnswerNo);
}

TEST_F(BoxTest, checkBox_checked_isRemembered) {
    addTexts(L"en-US");
    addApplication();
    {
        const auto look = [](std::size_t button) {
            return GetWindowLongW(SeenBox().button(button), GWL_STYLE) & BS_TYPEMASK;
        };
        const Steps steps{[] { pressKeys({VK_TAB}); },
                          [&] {
                              EXPECT_EQ(look(0), BS_PUSHBUTTON);
                              EXPECT_EQ(look(1), BS_DEFPUSHBUTTON);
                              pressKeys({VK_TAB});
                              pressKeys({VK_SPACE});
                          },
                          [&] {
                              EXPECT_EQ(GetFocus(), SeenBox().button(2));
                              EXPECT_EQ(look(0), BS_DEFPUSHBUTTON);
                              pressKeys({VK_RETURN});
                          }};
        EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    }
    // Nobody is asked any more.
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    EXPECT_FALSE(service().isMessageOpen());
}

TEST_F(BoxTest, copy_controlC_putsTheWholeTextIntoTheClipboard) {
    addTexts(L"en-US");
    const std::wstring text = L"Строка\r\n" + std::wstring(30000, L'x');
    const Steps steps{[] {},
                      [] {
                          pressKeys({VK_CONTROL, 'C'});
                      },
                      [] {}, [] { pressKeys({VK_ESCAPE}); }};
    service().askOKCancel(text, L"Title");
    ASSERT_TRUE(OpenClipboard(nullptr));
    const HANDLE memory = GetClipboardData(CF_UNICODETEXT);
    const std::wstring copied = memory ? static_cast<const wchar_t*>(GlobalLock(memory)) : L"";
    CloseClipboard();
    const std::wstring rule = L"---------------------------\r\n";
    EXPECT_TRUE(copied ==
                rule + L"Title\r\n" + rule + text + L"\r\n" + rule + L"OK   Cancel   \r\n" + rule);
}

TEST_F(BoxTest, text_ofAnyLength_staysOnTheScreen) {
    addTexts(L"en-US");
    std::wstring words;
    while (words.size() < 1U << 20) {
        words += L"word word \U0001F600 ";
    }
    const std::wstring lines(1U << 20, L'\n');
    const std::wstring letters(1U << 20, L'W');
    const std::wstring tabs = L"\tone\ttwo three\tfour five\tsix\nlast";
    for (const std::wstring& text : {std::wstring(), words, lines, letters, tabs}) {
        const DWORD start = GetTickCount();
        const Steps steps{[&] {
                              const SeenBox box;
                              EXPECT_TRUE(box.isWhole());
                              EXPECT_LT(GetTickCount() - start, 5000U);
                              EXPECT_EQ(GetFocus(), box.button(0));
                              EXPECT_TRUE(box.showsWholeLabel());
                          },
                          [] { pressKeys({VK_RETURN}); }};
        EXPECT_EQ(service().showMessage(text, L"Title", kMessageOk | kMessageIconError), kAnswerOk);
    }
}

TEST_F(BoxTest, title_ofAnyLength_isShownAsFarAsTheScreenGoes) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    const Canvas canvas({1, 1});
    const FontHandle font(CreateFontIndirectW(&metrics.lfCaptionFont));
    const SelectedObject selected(canvas.context(), font.get());
    for (const std::size_t length : {5U, 30U, 100'000U}) {
        const std::wstring title(length, L'M');
        SIZE wanted{};
        GetTextExtentPoint32W(canvas.context(), title.data(), static_cast<int>(length), &wanted);
        const Steps steps{[&] {
                              EXPECT_TRUE(SeenBox().isWhole());
                              EXPECT_GT(SeenBox().width(), std::min(wanted.cx, 700L)) << length;
                          },
                          [] { pressKeys({VK_RETURN}); }};
        service().showMessage(L"Text", title, kMessageOk);
    }
}

TEST_F(BoxTest, paint_textAndIcon_areThere) {
    addTexts(L"en-US");
    // What is seen above the buttons' strip, which begins a margin above them.
    const auto ink = [&](const wchar_t* text, std::uint32_t style) {
        int count = 0;
        const Steps steps{
            [&] {
                const SeenBox box;
                POINT corner{};
                MapWindowPoints(box.button(0), box.window(), &corner, 1);
                const Canvas canvas({500, 300});
                RedrawWindow(box.window(), nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
                const HDC source = GetDC(box.window());
                BitBlt(canvas.context(), 0, 0, box.width(), 300, source, 0, 0, SRCCOPY);
                ReleaseDC(box.window(), source);
                count = canvas.inkCount({0, 0, 499, corner.y - 15});
            },
            [] { pressKeys({VK_RETURN}); }};
        service().showMessage(text, L"Title", style);
        return count;
    };
    EXPECT_EQ(ink(L" ", kMessageOk), 0);
    const int text = ink(L"Text of the box", kMessageOk);
    EXPECT_GT(text, 50);
    EXPECT_GT(ink(L"Text of the box", kMessageOk | kMessageIconError), text + 300);
}

TEST_F(BoxTest, nested_boxes_areOpenUntilTheLastIsAnswered) {
    addTexts(L"en-US");
    int inner = -1;
    const Steps steps{[&] {
                          inner = service().showMessage(L"Inner", L"Inner", kMessageOk);
                          EXPECT_TRUE(service().isMessageOpen());
                      },
                      [&] {
                          EXPECT_EQ(SeenBox().texts().front(), L"Inner");
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*owner_)));
                          service().closeMessage(kAnswerYes);
                      },
                      [&] { EXPECT_EQ(SeenBox().texts().front(), L"Outer"); },
                      [&] { service().closeMessage(kAnswerNo); }};
    EXPECT_EQ(service().askYesNoCancel(L"Outer", L"Outer"), kAnswerNo);
    EXPECT_EQ(inner, kAnswerYes);
    EXPECT_FALSE(service().isMessageOpen());
    EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*owner_)));
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*owner_));
}

TEST_F(BoxTest, closeMessage_serviceWithoutWindow_endsItsBox) {
    const auto unbound = makeWindowService(nullptr);
    const Steps steps{[&] { unbound->closeMessage(kAnswerCancel); }};
    EXPECT_EQ(unbound->askOKCancel(L"Text", L"Title"), kAnswerCancel);
}

TEST_F(BoxTest, dialogs_windowRefused_areReportedAndNotAnswered) {
    const TraceCapture trace;
    const RefusedWindows refused;
    const auto reportOf = [&](const char* operation, const char* text) {
        const std::string last = trace.messages().empty() ? "" : trace.messages().back();
        EXPECT_NE(last.find(operation), std::string::npos) << last;
        EXPECT_NE(last.find(text), std::string::npos) << last;
    };
    EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
    reportOf("WindowServiceWin32Gdi::showMessage", "Could not show message");
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNone);
    reportOf("WindowServiceWin32Gdi::askYesNo", "Could not ask question");
    EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*owner_)));
}

TEST_F(BoxTest, service_droppedWhileItsBoxIsOpen_stillAnswers) {
    addTexts(L"en-US");
    const Steps steps{[&] { owner_.reset(); }};
    EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
}

TEST_F(BoxTest, thousandBoxes_leaveNothingBehind) {
    expectNothingLeft([&] {
        const Steps steps{[&] { service().closeMessage(kAnswerOk); }};
        service().showMessage(L"Text", L"Title", kMessageOk | kMessageIconInformation);
    });
}

}  // namespace
}  // namespace zustd
