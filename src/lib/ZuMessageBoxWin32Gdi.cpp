#include "ZuMessageBoxWin32Gdi.h"

#include <algorithm>
#include <cstring>

#include "ZuColorWin32Gdi.h"
#include "ZuDialogWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuNativeButton.h"
#include "ZuNativeDialog.h"
#include "ZuText.h"
#include "ZuWindowHandlerWin32Gdi.h"

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
// Of the control that shows the text.
constexpr UINT_PTR kTextIdentifier = 0xFFFF;
constexpr wchar_t kEllipsis = L'\x2026';

// Of the system's message font, in points.
std::int32_t messageFontSize() noexcept {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    const HDC screen = GetDC(nullptr);
    const bool known =
        screen != nullptr &&
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0) != FALSE;
    const int size = known ? MulDiv(std::abs(metrics.lfMessageFont.lfHeight), 72,
                                    GetDeviceCaps(screen, LOGPIXELSY))
                           : FontStyle::kDefaultSize;
    if (screen != nullptr) {
        ReleaseDC(nullptr, screen);
    }
    return std::max(size, 1);
}

// What a title takes, with the frame's buttons and icon beside it.
std::int32_t titleWidth(std::wstring_view title) noexcept {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    if (!SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0)) {
        return 0;
    }
    const FontHandle font(CreateFontIndirectW(&metrics.lfCaptionFont));
    const HDC context = measuringContext();
    const SelectedObject selected(context, font.get());
    const auto length = static_cast<int>(std::min(title.size(), kMostLetters));
    SIZE size{};
    GetTextExtentPoint32W(context, title.data(), length, &size);
    return saturate(std::int64_t{size.cx} + 2 * std::int64_t{metrics.iCaptionWidth} +
                    2 * std::int64_t{metrics.iCaptionHeight});
}

// Shared; null for a box without icon.
HICON iconOf(std::uint32_t style) noexcept {
    const auto load = [](int identifier) {
        return LoadIconW(nullptr, MAKEINTRESOURCEW(identifier));
    };
    switch (style & kMessageIconMask) {
        case kMessageIconError:
            return load(32513);  // IDI_ERROR
        case kMessageIconQuestion:
            return load(32514);  // IDI_QUESTION
        case kMessageIconWarning:
            return load(32515);  // IDI_WARNING
        case kMessageIconInformation:
            return load(32516);  // IDI_INFORMATION
        default:
            return nullptr;
    }
}

// The beginning of a text, and dots; never half of a surrogate pair.
std::wstring cutAt(const std::wstring& text, std::size_t length) {
    if (length > 0 && IS_HIGH_SURROGATE(text[length - 1])) {
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
    std::size_t fits = 0;
    std::size_t tooMany = text.size();
    while (tooMany - fits > 1) {
        const std::size_t middle = fits + (tooMany - fits) / 2;
        (measure(cutAt(text, middle)).height <= height ? fits : tooMany) = middle;
    }
    return cutAt(text, fits);
}

void copyToClipboard(HWND owner, const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    if (!OpenClipboard(owner)) {
        return;
    }
    EmptyClipboard();
    if (const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes)) {
        if (void* target = GlobalLock(memory)) {
            std::memcpy(target, text.c_str(), bytes);
            GlobalUnlock(memory);
        }
        if (SetClipboardData(CF_UNICODETEXT, memory) == nullptr) {
            GlobalFree(memory);
        }
    }
    CloseClipboard();
}

std::shared_ptr<ColorsDescriptor> paperColors() {
    auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, systemColor(COLOR_WINDOW));
    colors->setColor(ColorRole::kText, systemColor(COLOR_WINDOWTEXT));
    return colors;
}

// Icon and text.
class MessagePaper : public Control {
public:
    MessagePaper(const MessageBoxContent& box, std::shared_ptr<FontDescriptor> descriptor)
        : text_(box.text), icon_(iconOf(box.style)), descriptor_(std::move(descriptor)) {}

    void initialize() override {
        Control::initialize();
        setColors(paperColors());
    }

    // Cuts the text; what is left takes no more than the size.
    Size measure(Size most);
    // Gives the text its control, in a paper that has its final place.
    void showText(HWND dialog);

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    std::int32_t iconSize() const { return icon_ != nullptr ? scale(kIcon) : 0; }
    std::int32_t textOffset() const { return icon_ != nullptr ? iconSize() + scale(kIconGap) : 0; }

    std::wstring text_;
    Size textSize_;
    HICON icon_;
    std::shared_ptr<FontDescriptor> descriptor_;
    // Kept as long as the control draws with it.
    std::shared_ptr<Font> font_;
};

Size MessagePaper::measure(Size most) {
    font_ = windowService()->getFont(descriptor_);
    const auto graphics = graphicsService();
    ZU_ASSERT_AS(font_ && graphics, L"font_ && graphics", ZU_HERE);
    const std::int32_t margins = 2 * scale(kMargin);
    const std::int32_t left = textOffset();
    const std::int32_t widest = std::max(most.width - left - margins, 1);
    const std::int32_t highest = std::max(most.height - margins, 1);
    std::int32_t width = std::min(scale(kTextWidth), widest);
    const auto measured = [&](const std::wstring& text) {
        return graphics->measureTextSize(text, *font_, width);
    };
    text_ = text_.size() > kMostLetters ? cutAt(text_, kMostLetters) : text_;
    // A word that is longer than the lines makes all of them longer.
    width = std::clamp(measured(text_).width, width, widest);
    text_ = cutToHeight(text_, highest, measured);
    const Size text = measured(text_);
    // Tabs are laid out anew within a narrower label, and may need more lines there.
    const bool hasTabs = text_.find(L'\t') != std::wstring::npos;
    textSize_ = {hasTabs ? width : std::min(text.width, width), std::min(text.height, highest)};
    return {left + textSize_.width + margins, std::max(textSize_.height, iconSize()) + margins};
}

void MessagePaper::showText(HWND dialog) {
    const std::int32_t margin = scale(kMargin);
    Rect place = boundaryOnSurface().shrunkBy(margin, margin);
    place.left = saturatedSum(place.left, textOffset());
    // A few lines stand beside the middle of the icon.
    place.top = saturatedSum(place.top, std::max((place.height() - textSize_.height) / 2, 0));
    // It goes with the dialog.
    const HWND label = CreateWindowExW(
        0, L"STATIC", text_.c_str(), WS_CHILD | WS_VISIBLE | SS_LEFT | SS_NOPREFIX, place.left,
        place.top, place.width(), place.height(), dialog, reinterpret_cast<HMENU>(kTextIdentifier),
        GetModuleHandleW(nullptr), nullptr);
    if (label == nullptr) {
        throwSystemException(L"Could not create window", ZU_HERE);
    }
    SendMessageW(label, WM_SETFONT, reinterpret_cast<WPARAM>(fontBackend(*font_).handle()), FALSE);
}

void MessagePaper::drawSelf(GraphicsService& graphics) {
    Control::drawSelf(graphics);
    if (icon_ != nullptr) {
        const std::int32_t margin = scale(kMargin);
        const Point place = Point{margin, margin}.movedBy(graphics.origin());
        DrawIconEx(graphicsBackend(graphics).context(), place.x, place.y, icon_, iconSize(),
                   iconSize(), 0, nullptr, DI_NORMAL);
    }
}

}  // namespace

// Everything on the dialog, and what the user does with it. Owned by the
// dialog; sees the box for as long as the box is shown.
class MessageBoxView : public Control {
public:
    MessageBoxView(NativeDialog& dialog, const MessageBoxContent& box)
        : dialog_(dialog),
          box_(box),
          font_(std::make_shared<FontDescriptor>(
              FontStyle{false, false, false, messageFontSize(), {}})) {}

    // False when a widget could not be made.
    bool build(WindowService& service);
    // Puts everything into place and gives the dialog its size.
    void layOut();
    bool hasNativeObjects() const;
    // The text's control and the buttons' identifiers.
    void finish();

    int answer() const noexcept { return answer_; }
    bool isChecked() const noexcept { return checkBox_ && checkBox_->isChecked(); }
    void close(int answer);
    // The user closes the dialog.
    void cancel() noexcept { answer_ = box_.cancelAnswer; }

    bool onKey(const KeyEvent& event) override;
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

private:
    std::shared_ptr<NativeButton> addButton(WindowService& service, const std::wstring& caption,
                                            ButtonKind kind);
    Size largestButton() const;
    bool moveAmongButtons(bool backwards);

    NativeDialog& dialog_;
    const MessageBoxContent& box_;
    std::shared_ptr<FontDescriptor> font_;
    std::shared_ptr<MessagePaper> paper_;
    std::vector<std::shared_ptr<NativeButton>> buttons_;
    std::shared_ptr<NativeButton> checkBox_;
    int answer_ = kAnswerNone;
};

bool MessageBoxView::build(WindowService& service) {
    paper_ = makeControl<MessagePaper>(box_, font_);
    addChild(paper_);
    for (const std::wstring& caption : buttonCaptionsOf(box_)) {
        auto button = addButton(service, caption, ButtonKind::kPush);
        if (!button) {
            return false;
        }
        buttons_.push_back(std::move(button));
    }
    dialog_.setDefaultButton(buttons_.at(box_.defaultButton));
    if (!box_.checkBoxText.empty()) {
        checkBox_ = addButton(service, box_.checkBoxText, ButtonKind::kCheck);
    }
    return box_.checkBoxText.empty() || checkBox_;
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

Size MessageBoxView::largestButton() const {
    Size largest;
    for (const std::shared_ptr<NativeButton>& button : buttons_) {
        const Size size = button->preferredSize();
        largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
    }
    return largest;
}

void MessageBoxView::layOut() {
    const std::int32_t margin = scale(kMargin);
    const std::int32_t gap = scale(kButtonGap);
    const Size button = largestButton();
    const auto count = static_cast<std::int32_t>(buttons_.size());
    const std::int32_t row = count * button.width + (count - 1) * gap;
    const Size check = checkBox_ ? checkBox_->preferredSize() : Size{};
    const std::int32_t checkRow = checkBox_ ? check.height + gap : 0;
    const std::int32_t strip = 2 * margin + checkRow + button.height;

    // Room for the frame around, and for something of what is behind.
    const Size screen = windowService()->getWorkArea().size();
    const Size most{screen.width * 5 / 8, screen.height * 7 / 8 - strip};
    const Size paper = paper_->measure(most);
    const std::int32_t title = std::min(titleWidth(box_.caption), most.width);
    const std::int32_t width = std::min(
        std::max({paper.width, row + 2 * margin, check.width + 2 * margin, title}), screen.width);

    paper_->setBoundary(Rect::at({0, 0}, {width, paper.height}));
    std::int32_t top = paper.height + margin;
    if (checkBox_) {
        checkBox_->setBoundary(
            Rect::at({margin, top}, {std::min(check.width, width - 2 * margin), check.height}));
        top += checkRow;
    }
    std::int32_t left = width - margin - row;
    for (const std::shared_ptr<NativeButton>& placed : buttons_) {
        placed->setBoundary(Rect::at({left, top}, button));
        left += button.width + gap;
    }
    const Size whole{width, paper.height + strip};
    setBoundary(Rect::at({0, 0}, whole));
    dialog_.setSize(whole);
}

bool MessageBoxView::hasNativeObjects() const {
    return dialog_.hasNativeObject() && (!checkBox_ || checkBox_->hasNativeObject()) &&
           std::all_of(buttons_.begin(), buttons_.end(),
                       [](const auto& button) { return button->hasNativeObject(); });
}

void MessageBoxView::finish() {
    paper_->showText(nativeWindowOf(dialog_));
    for (std::size_t i = 0; i < buttons_.size(); ++i) {
        SetWindowLongPtrW(nativeWindowOf(*buttons_[i]), GWLP_ID, box_.buttons[i].answer);
    }
    buttons_[box_.defaultButton]->takeFocus();
}

void MessageBoxView::close(int answer) {
    answer_ = answer;
    dialog_.hide(answer);
}

bool MessageBoxView::onKey(const KeyEvent& event) {
    switch (event.key) {
        case kKeyLeft:
        case kKeyUp:
            return moveAmongButtons(true);
        case kKeyRight:
        case kKeyDown:
            return moveAmongButtons(false);
        case 'C':
            if (!event.has(kModifierControl)) {
                return false;
            }
            copyToClipboard(nativeWindowOf(dialog_), clipboardTextOf(box_));
            return true;
        default:
            return false;
    }
}

bool MessageBoxView::moveAmongButtons(bool backwards) {
    const auto focused = std::find_if(buttons_.begin(), buttons_.end(),
                                      [](const auto& button) { return button->hasFocus(); });
    if (focused == buttons_.end()) {
        return false;
    }
    const auto count = buttons_.size();
    const auto index = static_cast<std::size_t>(focused - buttons_.begin());
    return buttons_[(index + (backwards ? count - 1 : 1)) % count]->takeFocus();
}

bool MessageBoxView::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (kind == kLeftClicked) {
        for (std::size_t i = 0; i < buttons_.size(); ++i) {
            if (a.object<Control>() == buttons_[i].get()) {
                close(box_.buttons[i].answer);
                return true;
            }
        }
    }
    return Control::onReceiveMessage(kind, a, b);
}

namespace {

// Hears of the dialog's end in the view's place: the view passes on to the
// dialog what it does not handle, and would hear it again.
class CloseListener : public MessageSink {
public:
    explicit CloseListener(const std::shared_ptr<MessageBoxView>& view) : view_(view) {}

    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        const std::shared_ptr<MessageBoxView> view = view_.lock();
        if (!(kind == Control::kClose) || !view) {
            return false;
        }
        view->cancel();
        return true;
    }

private:
    std::weak_ptr<MessageBoxView> view_;
};

}  // namespace

MessageBoxWin32Gdi::MessageBoxWin32Gdi(WindowService& service, MessageBoxContent& box)
    : service_(service), box_(box) {}

MessageBoxWin32Gdi::~MessageBoxWin32Gdi() = default;

bool MessageBoxWin32Gdi::build() {
    const bool canClose = box_.cancelAnswer != kAnswerNone;
    dialog_ = service_.createNativeDialog(canClose ? 0 : NativeDialog::kStyleNotClosable);
    if (!dialog_) {
        return false;
    }
    view_ = makeControl<MessageBoxView>(*dialog_, box_);
    dialog_->addChild(view_);
    dialog_->connect(std::make_shared<CloseListener>(view_), false);
    if (!view_->build(service_)) {
        return false;
    }
    // Before the layout: the size of the screen is that of the owner's.
    dialog_->synchronizeTree();
    if (!view_->hasNativeObjects()) {
        return false;
    }
    view_->layOut();
    view_->finish();
    // At last, so that whoever looks for the box by its title finds it complete.
    dialog_->setCaption(std::make_shared<TextDescriptor>(box_.caption));
    return true;
}

int MessageBoxWin32Gdi::show(const wchar_t* failure) {
    if (!guarded(L"MessageBoxWin32Gdi::build", false, [this] { return build(); })) {
        throwSystemException(failure, ZU_HERE);
    }
    service_.playMessageSound(box_.style);
    // Which may have taken long enough for the dialog to lose its window.
    if (!dynamic_cast<DialogWin32Gdi&>(dialog_->implementation()).makeReady()) {
        throwSystemException(failure, ZU_HERE);
    }
    dialog_->show(true);
    box_.doNotShowAgain = view_->isChecked();
    return view_->answer();
}

void MessageBoxWin32Gdi::close(int answer) {
    if (view_) {
        view_->close(answer);
    }
}

std::vector<std::wstring> buttonCaptionsOf(const MessageBoxContent& box) {
    std::vector<std::wstring> captions;
    bool bringsKeys = false;
    for (const MessageBoxButton& button : box.buttons) {
        captions.push_back(button.text);
        bringsKeys = bringsKeys || button.text.find(L'&') != std::wstring::npos;
    }
    std::wstring taken;
    for (std::size_t i = 0; i < captions.size() && !bringsKeys; ++i) {
        const int answer = box.buttons[i].answer;
        std::wstring& caption = captions[i];
        if (answer == kAnswerOk || answer == kAnswerCancel || caption.empty() ||
            !IsCharAlphaW(caption.front())) {
            continue;
        }
        for (std::size_t at = 0; at < caption.size(); ++at) {
            wchar_t letter = caption[at];
            CharUpperBuffW(&letter, 1);
            if (IsCharAlphaW(letter) && taken.find(letter) == std::wstring::npos) {
                taken.push_back(letter);
                caption.insert(at, 1, L'&');
                break;
            }
        }
    }
    return captions;
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

}  // namespace zustd
