// What a message box consists of, where it stands, and how it is answered.
#include "ZuMessageBoxView.h"
#include "ZuScope.h"
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

// In a dialog of its own, on a screen of 1024 by 768. Letters are 7 wide, lines 14 high.
class BoxViewTest : public ToolkitTest, public IMessageBoxBackend {
protected:
    MessageBoxView& open(std::uint32_t style, const std::wstring& key = {}, double scaling = 1.0) {
        box_.style = style;
        box_.rememberKey = key;
        window_->registerService(makeService<NumberedTexts>(), true, true);
        // Nobody has texts for what is scaled.
        completeMessageBox(box_, scaling == 1.0 ? *window_ : *makeControl<Control>());
        // A key that is long brings a long text.
        box_.checkBoxText += key.substr(0, key.size() - 1);
        dialog_ = host_->createNativeDialog();
        recordingOf<RecordingWindowService>(*dialog_->windowService()).scalingFactor = scaling;
        view_ = makeControl<MessageBoxView>(*dialog_, box_, *this);
        dialog_->addChild(view_);
        const bool isBuilt = view_->build(*host_);
        EXPECT_EQ(isBuilt, recordingOf<RecordingWindowService>(*host_).buttonsLeft >= 0);
        dialog_->show(false);
        return *view_;
    }
    bool press(std::uint32_t code, std::uint32_t modifiers = 0) {
        return dialog_->inputRouter()->routeKey({code, modifiers});
    }

    std::shared_ptr<ColorsDescriptor> paperColors() const override { return colors_; }
    std::shared_ptr<Control> makeIcon(std::uint32_t style) const override {
        return (style & kMessageIconMask) != 0 ? makeControl<Control>() : nullptr;
    }
    std::int32_t titleWidth(const std::wstring& title) const override {
        return static_cast<std::int32_t>(title.size()) * 10;
    }
    void showText(const std::wstring& text, const Rect& place,
                  const std::shared_ptr<Font>& font) override {
        last_ = textOf(place) + L" " + textOf(sizeOf(*font)) + L" " + text;
    }
    void copyText(const std::wstring& text) override { last_ = text; }

    const ScopedValue<std::int32_t> textSize_{systemTextSize, 9};
    // The text that is shown, with its place and size, or what was copied.
    std::wstring last_;
    const ColorsRef colors_ = std::make_shared<ColorsDescriptor>();
    MessageBoxContent box_;
    std::shared_ptr<NativeDialog> dialog_;
    std::shared_ptr<MessageBoxView> view_;
};

TEST_F(BoxViewTest, places_followTextTitleAndScaling) {
    const auto letters = [](std::size_t count) { return std::wstring(count, L'x'); };
    const std::wstring dots = L"\x2026";
    const wchar_t* const kFull =
        L"0,0,443,671 0,0,443,597 345,636,431,659text 9001 12,610,171,627{IDS_DONOT";
    // Text, style, title, key, scaling; all places; that of the text, and what is shown of it.
    using Row = std::tuple<std::wstring, std::uint32_t, std::wstring, std::wstring, double,
                           std::wstring, std::wstring, std::wstring>;
    const Row kRows[] = {
        {L"Text", kMessageOk | kMessageIconError, L"A title that is quite long", L"", 1.0,
         L"0,0,259,103 0,0,259,55 (12,12,43,43) 161,68,247,91text 9001", L"54,21,247,43", L"Text"},
        {L"Text", kMessageYesNoCancel | kMessageIconQuestion, L"", L"k", 1.5,
         L"0,0,608,186 0,0,608,83 (18,18,65,65) 18,134,200,168{IDS_YES:n 213,134,395,168{IDS_NO:nu "
         L"408,134,590,168{IDS_CANCE 18,102,250,121{IDS_DONOT",
         L"81,35,590,65", L"Text"},
        // Tabs are laid out again; a title takes no more of the screen than a text.
        {L"a\tb", kMessageYesNoCancel, L"", L"", 1.0,
         L"0,0,443,85 0,0,443,37 155,50,241,73&text 9007 250,50,336,73t&ext 9008 345,50,431,73text "
         L"9002",
         L"12,12,431,25", L"a\tb"},
        {L"Text", kMessageOk, letters(100), L"", 1.0,
         L"0,0,639,85 0,0,639,37 541,50,627,73text 9001", L"12,12,627,25", L"Text"},
        {L"Text", kMessageOk, L"", letters(200), 1.0,
         L"0,0,1023,111 0,0,1023,37 925,76,1011,99text 9001 12,50,1011,67{IDS_DONOT",
         L"12,12,1011,25", L"Text"},
        // As much as the screen holds, and a pair that is not cut in two.
        {letters(2460), kMessageOk, L"", L"k", 1.0, kFull, L"12,12,431,585", letters(2460)},
        {letters(2458) + L"\xD83D\xDE00y", kMessageOk, L"", L"k", 1.0, kFull, L"12,12,431,585",
         letters(2458) + dots},
        {letters(30'000), kMessageOk | kMessageIconError, L"", L"", 2.0,
         L"0,0,639,659 0,0,639,565 (24,24,87,87) 449,590,615,635{IDS_OK:nu", L"108,24,615,541",
         letters(2684) + dots},
    };
    for (const auto& [text, style, title, key, scaling, expected, shownAt, shown] : kRows) {
        box_.text = text;
        box_.caption = title;
        open(style, key, scaling);
        std::wstring places = textOf(dialog_->boundary());
        for (const std::shared_ptr<Control>& child : view_->children()) {
            places += L" " + textOf(child->boundary()) + child->accessText().substr(0, 10);
            for (const std::shared_ptr<Control>& icon : child->children()) {
                places += L" (" + textOf(icon->boundary()) + L")";
            }
        }
        EXPECT_EQ(places, expected);
        EXPECT_EQ(last_, shownAt + L" 9 " + shown);
        EXPECT_EQ(view_->boundary(), dialog_->boundary());
        EXPECT_FALSE(view_->isChecked());
    }
}

TEST_F(BoxViewTest, answers_remembered_areThoseOfABoxThatWasChecked) {
    PropertyBag bag;
    const std::tuple<const wchar_t*, bool, int, int> kRows[] = {
        {L"", true, kAnswerOk, 0},
        {L"k", false, kAnswerOk, 0},
        {L"k", true, kAnswerCancel, 0},
        {L"k", true, kAnswerNone, 0},
        {L"k", true, kAnswerYes, kAnswerYes}};
    for (const auto& [key, checked, answer, remembered] : kRows) {
        box_.rememberKey = key;
        box_.doNotShowAgain = checked;
        rememberAnswer(bag, box_, answer);
        EXPECT_EQ(bag.getLong(L"doNotShowAgain.k", 0), remembered) << answer;
    }
    forgetAnswer(bag, L"k");
    completeMessageBox(box_, *window_);
    EXPECT_FALSE(box_.doNotShowAgain || bag.getLong(L"doNotShowAgain.k", 0) != 0);
}

TEST_F(BoxViewTest, keys_moveAnswerAndCopy) {
    box_.caption = L"Title";
    MessageBoxView& view = open(kMessageYesNoCancel | kMessageDefaultSecond, L"k");
    EXPECT_EQ(dialog_->defaultButton(), view.buttons()[1]);
    EXPECT_TRUE(view.buttons()[0]->hasFont() && view.children()[0]->colors() == colors_);
    std::size_t focused = 1;
    for (const auto& [key, next] :
         {std::pair{kKeyRight, 2U}, {kKeyDown, 0U}, {kKeyLeft, 2U}, {kKeyUp, 1U}, {kKeyLeft, 0U}}) {
        EXPECT_TRUE(view.buttons()[focused]->hasFocus()) << focused;
        EXPECT_TRUE(press(key));
        focused = next;
    }
    EXPECT_FALSE(press('C'));
    EXPECT_TRUE(press('C', kModifierControl));
    const std::wstring rule = L"---------------------------\r\n";
    EXPECT_EQ(last_, rule + L"Title\r\n" + rule + L"\r\n" + rule +
                         L"text 9007   text 9008   text 9002   \r\n" + rule);
    view.buttons()[0]->takeFocus();
    dialog_->connect(log_, false);
    EXPECT_TRUE(press(kKeyEnter));
    EXPECT_EQ(log_->take(), L"");
    EXPECT_EQ(view.answer(), kAnswerYes);
    EXPECT_FALSE(dialog_->isOpen());
    // Closed by the user, or by the program without an answer.
    const std::tuple<std::uint32_t, int, int> kRows[] = {
        {kMessageOk, kAnswerCancel, kAnswerOk},
        {kMessageOkCancel, kAnswerCancel, kAnswerCancel},
        {kMessageYesNo, kAnswerCancel, kAnswerNone},
        {kMessageOk | kMessageDefaultSecond, kAnswerNone, kAnswerNone}};
    for (const auto& [style, closing, answer] : kRows) {
        open(style);
        closing == kAnswerNone ? dialog_->hide(closing) : void();
        EXPECT_TRUE(closing == kAnswerNone || press(kKeyEscape));
        EXPECT_EQ(view_->answer(), answer) << style;
    }
    open(kMessageYesNo).close(kAnswerCancel);
    EXPECT_EQ(view_->answer(), kAnswerCancel);
    // A button or the check box that cannot be made.
    for (const int made : {0, 1}) {
        recordingOf<RecordingWindowService>(*host_).buttonsLeft = made;
        open(kMessageOk, L"k");
    }
}

}  // namespace
}  // namespace zustd::test
