#include "support/RecordingBackend.h"

#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuText.h"

namespace zustd::test {

std::wstring textOf(std::wstring_view text) { return std::wstring(text); }

std::wstring textOf(double number) { return formatWide(L"%.2f", number); }

std::wstring textOf(Point point) { return formatWide(L"%d,%d", point.x, point.y); }

std::wstring textOf(const Rect& rect) {
    return formatWide(L"%d,%d,%d,%d", rect.left, rect.top, rect.right, rect.bottom);
}

std::wstring textOf(Color color) {
    return formatWide(L"#%02x%02x%02x", unsigned{color.red}, unsigned{color.green},
                      unsigned{color.blue});
}

std::wstring textOf(const Bitmap& bitmap) { return textOf(bitmap.resource().identifier); }

int RecordingDialog::show(bool) {
    const Shared<NativeDialog> self = sharedReference(&getAbstraction());
    synchronizeWithAbstraction();
    getAbstraction().acceptOpen();
    return kAnswerNone;
}

void RecordingDialog::hide(int result) {
    whileNativeChanges(getAbstraction());
    if (getAbstraction().isOpen()) {
        getAbstraction().acceptClosed(result);
    }
}

void RecordingGridView::fill() {
    if (isStale()) {
        note(L"fill");
        markFresh();
    }
}

void RecordingTreeView::fill() {
    if (isStale()) {
        note(L"fill");
        markFresh();
    }
}

void RecordingTreeView::noteNode(const wchar_t* operation, TreeNode node) {
    note(operation, node == kNoNode ? L"none" : getNodeKey(node));
}

Size RecordingGraphics::measureTextSize(std::wstring_view text, const Font& font,
                                        std::int32_t width) {
    const std::int32_t whole = measureTextWidth(text, font);
    const std::int32_t line = (font.style().size != 0 ? font.style().size : 11) + 5;
    if (width <= 0 || whole <= width) {
        return {whole, line};
    }
    return {width, (whole + width - 1) / width * line};
}

std::int32_t RecordingGraphics::measureTextWidth(std::wstring_view text, const Font& font) {
    return static_cast<std::int32_t>(text.size()) * (font.style().bold ? 8 : 7);
}

int RecordingWindowService::answerTo(const wchar_t* operation, MessageBoxContent& box) {
    note(operation);
    box.doNotShowAgain = checksBox && !box.checkBoxText.empty();
    boxes.push_back(box);
    return answer;
}

std::wstring RecordingWindowService::selectFileToOpen(
    const std::wstring& initialFileName, const std::vector<std::wstring>& patterns,
    const std::vector<std::wstring>& patternNames) {
    note(L"selectFileToOpen", initialFileName, patterns.size(), patternNames.size());
    return L"chosen.txt";
}

Shared<WindowService> makeRecordingWindowService() { return made<RecordingWindowService>(); }

Shared<ApplicationService> makeRecordingApplicationService() {
    return made<ApplicationServiceWin32Gdi>();
}

bool MessageLog::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    entries.push_back({std::wstring(kind.name()), a, b});
    return true;
}

std::wstring MessageLog::take() {
    std::wstring names;
    for (const Entry& entry : entries) {
        names += names.empty() ? L"" : L" ";
        names += entry.name.substr(0, entry.name.find(L'.'));
    }
    entries.clear();
    return names;
}

}  // namespace zustd::test
