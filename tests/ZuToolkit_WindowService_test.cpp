#include <gtest/gtest.h>

#include "ZuResourceService.h"
#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using namespace test;

// Texts "text 9001" and so on, but none for "No".
class NumberedTexts : public Service, public IResourceService {
public:
    using Service::Service;
    bool selectLocale(std::wstring_view) override { return false; }
    std::wstring getNamespaceName() const override { return L"xx-xx"; }
    const FileResource* getFileResource(std::uint64_t) const override { return nullptr; }
    std::shared_ptr<const StringTable> getStringTable() const override { return nullptr; }
    std::wstring getString(std::uint64_t key) const override {
        return key == kStringNo ? std::wstring() : L"text " + std::to_wstring(key);
    }
};

class MessageTest : public ::testing::Test {
protected:
    RecordingWindowService& native() { return recordingOf<RecordingWindowService>(*service_); }
    const MessageBoxContent& box() { return native().boxes.back(); }
    std::vector<std::wstring> buttonTexts() {
        std::vector<std::wstring> texts;
        for (const MessageBoxButton& button : box().buttons) {
            texts.push_back(button.text);
        }
        return texts;
    }
    void addTexts() { service_->registerService(makeService<NumberedTexts>(), true, true); }
    std::shared_ptr<ApplicationService> addApplication() {
        auto application = makeRecordingApplicationService();
        service_->registerService(application, true, true);
        return application;
    }

    std::shared_ptr<WindowService> service_ = makeRecordingWindowService();
};

using Texts = std::vector<std::wstring>;

TEST_F(MessageTest, buttons_noResourceService_arePlaceholders) {
    service_->showMessage(L"text", L"caption", kMessageYesNoCancel | kMessageIconWarning);
    EXPECT_EQ(native().journal, (Journal{L"askYesNoCancel"}));
    EXPECT_EQ(buttonTexts(),
              (Texts{L"{IDS_YES:null rs!}", L"{IDS_NO:null rs!}", L"{IDS_CANCEL:null rs!}"}));
    EXPECT_EQ(box().text, L"text");
    EXPECT_EQ(box().caption, L"caption");
    EXPECT_EQ(box().style, kMessageYesNoCancel | kMessageIconWarning);
    EXPECT_EQ(box().checkBoxText, L"");
}

TEST_F(MessageTest, buttons_resourceService_givesTextsAndPlaceholdersForGaps) {
    addTexts();
    service_->askYesNo(L"t", L"c");
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9007", L"{IDS_NO}"}));
    EXPECT_EQ(box().cancelAnswer, kAnswerNone);
    service_->askOKCancel(L"t", L"c");
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9001", L"text 9002"}));
    EXPECT_EQ(box().cancelAnswer, kAnswerCancel);
    service_->showMessage(L"t", L"c", kMessageOk | kMessageIconError);
    EXPECT_EQ(buttonTexts(), (Texts{L"text 9001"}));
    EXPECT_EQ(box().cancelAnswer, kAnswerOk);
    EXPECT_EQ(native().journal, (Journal{L"askYesNo", L"askOKCancel", L"showMessage"}));
}

TEST_F(MessageTest, defaultButton_fromTheStyle_isTakenIntoRange) {
    service_->showMessage(L"t", L"c", kMessageYesNo | kMessageDefaultSecond);
    EXPECT_EQ(box().defaultButton, 1U);
    service_->showMessage(L"t", L"c", kMessageOk | kMessageDefaultThird);
    EXPECT_EQ(box().defaultButton, 0U);
}

TEST_F(MessageTest, remember_checked_answersWithoutABoxFromThenOn) {
    addTexts();
    const auto application = addApplication();
    native().answer = kAnswerNo;
    EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", L"overwrite"), kAnswerNo);
    EXPECT_EQ(box().checkBoxText, L"text 9012");
    EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", L"overwrite"), kAnswerNo);
    EXPECT_EQ(native().boxes.size(), 2U);
    native().checksBox = true;
    EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", L"overwrite"), kAnswerNo);
    native().answer = kAnswerYes;
    EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", L"overwrite"), kAnswerNo);
    EXPECT_EQ(native().boxes.size(), 3U);
    EXPECT_EQ(service_->askYesNoCancel(L"t", L"c", L"another"), kAnswerYes);
    // An answer that this box does not offer is none.
    EXPECT_EQ(service_->askOKCancel(L"t", L"c", L"overwrite"), kAnswerYes);
    EXPECT_EQ(native().boxes.size(), 5U);
    forgetAnswer(*application->getPreferences(), L"another");
    service_->askYesNoCancel(L"t", L"c", L"another");
    EXPECT_EQ(native().boxes.size(), 6U);
}

TEST_F(MessageTest, remember_cancelledOrFailed_isNotRemembered) {
    addApplication();
    native().checksBox = true;
    native().answer = kAnswerCancel;
    service_->askOKCancel(L"t", L"c", L"key");
    native().answer = kAnswerNone;
    EXPECT_EQ(service_->askOKCancel(L"t", L"c", L"key"), kAnswerNone);
    native().answer = kAnswerOk;
    EXPECT_EQ(service_->askOKCancel(L"t", L"c", L"key"), kAnswerOk);
    EXPECT_EQ(native().boxes.size(), 3U);
    EXPECT_EQ(service_->askOKCancel(L"t", L"c", L"key"), kAnswerOk);
    EXPECT_EQ(native().boxes.size(), 3U);
}

TEST_F(MessageTest, remember_noApplicationService_offersNoCheckBox) {
    native().checksBox = true;
    service_->showMessage(L"t", L"c", kMessageOk, L"key");
    EXPECT_EQ(box().checkBoxText, L"");
    service_->showMessage(L"t", L"c", kMessageOk, L"key");
    EXPECT_EQ(native().boxes.size(), 2U);
}

TEST_F(MessageTest, selectFileToOpen_arguments_areChecked) {
    EXPECT_EQ(thrownText([&] { service_->selectFileToOpen(L"", {L"*.a"}, {}, false); }),
              L"patterns.size() == patternNames.size()");
    EXPECT_EQ(thrownText([&] {
                  service_->selectFileToOpen(std::wstring(kFileNameBufferSize, L'x'), {}, {},
                                             false);
              }),
              L"initialFileName.size() < bufSize");
    EXPECT_EQ(thrownText([&] { service_->selectFileToOpen(L"", {}, {}, true); }),
              L"allowMultiSelect not implemented");
    EXPECT_TRUE(native().journal.empty());
    EXPECT_EQ(service_->selectFileToOpen(L"a.txt", {L"*.a"}, {L"A files"}, false), L"chosen.txt");
    EXPECT_EQ(native().journal, (Journal{L"selectFileToOpen a.txt 1 1"}));
}

TEST_F(MessageTest, getBitmap_scaled_asksForPixelsOfTheScreen) {
    native().scalingFactor = 1.5;
    EXPECT_EQ(service_->getBitmap(BitmapDescriptor()), nullptr);
    EXPECT_EQ(service_->getBitmap(BitmapDescriptor(321, {16, 15}))->size(), (Size{24, 23}));
    EXPECT_EQ(service_->getBitmap(BitmapDescriptor(321))->size(), (Size{0, 0}));
}

TEST_F(MessageTest, surfaces_services_areTheirOwnAndDieWithThem) {
    std::weak_ptr<WindowService> own;
    {
        const auto dialog = service_->createNativeDialog(NativeDialog::kStyleResizable);
        EXPECT_EQ(dialog->style(), NativeDialog::kStyleResizable);
        own = dialog->windowService();
        EXPECT_NE(own.lock(), service_);
        EXPECT_NE(dialog->graphicsService(), nullptr);
    }
    EXPECT_TRUE(own.expired());
}

TEST_F(MessageTest, unjoinedService_anyOperation_failsTheAssertion) {
    const auto service = makeService<WindowService>();
    EXPECT_EQ(thrownText([&] { service->createNativeButton(); }), L"impl_");
    EXPECT_EQ(thrownText([&] { service->showMessage(L"", L"", kMessageOk); }), L"impl_");
}

}  // namespace
}  // namespace zustd
