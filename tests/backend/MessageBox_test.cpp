#include <gtest/gtest.h>

#include "ZuMessageBoxWin32Gdi.h"
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
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen_, 0);
    }

    // What somebody does who looks at the box that is in front, then confirms it.
    int confirmed(const std::wstring& text, const std::wstring& title, std::uint32_t style,
                  const Steps::Step& look) {
        const Steps steps{look, press<VK_RETURN>};
        return service().showMessage(text, title, style);
    }
    static HWND label() { return GetDlgItem(GetActiveWindow(), 0xFFFF); }
    static RECT client(HWND window) {
        RECT area{};
        GetClientRect(window, &area);
        return area;
    }
    static void wait() {}
    template <WORD... keys>
    static void press() {
        pressKeys({keys...});
    }

    RECT screen_{};
    WindowService& service() { return *owner_->windowService(); }
    std::shared_ptr<NativeWindow> owner_ = makeWindowService(nullptr)->createNativeWindow();
};

TEST_F(BoxTest, answers_keysAndPrograms_chooseAsInTheSystemsBoxes) {
    const Steps keys{wait, press<VK_LEFT>, press<VK_RETURN>};
    EXPECT_EQ(service().askYesNoCancel(L"Text", L"Title"), kAnswerCancel);
    // A question without a way out has to be answered.
    const Steps steps{[] { PostMessageW(GetActiveWindow(), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      press<VK_MENU, 'N'>};
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
    const Steps steps{press<VK_TAB>, press<VK_TAB>, press<VK_SPACE>, press<VK_RETURN>};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    // Nobody is asked any more.
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
}

TEST_F(BoxTest, copy_controlC_putsTheWholeTextIntoTheClipboard) {
    const std::wstring text = L"Строка\r\n" + std::wstring(30000, L'x');
    std::wstring copied;
    const Steps steps{wait, press<VK_CONTROL, 'C'>,
                      [&] {
                          ASSERT_TRUE(OpenClipboard(nullptr));
                          if (const HANDLE memory = GetClipboardData(CF_UNICODETEXT)) {
                              copied = static_cast<const wchar_t*>(GlobalLock(memory));
                          }
                          CloseClipboard();
                      },
                      press<VK_ESCAPE>};
    service().askOKCancel(text, L"Title");
    EXPECT_NE(copied.find(text + L"\r\n"), std::wstring::npos);
    EXPECT_TRUE(copied.ends_with(L"-\r\n"));
}

TEST_F(BoxTest, textAndTitle_ofAnyLength_areShownAsFarAsTheScreenGoes) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    std::wstring words;
    while (words.size() < 1U << 20) {
        words += L"word word \U0001F600 ";
    }
    const std::pair<std::wstring, std::wstring> kRows[] = {
        {L"", std::wstring(30, L'M')},
        {L"", std::wstring(100'000, L'M')},
        {words, L"Title"},
        {std::wstring(1U << 20, L'\n'), L""},
        {std::wstring(1U << 20, L'W'), L"Title"},
        {L"\tone\ttwo three\tfour five\tsix\nlast", L"Title"}};
    for (const auto& [text, title] : kRows) {
        const DWORD start = GetTickCount();
        const auto look = [&, &shown = text, &caption = title] {
            EXPECT_LT(GetTickCount() - start, 5000U);
            const HWND box = GetActiveWindow();
            EXPECT_EQ(textOf(box), caption);
            EXPECT_EQ(GetFocus(), GetDlgItem(box, IDOK));
            RECT outer{};
            RECT both{};
            GetWindowRect(box, &outer);
            EXPECT_TRUE(IntersectRect(&both, &outer, &screen_) && EqualRect(&both, &outer));
            EXPECT_GT(client(box).right, std::min(static_cast<int>(caption.size()) * 10, 700));
            // The label has room for its text as labels draw it.
            const auto font = reinterpret_cast<HFONT>(SendMessageW(label(), WM_GETFONT, 0, 0));
            LOGFONTW logical{};
            GetObjectW(font, sizeof(logical), &logical);
            EXPECT_EQ(logical.lfHeight, metrics.lfMessageFont.lfHeight);
            const Canvas canvas({1, 1});
            const SelectedObject selected(canvas.context(), font);
            RECT needed{0, 0, client(label()).right, 0};
            DrawTextW(canvas.context(), textOf(label()).c_str(), -1, &needed,
                      DT_CALCRECT | DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX);
            EXPECT_LE(needed.bottom, client(label()).bottom);
        };
        EXPECT_EQ(confirmed(text, title, kMessageOk, look), kAnswerOk);
    }
}

TEST_F(BoxTest, icons_standOnWhitePaperBeforeTheText) {
    for (std::uint32_t style = 0; style <= 0x50; style += 0x10) {
        const bool hasIcon = style % 0x50 != 0;
        confirmed(L" ", L"Title", style, [&] {
            const HWND box = GetActiveWindow();
            RedrawWindow(box, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
            EXPECT_EQ(pixelOf(box, {2, 2}), kWhite);
            EXPECT_EQ(pixelOf(box, {18, 28}) != kWhite, hasIcon) << style;
            EXPECT_EQ(pixelOf(label(), {0, 0}), kWhite);
            POINT corner{};
            MapWindowPoints(label(), box, &corner, 1);
            EXPECT_EQ(corner.x, hasIcon ? 54 : 12);
            EXPECT_EQ(corner.y > 12, hasIcon);
            EXPECT_EQ(GetWindowLongW(label(), GWL_STYLE),
                      WS_CHILD | WS_VISIBLE | SS_LEFT | SS_NOPREFIX);
        });
    }
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
        EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNone);
        for (const char* part : {"WindowServiceWin32Gdi::showMessage", "Could not show message",
                                 "WindowServiceWin32Gdi::askYesNo", "Could not ask question"}) {
            EXPECT_NE(trace.bytes().find(part), std::string::npos) << part;
        }
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
