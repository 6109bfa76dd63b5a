#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

int WindowServiceWin32Gdi::showMessage(const std::wstring& text, const std::wstring& caption,
                                       std::uint32_t style) {
    return guarded(L"WindowServiceWin32Gdi::showMessage", kAnswerNone, [&] {
        const int answer = MessageBoxW(window_, text.c_str(), caption.c_str(), style);
        if (answer == kAnswerNone) {
            throw SystemException(L"Could not show message");
        }
        return answer;
    });
}

std::shared_ptr<WindowService> makeWindowService(HWND window) {
    auto service = makeService<WindowService>();
    joinImplementation(*service, std::make_unique<WindowServiceWin32Gdi>(window));
    return service;
}

}  // namespace zustd
