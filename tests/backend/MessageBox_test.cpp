#include "ZuMessageBoxWin32Gdi.h"
#include "support/SurfaceTest.h"

extern "C" void* __imp_MessageBeep IMPORT_SLOT("MessageBeep", "@4");

namespace zustd::test {
namespace {

class BoxTest : public SurfaceTest {
protected:
    BoxTest() { resources_->selectLocale(L"en-US"); }
    static HWND label() { return GetDlgItem(GetActiveWindow(), 0xFFFF); }
    static Steps::Step press(const std::vector<WORD>& keys) {
        return [keys] { pressKeys(keys); };
    }
};

TEST_F(BoxTest, answers_keysAndPrograms_chooseAsInTheSystemsBoxes) {
    const auto lookAtCopy = [] {
        EXPECT_EQ(GetClipboardOwner(), GetActiveWindow());
        EXPECT_TRUE(OpenClipboard(nullptr));
        const HGLOBAL copy = GetClipboardData(CF_UNICODETEXT);
        const std::wstring_view text(static_cast<const wchar_t*>(GlobalLock(copy)),
                                     GlobalSize(copy) / sizeof(wchar_t));
        EXPECT_NE(text.find(L"Text\r\n"), text.npos);
        EXPECT_EQ(text.find(L'\0') + 1, text.size());
        CloseClipboard();
    };
    const Steps keys{press({VK_CONTROL, 'C'}), lookAtCopy, press({VK_LEFT}), press({VK_RETURN})};
    EXPECT_EQ(service().askYesNoCancel(L"Text", L"Title"), kAnswerCancel);
    // A question without a way out has to be answered.
    const Steps steps{[] { PostMessageW(GetActiveWindow(), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      press({VK_MENU, 'N'})};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNo);
    const Steps programs{[] {
                             EXPECT_EQ(textOf(label()), L"Text\n\n&more");
                             EXPECT_EQ(textOf(GetDlgItem(GetActiveWindow(), IDNO)), L"&No");
                             PostMessageW(GetActiveWindow(), WM_COMMAND, IDCANCEL, 0);
                         },
                         [] { PostMessageW(GetActiveWindow(), WM_COMMAND, IDNO, 0); }};
    EXPECT_EQ(service().askYesNo(L"Text\n\n&more", L"Title"), kAnswerNo);
    service().registerService(makeRecordingApplicationService(), true, true);
    const Steps never{press({VK_TAB}), press({VK_TAB}), press({VK_SPACE}), press({VK_RETURN})};
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
    // Nobody is asked any more.
    EXPECT_EQ(service().askYesNo(L"Text", L"Title", L"key"), kAnswerYes);
}

UINT heardBeep = 0;
BOOL WINAPI hearBeep(UINT kind) noexcept { return (heardBeep = kind) == kind; }

TEST_F(BoxTest, textAndTitle_ofAnyLength_areShownAsFarAsTheScreenGoes) {
    RECT screen{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    const std::pair<std::wstring, std::wstring> kRows[] = {
        {L"", std::wstring(30, L'M')},
        {L"", std::wstring(100'000, L'M')},
        {std::wstring(1U << 20, L'\n'), L""},
        {std::wstring(1U << 20, L'W'), L"Title"},
        {L"\tone\ttwo three\tfour five\tsix\nlast", L"Title"}};
    std::uint32_t icon = 0;
    const ReplacedImport beep(__imp_MessageBeep, reinterpret_cast<void*>(&hearBeep));
    for (const auto& [text, title] : kRows) {
        const auto look = [&, &caption = title] {
            const HWND box = GetActiveWindow();
            EXPECT_EQ(textOf(box), caption);
            EXPECT_EQ(heardBeep, icon);
            EXPECT_EQ(GetWindowLongW(box, GWL_STYLE) & WS_MAXIMIZEBOX, 0);
            EXPECT_EQ(GetFocus(), GetDlgItem(box, IDOK));
            RECT outer{};
            RECT both{};
            GetWindowRect(box, &outer);
            EXPECT_TRUE(IntersectRect(&both, &outer, &screen) && EqualRect(&both, &outer));
            EXPECT_TRUE(caption.size() != 30 || outer.right - outer.left == 348);
            RedrawWindow(box, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
            EXPECT_EQ(pixelOf(label(), {0, 0}), kWhite);
            EXPECT_EQ(pixelOf(box, {18, 28}) != kWhite, icon % 0x50 != 0) << icon;
        };
        const Steps steps{look, press({VK_RETURN})};
        EXPECT_EQ(service().showMessage(text, title, kMessageOk | icon), kAnswerOk);
        icon += kMessageIconError;
    }
}

TEST_F(BoxTest, nested_boxes_areOpenUntilTheLastIsAnswered) {
    int inner = -1;
    const Steps steps{[&] {
                          inner = service().showMessage(L"Inner", L"Inner", kMessageOk);
                          EXPECT_TRUE(service().isMessageOpen());
                      },
                      [&] { service().closeMessage(kAnswerYes); },
                      [&] { service().closeMessage(kAnswerNo); }};
    EXPECT_EQ(service().askYesNoCancel(L"Outer", L"Outer"), kAnswerNo);
    EXPECT_TRUE(inner == kAnswerYes && !service().isMessageOpen());
}

TEST_F(BoxTest, refusedOrServiceDropped_isReportedAndLeavesTheOwnerUsable) {
    {
        const TraceCapture trace;
        const RefusedWindows refused;
        EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
        EXPECT_EQ(service().askYesNo(L"Text", L"Title"), kAnswerNone);
        EXPECT_FALSE(makeWindow({9, 9})->hasNativeObject() || service().createTimer(L""));
        const auto dialog = makeDialog();
        EXPECT_FALSE(dialog->show(false) != kAnswerNone || dialog->isOpen());
        EXPECT_EQ(trace.messages().size(), 14U);
        EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*window_)));
    }
    const auto button = service_->createNativeButton();
    button->synchronizeTree();
    EXPECT_FALSE(button->hasNativeObject()) << "on a window of somebody else's thread";
    const Steps steps{[&] { window_.reset(); }};
    EXPECT_EQ(service().showMessage(L"Text", L"Title", kMessageOk), kAnswerNone);
}

}  // namespace
}  // namespace zustd::test
