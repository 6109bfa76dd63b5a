#include "ZuMessageBox.h"

#include <algorithm>
#include <span>

#include "ZuPropertyBag.h"
#include "ZuResourceService.h"

namespace zustd {

namespace {

struct ButtonText {
    int answer;
    std::uint64_t identifier;
    // Without its closing brace.
    const wchar_t* placeholder;
};

constexpr ButtonText kDoNotShowAgain{kAnswerNone, kStringDoNotShowAgain, L"{IDS_DONOTSHOWAGAIN"};
constexpr ButtonText kCancel{kAnswerCancel, kStringCancel, L"{IDS_CANCEL"};
constexpr ButtonText kOkCancel[] = {{kAnswerOk, kStringOk, L"{IDS_OK"}, kCancel};
constexpr ButtonText kYesNoCancel[] = {
    {kAnswerYes, kStringYes, L"{IDS_YES"}, {kAnswerNo, kStringNo, L"{IDS_NO"}, kCancel};

std::span<const ButtonText> buttonsOf(std::uint32_t style) noexcept {
    switch (style & kMessageButtonMask) {
        case kMessageOkCancel:
            return kOkCancel;
        case kMessageYesNoCancel:
            return kYesNoCancel;
        case kMessageYesNo:
            return std::span(kYesNoCancel).first(2);
        default:
            return std::span(kOkCancel).first(1);
    }
}

std::wstring resolve(const ButtonText& button, const IResourceService* resources) {
    if (resources == nullptr) {
        return std::wstring(button.placeholder) + L":null rs!}";
    }
    std::wstring text = shownString(*resources, button.identifier);
    return text.empty() ? std::wstring(button.placeholder) + L'}' : text;
}

bool hasAnswer(const MessageBoxContent& box, int answer) noexcept {
    return std::any_of(
        box.buttons.begin(), box.buttons.end(),
        [answer](const MessageBoxButton& button) { return button.answer == answer; });
}

// A box with one way out may be closed by it; one that asks yes or no has to be answered.
int cancelAnswerOf(const MessageBoxContent& box) noexcept {
    if (hasAnswer(box, kAnswerCancel)) {
        return kAnswerCancel;
    }
    return box.buttons.size() == 1 ? box.buttons.front().answer : kAnswerNone;
}

std::wstring preferenceKey(const std::wstring& rememberKey) {
    return L"doNotShowAgain." + rememberKey;
}

}  // namespace

void completeMessageBox(MessageBoxContent& box, const ServiceLocator& locator) {
    const std::shared_ptr<IResourceService> resources = locator.getService<IResourceService>();
    box.buttons.clear();
    for (const ButtonText& button : buttonsOf(box.style)) {
        box.buttons.push_back({button.answer, resolve(button, resources.get())});
    }
    const std::size_t wanted = (box.style & kMessageDefaultMask) / kMessageDefaultSecond;
    box.defaultButton = wanted < box.buttons.size() ? wanted : 0;
    box.cancelAnswer = cancelAnswerOf(box);
    box.checkBoxText =
        box.rememberKey.empty() ? std::wstring() : resolve(kDoNotShowAgain, resources.get());
    box.doNotShowAgain = false;
}

int rememberedAnswer(const PropertyBag& preferences, const MessageBoxContent& box) {
    const int answer = preferences.getLong(preferenceKey(box.rememberKey), kAnswerNone);
    return hasAnswer(box, answer) ? answer : kAnswerNone;
}

void rememberAnswer(PropertyBag& preferences, const MessageBoxContent& box, int answer) {
    const bool cancelled = answer == kAnswerCancel || answer == kAnswerNone;
    if (!box.rememberKey.empty() && box.doNotShowAgain && !cancelled) {
        preferences.setLong(preferenceKey(box.rememberKey), answer);
    }
}

void forgetAnswer(PropertyBag& preferences, const std::wstring& rememberKey) {
    preferences.clear(preferenceKey(rememberKey));
}

}  // namespace zustd
