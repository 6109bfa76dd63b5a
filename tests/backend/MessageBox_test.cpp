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
    std::wstring title() const { return textOf(window_); }
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
    bool isOnScreen() const {
        RECT outer{};
        RECT screen{};
        RECT both{};
        GetWindowRect(window_, &outer);
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
        return IntersectRect(&both, &outer, &screen) && EqualRect(&both, &outer);
    }

private:
    HWND window_;
    std::vector<HWND> buttons_;
};

class BoxTest : public ::testing::Test {
protected:
    BoxTest() {
        owner_->setSize({400, 300});
        owner_->synchronizeTree();
        runMessages(10);
        auto resources = makeService<ResourceService>();
        ResourceServiceGeneric::install(*resources, compiledInResources());
        resources->selectLocale(L"en-US");
        service().registerService(resources, true, true);
    }

    WindowService& service() { return *owner_->windowService(); }
    std::shared_ptr<NativeWindow> owner_ = makeWindowService(nullptr)->createNativeWindow();
};

TEST_F(BoxTest, answers_keys_pressTheButtonThatTheyMean) {
    {
        const Steps steps{[] {},
                          [] {
                              pressKeys({VK_LEFT});
                              pressKeys({VK_RETURN});
                          }};
        EXPECT_EQ(service().askYesNoCancel(L"Text", L"Title"), kAnswerCancel);
    }
    // A question without a way out has to be answered.
    const Steps steps{[] { PostMessageW(SeenBox().window(), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      [] {
                          pressKeys({VK_MENU, 'N'});
                      }};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNo);
}

TEST_F(BoxTest, answers_programs_findTextAndButtonsAsInTheSystemsBoxes) {
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
    service().registerService(makeRecordingApplicationService(), true, true);
    const Steps steps{[] { pressKeys({VK_TAB}); },
                      [] {
                          pressKeys({VK_TAB});
                          pressKeys({VK_SPACE});
                      },
                      [] { pressKeys({VK_RETURN}); }};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    // Nobody is asked any more.
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    EXPECT_FALSE(service().isMessageOpen());
}

TEST_F(BoxTest, copy_controlC_putsTheWholeTextIntoTheClipboard) {
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
    EXPECT_NE(copied.find(text + L"\r\n"), std::wstring::npos);
    EXPECT_TRUE(copied.ends_with(L"-\r\n"));
}

TEST_F(BoxTest, text_ofAnyLength_staysOnTheScreen) {
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
                              EXPECT_TRUE(box.isOnScreen());
                              EXPECT_LT(GetTickCount() - start, 5000U);
                              EXPECT_EQ(GetFocus(), box.button(0));
                              EXPECT_TRUE(box.showsWholeLabel());
                          },
                          [] { pressKeys({VK_RETURN}); }};
        EXPECT_EQ(service().showMessage(text, L"Title", kMessageOk | kMessageIconError), kAnswerOk);
    }
}

TEST_F(BoxTest, title_ofAnyLength_isShownAsFarAsTheScreenGoes) {
    for (const auto& [length, width] : {std::pair{5, 60}, {30, 300}, {100'000, 700}}) {
        const Steps steps{[&, expected = width] {
                              EXPECT_TRUE(SeenBox().isOnScreen());
                              EXPECT_GT(SeenBox().width(), expected);
                          },
                          [] { pressKeys({VK_RETURN}); }};
        service().showMessage(L"Text", std::wstring(static_cast<std::size_t>(length), L'M'),
                              kMessageOk);
    }
}

TEST_F(BoxTest, paint_textAndIcon_areThere) {
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
    EXPECT_GT(ink(L" ", kMessageOk | kMessageIconInformation), 300);
    EXPECT_EQ(ink(L" ", kMessageOk | (kMessageIconInformation + kMessageIconError)), 0);
}

TEST_F(BoxTest, nested_boxes_areOpenUntilTheLastIsAnswered) {
    int inner = -1;
    const Steps steps{[&] {
                          inner = service().showMessage(L"Inner", L"Inner", kMessageOk);
                          EXPECT_TRUE(service().isMessageOpen());
                      },
                      [&] {
                          EXPECT_EQ(SeenBox().title(), L"Inner");
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*owner_)));
                          service().closeMessage(kAnswerYes);
                      },
                      [&] { EXPECT_EQ(SeenBox().title(), L"Outer"); },
                      [&] { service().closeMessage(kAnswerNo); }};
    EXPECT_EQ(service().askYesNoCancel(L"Outer", L"Outer"), kAnswerNo);
    EXPECT_EQ(inner, kAnswerYes);
    EXPECT_FALSE(service().isMessageOpen());
    EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*owner_)));
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*owner_));
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
    const Steps steps{[&] { owner_.reset(); }};
    EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
}

TEST_F(BoxTest, thousandBoxes_ofNoWindow_leaveNothingBehind) {
    const auto unbound = makeWindowService(nullptr);
    expectNothingLeft([&] {
        const Steps steps{[&] { unbound->closeMessage(kAnswerCancel); }};
        EXPECT_EQ(unbound->showMessage(L"", L"", kMessageOk | kMessageIconInformation),
                  kAnswerCancel);
    });
}

}  // namespace
}  // namespace zustd
