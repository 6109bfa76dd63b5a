#include "ZuMessageBoxView.h"

#include "ZuAccessKeys.h"
#include "ZuGraphicsService.h"
#include "ZuNativeDialog.h"
#include "ZuWindowService.h"
#include "ZuWindows.h"

namespace zustd {

namespace {

// At a scaling factor of 1.
constexpr std::int32_t kMargin = 12;
constexpr std::int32_t kIcon = 32;
constexpr std::int32_t kIconGap = 10;
constexpr std::int32_t kButtonGap = 8;
constexpr std::int32_t kTextWidth = 420;
// More letters than any screen shows of one text.
constexpr std::size_t kMostLetters = 20000;
constexpr wchar_t kEllipsis = L'\x2026';

// The beginning of a text, 1 letter or more, and dots; never half of a surrogate pair.
std::wstring cutAt(const std::wstring& text, std::size_t length) {
    if (IS_HIGH_SURROGATE(text[length - 1])) {
        --length;
    }
    return text.substr(0, length) + kEllipsis;
}

// The longest beginning of the text that is as high as that.
template <class Measure>
std::wstring cutToHeight(const std::wstring& text, std::int32_t height, Measure&& measure) {
    if (measure(text).height <= height) {
        return text;
    }
    std::size_t fits = 1;
    std::size_t tooMany = text.size();
    while (fits + 1 < tooMany) {
        const std::size_t middle = fits + (tooMany - fits) / 2;
        (measure(cutAt(text, middle)).height <= height ? fits : tooMany) = middle;
    }
    return cutAt(text, fits);
}

std::wstring clipboardTextOf(const MessageBoxContent& box) {
    static constexpr std::wstring_view kRule = L"---------------------------\r\n";
    std::wstring text(kRule);
    text.append(box.caption).append(L"\r\n").append(kRule);
    text.append(box.text).append(L"\r\n").append(kRule);
    for (const MessageBoxButton& button : box.buttons) {
        text.append(button.text).append(L"   ");
    }
    return text.append(L"\r\n").append(kRule);
}

}  // namespace

MessageBoxView::MessageBoxView(NativeDialog& dialog, const MessageBoxContent& box,
                               IMessageBoxBackend& backend)
    : dialog_(dialog),
      box_(box),
      backend_(backend),
      icon_(backend.makeIcon(box.style)),
      text_(box.text.size() > kMostLetters ? cutAt(box.text, kMostLetters) : box.text) {}

bool MessageBoxView::build(WindowService& service) {
    paper_->setColors(backend_.paperColors());
    addChild(paper_);
    if (icon_) {
        paper_->addChild(icon_);
    }
    for (const std::wstring& caption : buttonCaptionsOf(box_)) {
        buttons_.push_back(addButton(service, caption, ButtonKind::kPush));
    }
    if (!box_.checkBoxText.empty()) {
        checkBox_ = addButton(service, box_.checkBoxText, ButtonKind::kCheck);
    }
    dialog_.setDefaultButton(buttons_.at(box_.defaultButton));
    // Before the layout: the size of the screen is that of the owner's.
    dialog_.synchronizeTree();
    const auto isMade = [](const auto& button) { return button && button->hasNativeObject(); };
    if (!std::ranges::all_of(buttons_, isMade) ||
        !(box_.checkBoxText.empty() || isMade(checkBox_))) {
        return false;
    }
    layOut();
    showText();
    buttons_.at(box_.defaultButton)->takeFocus();
    return true;
}

std::shared_ptr<NativeButton> MessageBoxView::addButton(WindowService& service,
                                                        const std::wstring& caption,
                                                        ButtonKind kind) {
    auto button = service.createNativeButton();
    if (button) {
        button->setCaption(std::make_shared<TextDescriptor>(caption));
        button->setFont(font_);
        button->setKind(kind);
        addChild(button);
    }
    return button;
}

void MessageBoxView::layOut() {
    const std::int32_t margin = scale(kMargin);
    const std::int32_t gap = scale(kButtonGap);
    Size button;
    for (const std::shared_ptr<NativeButton>& measured : buttons_) {
        const Size size = measured->preferredSize();
        button = {std::max(button.width, size.width), std::max(button.height, size.height)};
    }
    const auto count = static_cast<std::int32_t>(buttons_.size());
    const std::int32_t row = count * (button.width + gap) - gap;
    const Size check = checkBox_ ? checkBox_->preferredSize() : Size{};
    const std::int32_t checkRow = checkBox_ ? check.height + gap : 0;
    const std::int32_t strip = 2 * margin + checkRow + button.height;

    // Room for the frame around, and for something of what is behind.
    const Size screen = windowService()->getWorkArea().size();
    const Size most{screen.width * 5 / 8, screen.height * 7 / 8 - strip};
    const Size paper = layOutPaper(most);
    const std::int32_t title = std::min(backend_.titleWidth(box_.caption), most.width);
    const std::int32_t below = std::max(row, check.width) + 2 * margin;
    const Size whole{std::min(std::max({paper.width, below, title}), screen.width),
                     paper.height + strip};

    paper_->setBoundary(Rect::at({}, {whole.width, paper.height}));
    const std::int32_t top = paper.height + margin;
    if (checkBox_) {
        checkBox_->setBoundary(Rect::at(
            {margin, top}, {std::min(check.width, whole.width - 2 * margin), check.height}));
    }
    std::int32_t left = whole.width - margin - row;
    for (const std::shared_ptr<NativeButton>& placed : buttons_) {
        placed->setBoundary(Rect::at({left, top + checkRow}, button));
        left += button.width + gap;
    }
    setBoundary(Rect::at({}, whole));
    dialog_.setSize(whole);
}

// Cuts the text; the paper takes no more than the size.
Size MessageBoxView::layOutPaper(Size most) {
    const std::shared_ptr<Font> font = windowService()->getFont(font_);
    const std::shared_ptr<GraphicsService> graphics = graphicsService();
    ZU_ASSERT(font && graphics);
    const std::int32_t margin = scale(kMargin);
    const std::int32_t icon = scale(kIcon);
    const std::int32_t beside = 2 * margin + (icon_ ? icon + scale(kIconGap) : 0);
    const std::int32_t widest = std::max(most.width - beside, 1);
    const std::int32_t highest = std::max(most.height - 2 * margin, 1);
    std::int32_t width = std::min(scale(kTextWidth), widest);
    const auto measured = [&](const std::wstring& text) {
        return graphics->measureTextSize(text, *font, width);
    };
    // A word that is longer than the lines makes all of them longer.
    width = std::min(std::max(width, measured(text_).width), widest);
    text_ = cutToHeight(text_, highest, measured);
    const Size text = measured(text_);
    // Tabs are laid out anew within a narrower label, and may need more lines there.
    const bool hasTabs = text_.find(L'\t') != std::wstring::npos;
    textSize_ = {hasTabs ? width : std::min(text.width, width), std::min(text.height, highest)};
    std::int32_t height = textSize_.height;
    if (icon_) {
        icon_->setBoundary(Rect::at({margin, margin}, {icon, icon}));
        height = std::max(height, icon);
    }
    return {textSize_.width + beside, height + 2 * margin};
}

void MessageBoxView::showText() {
    const std::int32_t margin = scale(kMargin);
    Rect place = paper_->boundary().shrunkBy(margin, margin);
    place.left += icon_ ? icon_->boundary().width() + scale(kIconGap) : 0;
    // A few lines stand beside the middle of the icon.
    place.top += std::max((place.height() - textSize_.height) / 2, 0);
    backend_.showText(text_, place, windowService()->getFont(font_));
}

int MessageBoxView::answer() const noexcept {
    const bool userClosed = answer_ == kAnswerNone && dialog_.result() == kAnswerCancel;
    return userClosed ? box_.cancelAnswer : answer_;
}

void MessageBoxView::close(int answer) {
    answer_ = answer;
    dialog_.hide(answer);
}

bool MessageBoxView::onKey(const KeyEvent& event) {
    if (event.key == 'C' && event.has(kModifierControl)) {
        backend_.copyText(clipboardTextOf(box_));
        return true;
    }
    const bool backwards = event.key == kKeyLeft || event.key == kKeyUp;
    const bool moves = backwards || event.key == kKeyRight || event.key == kKeyDown;
    const auto focused = std::find_if(buttons_.begin(), buttons_.end(),
                                      [](const auto& button) { return button->hasFocus(); });
    if (!moves || focused == buttons_.end()) {
        return false;
    }
    const auto count = buttons_.size();
    const auto index = static_cast<std::size_t>(focused - buttons_.begin());
    return buttons_[(index + (backwards ? count - 1 : 1)) % count]->takeFocus();
}

bool MessageBoxView::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (kind == kLeftClicked) {
        const auto clicked =
            std::find_if(buttons_.begin(), buttons_.end(),
                         [&a](const auto& button) { return button.get() == a.object<Control>(); });
        if (clicked != buttons_.end()) {
            close(box_.buttons[static_cast<std::size_t>(clicked - buttons_.begin())].answer);
            return true;
        }
    }
    return Control::onReceiveMessage(kind, a, b);
}

std::vector<std::wstring> buttonCaptionsOf(const MessageBoxContent& box) {
    std::vector<std::wstring> captions;
    bool bringsKeys = false;
    for (const MessageBoxButton& button : box.buttons) {
        captions.push_back(button.text);
        bringsKeys = bringsKeys || accessKeyOf(button.text) != 0;
    }
    std::wstring taken;
    for (std::size_t i = 0; i < captions.size() && !bringsKeys; ++i) {
        const int answer = box.buttons[i].answer;
        if (answer != kAnswerOk && answer != kAnswerCancel) {
            addAccessKey(captions[i], taken);
        }
    }
    return captions;
}

}  // namespace zustd
