// What a message box consists of, where it stands, and how it is answered.
#include <algorithm>

#include "ZuAccessKeys.h"
#include "ZuMessageBoxView.h"
#include "ZuText.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

// Writes down what it is to show.
class BoxBackend : public IMessageBoxBackend, public Journaling {
public:
    std::shared_ptr<ColorsDescriptor> paperColors() const override { return nullptr; }
    std::shared_ptr<Control> makeIcon(std::uint32_t style) const override {
        return (style & kMessageIconMask) != 0 ? makeControl<Control>() : nullptr;
    }
    std::int32_t titleWidth(const std::wstring& title) const override {
        return static_cast<std::int32_t>(title.size()) * 10;
    }
    void showText(const std::wstring& text, const Rect& place,
                  const std::shared_ptr<Font>& font) override {
        note(L"text", place, font->style().size, text);
    }
    void copyText(const std::wstring& text) override { note(L"copy", text); }
};

class BoxViewTest : public ToolkitTest {
protected:
    // The box in a dialog of its own, on a screen of 1024 by 768 pixels.
    MessageBoxView& open(std::uint32_t style, const std::wstring& caption = L"Title",
                         const std::wstring& key = {}, double scaling = 1.0) {
        backend_.journal.clear();
        box_.style = style;
        box_.caption = caption;
        box_.rememberKey = key;
        window_->registerService(makeService<NumberedTexts>(), true, true);
        completeMessageBox(box_, *window_);
        const bool canClose = box_.cancelAnswer != kAnswerNone;
        dialog_ = host_->createNativeDialog(canClose ? 0 : NativeDialog::kStyleNotClosable);
        recordingOf<RecordingWindowService>(*dialog_->windowService()).scalingFactor = scaling;
        view_ = makeControl<MessageBoxView>(*dialog_, box_, backend_);
        dialog_->addChild(view_);
        EXPECT_TRUE(view_->build(*host_));
        dialog_->show(false);
        return *view_;
    }
    // The places of the dialog, the paper and the icon, of the buttons and the check box.
    std::wstring places() const {
        std::wstring all = textOf(dialog_->boundary());
        for (const std::shared_ptr<Control>& child : view_->children()) {
            all += L" " + textOf(child->boundary());
            for (const std::shared_ptr<Control>& icon : child->children()) {
                all += L" (" + textOf(icon->boundary()) + L")";
            }
        }
        return all;
    }
    bool press(std::uint32_t code, std::uint32_t modifiers = 0) {
        return dialog_->inputRouter()->routeKey({code, modifiers});
    }

    BoxBackend backend_;
    MessageBoxContent box_;
    std::shared_ptr<NativeDialog> dialog_;
    std::shared_ptr<MessageBoxView> view_;
};

TEST_F(BoxViewTest, places_followTextTitleAndScaling) {
    const std::wstring kLong(100, L'x');
    const struct {
        std::wstring text;
        std::uint32_t style;
        std::wstring title;
        std::wstring key;
        double scaling;
        std::wstring places;
        std::wstring shown;
    } kRows[] = {
        {L"Text", kMessageOk, L"", L"", 1.0, L"0,0,110,85 0,0,110,37 12,50,98,73",
         L"12,12,98,25 0 Text"},
        {L"Text", kMessageOk | kMessageIconError, L"A title that is quite long", L"", 1.0,
         L"0,0,259,103 0,0,259,55 (12,12,43,43) 161,68,247,91", L"54,21,247,43 0 Text"},
        {L"Text", kMessageYesNoCancel | kMessageIconQuestion, L"Title", L"key", 1.0,
         L"0,0,300,129 0,0,300,55 (12,12,43,43) 12,94,98,117 107,94,193,117 202,94,288,117 "
         L"12,68,94,85",
         L"54,21,288,43 0 Text"},
        {L"Text", kMessageYesNo | kMessageIconQuestion, L"", L"key", 1.5,
         L"0,0,273,186 0,0,273,83 (18,18,65,65) 18,134,130,168 143,134,255,168 18,102,110,121",
         L"81,35,255,65 0 Text"},
        {kLong, kMessageOk, L"", L"key", 1.0, L"0,0,443,125 0,0,443,51 345,90,431,113 12,64,94,81",
         L"12,12,431,39 0 " + kLong},
        // Tabs are laid out again; a title takes no more of the screen than a text.
        {L"a\tb", kMessageOk, L"", L"", 1.0, L"0,0,443,85 0,0,443,37 345,50,431,73",
         L"12,12,431,25 0 a\tb"},
        {L"Text", kMessageOk, kLong, L"", 1.0, L"0,0,639,85 0,0,639,37 541,50,627,73",
         L"12,12,627,25 0 Text"},
    };
    for (const auto& row : kRows) {
        box_.text = row.text;
        open(row.style, row.title, row.key, row.scaling);
        EXPECT_EQ(places(), row.places);
        EXPECT_EQ(backend_.journal, (Journal{L"text " + row.shown}));
    }
}

// The font's letters are 7 pixels wide, its lines 14 high.
TEST_F(BoxViewTest, text_tooLong_isCutWhereTheScreenEnds) {
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        const bool hasIcon = random.below(2) != 0;
        box_.text.clear();
        for (std::size_t left = random.below(4) == 0 ? 30'000 : random.below(5000); left > 0;
             --left) {
            box_.text += random.below(3) == 0 ? L"\xD83D\xDE00" : L"x";
        }
        open(kMessageOk | (hasIcon ? kMessageIconError : 0U));
        const std::int32_t width = 420;
        const std::size_t lines = (768 * 7 / 8 - (24 + 24) - 24) / 14;
        const std::size_t fitting = lines * width / 7;
        std::wstring shown = box_.text;
        if (shown.size() > fitting) {
            // The dots are the last of them.
            const bool splits = shown[fitting - 2] == 0xD83D;
            shown = shown.substr(0, fitting - 1 - (splits ? 1 : 0)) + L"\x2026";
        }
        const std::wstring& line = backend_.journal.at(0);
        EXPECT_TRUE(line.ends_with(L" " + shown)) << shown.size() << " of " << box_.text.size();
    }
}

TEST_F(BoxViewTest, captions_accessKeys_areUniqueAndOnlyWhereNobodyChoseThem) {
    const std::pair<std::vector<MessageBoxButton>, Texts> kRows[] = {
        {{{kAnswerYes, L"Nun ja"}, {kAnswerNo, L"Nein"}, {kAnswerCancel, L"Nicht"}},
         {L"&Nun ja", L"N&ein", L"Nicht"}},
        {{{kAnswerYes, L"A"}, {kAnswerNo, L"a"}, {kAnswerCancel, L""}}, {L"&A", L"a", L""}},
        {{{kAnswerYes, L"Yes"}, {kAnswerNo, L"N&o"}}, {L"Yes", L"N&o"}},
        {{{kAnswerYes, L"R&&D"}, {kAnswerNo, L"r 2d"}, {kAnswerOk, L"OK"}},
         {L"&R&&D", L"r 2&d", L"OK"}},
        {{{kAnswerYes, L"\x434\x430"}, {kAnswerNo, L"\x414\x44F"}},
         {L"&\x434\x430", L"\x414&\x44F"}},
        {{{kAnswerYes, L"{IDS_YES}"}, {kAnswerNo, L""}}, {L"{IDS_YES}", L""}},
    };
    for (const auto& [buttons, captions] : kRows) {
        box_.buttons = buttons;
        EXPECT_EQ(buttonCaptionsOf(box_), captions);
    }
}

TEST_F(BoxViewTest, keys_moveAnswerAndCopy) {
    MessageBoxView& view = open(kMessageYesNoCancel | kMessageDefaultSecond, L"Title", L"key");
    const auto focused = [&](std::size_t button) { return view.buttons()[button]->hasFocus(); };
    EXPECT_TRUE(focused(1));
    EXPECT_EQ(dialog_->defaultButton(), view.buttons()[1]);
    for (const auto& [key, button] :
         {std::pair{kKeyRight, 2}, {kKeyDown, 0}, {kKeyLeft, 2}, {kKeyUp, 1}, {kKeyLeft, 0}}) {
        EXPECT_TRUE(press(key));
        EXPECT_TRUE(focused(static_cast<std::size_t>(button))) << key << " to " << button;
    }
    EXPECT_TRUE(view.children().back()->takeFocus());
    EXPECT_FALSE(press(kKeyLeft)) << "the check box is none of them";
    view.buttons()[0]->takeFocus();
    EXPECT_FALSE(press('C'));
    EXPECT_TRUE(press('C', kModifierControl));
    const std::wstring rule = L"---------------------------\r\n";
    EXPECT_EQ(backend_.journal.back(), L"copy " + rule + L"Title\r\n" + rule + L"\r\n" + rule +
                                           L"text 9007   {IDS_NO}   text 9002   \r\n" + rule);
    EXPECT_EQ(view.answer(), kAnswerNone);
    EXPECT_TRUE(press(kKeyEnter));
    EXPECT_EQ(view.answer(), kAnswerYes);
    EXPECT_FALSE(dialog_->isOpen());
}

TEST_F(BoxViewTest, close_byUserOrProgram_answersWhatTheBoxAllows) {
    const std::tuple<std::uint32_t, bool, int> kRows[] = {
        {kMessageOk, false, kAnswerOk},
        {kMessageOkCancel, false, kAnswerCancel},
        {kMessageYesNo, true, kAnswerNone},
    };
    for (const auto& [style, stays, answer] : kRows) {
        MessageBoxView& view = open(style);
        press(kKeyEscape);
        EXPECT_EQ(dialog_->isOpen(), stays) << style;
        EXPECT_EQ(view.answer(), answer) << style;
    }
    view_->close(kAnswerCancel);
    EXPECT_EQ(view_->answer(), kAnswerCancel);
    EXPECT_FALSE(dialog_->isOpen());
    MessageBoxView& view = open(kMessageOk, L"Title", L"key");
    dialog_->hide(kAnswerNone);
    EXPECT_EQ(view.answer(), kAnswerNone) << "the application ends";
}

}  // namespace
}  // namespace zustd
