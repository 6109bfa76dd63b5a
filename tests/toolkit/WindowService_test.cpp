// The window service: message boxes and their memory, files, bitmaps, surfaces.
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

class MessageTest : public ::testing::Test {
protected:
    const MessageBoxContent& box() { return native_.boxes.back(); }
    Texts buttonTexts() {
        Texts texts;
        for (const MessageBoxButton& button : box().buttons) {
            texts.push_back(button.text);
        }
        return texts;
    }
    void addTexts() { service_->registerService(makeService<NumberedTexts>(), true, true); }

    std::shared_ptr<WindowService> service_ = makeRecordingWindowService();
    RecordingWindowService& native_ = recordingOf<RecordingWindowService>(*service_);
};

TEST_F(MessageTest, buttons_withAndWithoutResourceService_haveTextsOrPlaceholders) {
    native_.checksBox = true;
    service_->showMessage(L"text", L"caption", kMessageYesNoCancel | kMessageIconWarning, L"key");
    EXPECT_EQ(buttonTexts(),
              (Texts{L"{IDS_YES:null rs!}", L"{IDS_NO:null rs!}", L"{IDS_CANCEL:null rs!}"}));
    EXPECT_EQ(box().text + L"," + box().caption, L"text,caption");
    EXPECT_EQ(box().style, kMessageYesNoCancel | kMessageIconWarning);
    EXPECT_EQ(box().checkBoxText, L"") << "nobody can remember the answer";
    addTexts();
    service_->askYesNo(L"t", L"c");
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9007", L"{IDS_NO}"}));
    service_->askOKCancel(L"t", L"c");
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9001", L"text 9002"}));
    service_->showMessage(L"t", L"c", kMessageOk | kMessageDefaultThird, L"key");
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9001"}));
    EXPECT_EQ(box().defaultButton, 0U);
    EXPECT_EQ(native_.journal,
              (Journal{L"askYesNoCancel", L"askYesNo", L"askOKCancel", L"showMessage"}));
}

TEST_F(MessageTest, remember_checked_answersWithoutABoxFromThenOn) {
    addTexts();
    const auto application = makeRecordingApplicationService();
    service_->registerService(application, true, true);
    // Whether the box is checked, the user's answer, the key, what comes back,
    // and how many boxes were shown by then.
    const std::tuple<bool, int, const wchar_t*, int, std::size_t> kQuestions[] = {
        // clang-format off
        {false, kAnswerNo, L"write", kAnswerNo, 1},   {true, kAnswerNo, L"write", kAnswerNo, 2},
        {true, kAnswerYes, L"write", kAnswerNo, 2},   {true, kAnswerYes, L"other", kAnswerYes, 3},
        {true, kAnswerCancel, L"x", kAnswerCancel, 4}, {true, kAnswerNone, L"x", kAnswerNone, 5},
        {true, kAnswerYes, L"x", kAnswerYes, 6},       {true, kAnswerNo, L"x", kAnswerYes, 6},
        // clang-format on
    };
    for (const auto& [checked, given, key, expected, boxes] : kQuestions) {
        native_.checksBox = checked;
        native_.answer = given;
        EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", key), expected);
        EXPECT_EQ(native_.boxes.size(), boxes);
        EXPECT_EQ(box().checkBoxText, L"text 9012");
    }
    native_.answer = kAnswerOk;
    EXPECT_EQ(service_->askOKCancel(L"t", L"c", L"write"), kAnswerOk)
        << "an answer that this box does not offer is none";
    forgetAnswer(*application->getPreferences(), L"other");
    service_->askYesNoCancel(L"t", L"c", L"other");
    EXPECT_EQ(native_.boxes.size(), 8U);
}

TEST_F(MessageTest, selectFileToOpen_arguments_areChecked) {
    const auto select = [&](const std::wstring& file, const Texts& patterns, const Texts& names,
                            bool several) {
        return thrownText([&] { service_->selectFileToOpen(file, patterns, names, several); });
    };
    EXPECT_EQ(select(L"", {L"*.a"}, {}, false), L"patterns.size() == patternNames.size()");
    EXPECT_EQ(select(std::wstring(kFileNameBufferSize, L'x'), {}, {}, false),
              L"initialFileName.size() < bufSize");
    EXPECT_EQ(select(L"", {}, {}, true), L"allowMultiSelect not implemented");
    EXPECT_TRUE(native_.journal.empty());
    EXPECT_EQ(service_->selectFileToOpen(L"a.txt", {L"*.a"}, {L"A files"}, false), L"chosen.txt");
    EXPECT_EQ(native_.journal, (Journal{L"selectFileToOpen a.txt 1 1"}));
}

TEST_F(MessageTest, bitmapsSurfacesAndMissingHalf_scaleLiveAndFailAsTheyShould) {
    native_.scalingFactor = 1.5;
    EXPECT_EQ(service_->getBitmap(BitmapDescriptor()), nullptr);
    EXPECT_EQ(service_->getBitmap(BitmapDescriptor(321, {16, 15}))->size(), (Size{24, 23}));
    auto dialog = service_->createNativeDialog();
    const std::weak_ptr<WindowService> own = dialog->windowService();
    EXPECT_NE(own.lock(), service_);
    dialog.reset();
    EXPECT_TRUE(own.expired()) << "a surface's own service dies with it";
    const auto unjoined = makeService<WindowService>();
    EXPECT_EQ(thrownText([&] { unjoined->createNativeButton(); }), L"impl_");
    EXPECT_EQ(thrownText([&] { unjoined->showMessage(L"", L"", kMessageOk); }), L"impl_");
}

}  // namespace
}  // namespace zustd
