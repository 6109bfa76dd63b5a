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

    // Of the box that is in front.
    static HWND label() { return GetDlgItem(GetActiveWindow(), 0xFFFF); }
    static RECT client(HWND window) {
        RECT area{};
        GetClientRect(window, &area);
        return area;
    }
    static HFONT labelFont() {
        return reinterpret_cast<HFONT>(SendMessageW(label(), WM_GETFONT, 0, 0));
    }
    static void expectOnScreen() {
        RECT outer{};
        RECT screen{};
        RECT both{};
        GetWindowRect(GetActiveWindow(), &outer);
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
        EXPECT_TRUE(IntersectRect(&both, &outer, &screen) && EqualRect(&both, &outer));
    }
    static void pressEnter() { pressKeys({VK_RETURN}); }

    WindowService& service() { return *owner_->windowService(); }
    std::shared_ptr<NativeWindow> owner_ = makeWindowService(nullptr)->createNativeWindow();
};

TEST_F(BoxTest, answers_keysAndPrograms_chooseAsInTheSystemsBoxes) {
    const Steps keys{[] {},
                     [] {
                         pressKeys({VK_LEFT});
                         pressEnter();
                     }};
    EXPECT_EQ(service().askYesNoCancel(L"Text", L"Title"), kAnswerCancel);
    // A question without a way out has to be answered.
    const Steps steps{[] { PostMessageW(GetActiveWindow(), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      [] {
                          pressKeys({VK_MENU, 'N'});
                      }};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNo);
    const Steps programs{[] {
                             EXPECT_EQ(textOf(label()), L"Text\n\n&more");
                             EXPECT_EQ(textOf(GetDlgItem(GetActiveWindow(), IDNO)), L"&No");
                             PostMessageW(GetActiveWindow(), WM_COMMAND, IDCANCEL, 0);
                         },
                         [] { PostMessageW(GetActiveWindow(), WM_COMMAND, IDNO, 0); }};
    EXPECT_EQ(service().askYesNo(L"Text\n\n&more", L"Title"), kAnswerNo);
}

TEST_F(BoxTest, checkBox_checked_isRemembered) {
    service().registerService(makeRecordingApplicationService(), true, true);
    const Steps steps{[] { pressKeys({VK_TAB}); },
                      [] {
                          pressKeys({VK_TAB});
                          pressKeys({VK_SPACE});
                      },
                      pressEnter};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    // Nobody is asked any more.
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
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

TEST_F(BoxTest, text_ofAnyLength_isShownAsFarAsTheScreenGoes) {
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
                              EXPECT_LT(GetTickCount() - start, 5000U);
                              EXPECT_EQ(GetFocus(), GetDlgItem(GetActiveWindow(), IDOK));
                              expectOnScreen();
                              // The label has room for its text as labels draw it.
                              const Canvas canvas({1, 1});
                              const SelectedObject selected(canvas.context(), labelFont());
                              RECT needed{0, 0, client(label()).right, 0};
                              DrawTextW(canvas.context(), textOf(label()).c_str(), -1, &needed,
                                        DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX);
                              EXPECT_LE(needed.bottom, client(label()).bottom);
                          },
                          pressEnter};
        EXPECT_EQ(service().showMessage(text, L"Title", kMessageOk | kMessageIconError), kAnswerOk);
    }
}

TEST_F(BoxTest, fontAndTitle_areMeasuredAsTheSystemShowsThem) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    const FontHandle titleFont(CreateFontIndirectW(&metrics.lfCaptionFont));
    const Canvas canvas({1, 1});
    const SelectedObject selected(canvas.context(), titleFont.get());
    RECT screen{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    for (const std::size_t length : {30U, 100'000U}) {
        const std::wstring title(length, L'M');
        SIZE size{};
        GetTextExtentPoint32W(canvas.context(), title.c_str(), length > 30 ? 999 : 30, &size);
        const int room = size.cx + 2 * (metrics.iCaptionWidth + metrics.iCaptionHeight);
        const Steps steps{[&] {
                              LOGFONTW font{};
                              GetObjectW(labelFont(), sizeof(font), &font);
                              EXPECT_EQ(font.lfHeight, metrics.lfMessageFont.lfHeight);
                              expectOnScreen();
                              EXPECT_EQ(textOf(GetActiveWindow()), title);
                              EXPECT_EQ(client(GetActiveWindow()).right,
                                        std::min<int>(room, (screen.right - screen.left) * 5 / 8));
                          },
                          pressEnter};
        service().showMessage(L"Text", title, kMessageOk);
    }
}

TEST_F(BoxTest, paint_textAndIcon_areThere) {
    // What is seen above the buttons' strip, which begins a margin above them.
    const auto ink = [&](const wchar_t* text, std::uint32_t style) {
        int count = 0;
        const Steps steps{[&] {
                              const HWND box = GetActiveWindow();
                              POINT corner{};
                              MapWindowPoints(GetDlgItem(box, IDOK), box, &corner, 1);
                              const Canvas canvas({500, 300});
                              RedrawWindow(box, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
                              const HDC source = GetDC(box);
                              BitBlt(canvas.context(), 0, 0, client(box).right, 300, source, 0, 0,
                                     SRCCOPY);
                              ReleaseDC(box, source);
                              count = canvas.inkCount({0, 0, 499, corner.y - 15});
                          },
                          pressEnter};
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
                          EXPECT_EQ(textOf(GetActiveWindow()), L"Outer");
                      },
                      [&] {
                          EXPECT_EQ(textOf(GetActiveWindow()), L"Inner");
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*owner_)));
                          service().closeMessage(kAnswerYes);
                      },
                      [&] { service().closeMessage(kAnswerNo); }};
    EXPECT_EQ(service().askYesNoCancel(L"Outer", L"Outer"), kAnswerNo);
    EXPECT_EQ(inner, kAnswerYes);
    EXPECT_FALSE(service().isMessageOpen());
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*owner_));
}

TEST_F(BoxTest, refusedOrServiceDropped_isReportedAndLeavesNothingBehind) {
    {
        const TraceCapture trace;
        const RefusedWindows refused;
        EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
        EXPECT_NE(trace.bytes().find("WindowServiceWin32Gdi::showMessage"), std::string::npos);
        EXPECT_NE(trace.bytes().find("Could not show message"), std::string::npos);
        EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNone);
        EXPECT_NE(trace.bytes().find("WindowServiceWin32Gdi::askYesNo"), std::string::npos);
        EXPECT_NE(trace.bytes().find("Could not ask question"), std::string::npos);
        EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*owner_)));
    }
    const auto unbound = makeWindowService(nullptr);
    expectNothingLeft([&] {
        const Steps steps{[&] { unbound->closeMessage(kAnswerCancel); }};
        EXPECT_EQ(unbound->showMessage(L"", L"", kMessageOk | kMessageIconInformation),
                  kAnswerCancel);
    });
    const Steps steps{[&] { owner_.reset(); }};
    EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
}

}  // namespace
}  // namespace zustd
