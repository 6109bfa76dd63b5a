#include "ZuWindowServiceWin32Gdi.h"

#include <cderr.h>
#include <commdlg.h>

#include <array>
#include <atomic>

#include "ZuControl.h"
#include "ZuLateLoading.h"
#include "ZuMessageBoxWin32Gdi.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuWindowHandlerWin32Gdi.h"

namespace zustd {

namespace {

// Pixels of a small icon at a scaling factor of 1, inverted.
constexpr double kFactorPerPixel = 0.0625;

// Computed by the first request; 0.0 until then.
constinit double scalingFactor = 0.0;

RECT nativeRect(const Rect& area) noexcept {
    return {area.left, area.top, saturatedSum(area.right, 1), saturatedSum(area.bottom, 1)};
}

RECT windowRect(HWND window) noexcept {
    RECT area{};
    if (window != nullptr) {
        GetWindowRect(window, &area);
    }
    return area;
}

MONITORINFO monitorOf(HWND window) noexcept {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof(monitor);
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY), &monitor);
    return monitor;
}

HCURSOR nativeCursor(MouseCursor cursor) noexcept {
    static constexpr std::array<int, 8> kIdentifiers = {
        32512,  // IDC_ARROW
        32649,  // IDC_HAND
        32513,  // IDC_IBEAM
        32514,  // IDC_WAIT
        32644,  // IDC_SIZEWE
        32645,  // IDC_SIZENS
        32646,  // IDC_SIZEALL
        32648,  // IDC_NO
    };
    const auto index = static_cast<std::size_t>(cursor);
    return LoadCursorW(nullptr, MAKEINTRESOURCEW(kIdentifiers[index]));
}

// Whom a dialog of the system disables: the window that the user sees and may
// use, or none.
HWND dialogOwnerOf(HWND window) noexcept {
    const bool isUsable = window != GetDesktopWindow() && IsWindow(window);
    return ModalSession::ownerFor(isUsable ? GetAncestor(window, GA_ROOT) : nullptr);
}

// Boxes of one service are nested: the last one is in front.
class OpenBox {
public:
    OpenBox(std::vector<MessageBoxWin32Gdi*>& boxes, MessageBoxWin32Gdi& box) : boxes_(boxes) {
        boxes_.push_back(&box);
    }
    OpenBox(const OpenBox&) = delete;
    OpenBox& operator=(const OpenBox&) = delete;
    ~OpenBox() { boxes_.pop_back(); }

private:
    std::vector<MessageBoxWin32Gdi*>& boxes_;
};

// The dialog wants name and pattern in turn, each terminated, and an empty one
// at the end.
std::wstring filterOf(const std::vector<std::wstring>& patterns,
                      const std::vector<std::wstring>& patternNames) {
    std::wstring filter;
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        // An empty text would be taken for the end.
        if (!patterns[i].empty()) {
            const std::wstring& name = patternNames[i].empty() ? patterns[i] : patternNames[i];
            filter.append(name).push_back(L'\0');
            filter.append(patterns[i]).push_back(L'\0');
        }
    }
    filter.append(L"All Files").push_back(L'\0');
    filter.append(L"*.*").push_back(L'\0');
    return filter;
}

}  // namespace

void WindowServiceWin32Gdi::invalidate() {
    if (window_ != nullptr) {
        InvalidateRect(window_, nullptr, FALSE);
    }
}

void WindowServiceWin32Gdi::invalidate(const Rect& area) {
    if (window_ != nullptr) {
        const RECT native = nativeRect(area);
        InvalidateRect(window_, &native, FALSE);
    }
}

void WindowServiceWin32Gdi::updateWindow() {
    if (window_ != nullptr) {
        UpdateWindow(window_);
    }
}

MouseCursor WindowServiceWin32Gdi::getCursor() const { return cursor_; }

void WindowServiceWin32Gdi::setCursor(MouseCursor cursor) {
    cursor_ = cursor;
    SetCursor(nativeCursor(cursor));
}

Point WindowServiceWin32Gdi::getMousePosition() const {
    POINT place{};
    if (!GetCursorPos(&place)) {
        return {};
    }
    if (window_ != nullptr) {
        ScreenToClient(window_, &place);
    }
    return {place.x, place.y};
}

Point WindowServiceWin32Gdi::getWindowPosition() const {
    const RECT area = windowRect(window_);
    return {area.left, area.top};
}

Size WindowServiceWin32Gdi::getWindowSize() const {
    const RECT area = windowRect(window_);
    return {area.right - area.left, area.bottom - area.top};
}

void WindowServiceWin32Gdi::captureMouse() {
    if (window_ != nullptr) {
        SetCapture(window_);
    }
}

void WindowServiceWin32Gdi::releaseMouse() {
    if (window_ != nullptr && GetCapture() == window_) {
        ReleaseCapture();
    }
}

bool WindowServiceWin32Gdi::isMessageOpen() const { return !openBoxes_.empty(); }

int WindowServiceWin32Gdi::showMessage(MessageBoxContent& box) {
    return showBox(L"WindowServiceWin32Gdi::showMessage", L"Could not show message", box);
}

void WindowServiceWin32Gdi::closeMessage(int answer) {
    if (!openBoxes_.empty()) {
        guarded(L"WindowServiceWin32Gdi::closeMessage", [&] { openBoxes_.back()->close(answer); });
    }
}

int WindowServiceWin32Gdi::askYesNoCancel(MessageBoxContent& box) {
    return showBox(L"WindowServiceWin32Gdi::askYesNoCancel", L"Could not ask question", box);
}

void WindowServiceWin32Gdi::playMessageSound(std::uint32_t style) {
    MessageBeep(style & kMessageIconMask);
}

int WindowServiceWin32Gdi::askYesNo(MessageBoxContent& box) {
    return showBox(L"WindowServiceWin32Gdi::askYesNo", L"Could not ask question", box);
}

int WindowServiceWin32Gdi::askOKCancel(MessageBoxContent& box) {
    return showBox(L"WindowServiceWin32Gdi::askOKCancel", L"Could not ask question", box);
}

double WindowServiceWin32Gdi::getScalingFactor() {
    if (scalingFactor == 0.0) {
        scalingFactor = GetSystemMetrics(SM_CXSMICON) * kFactorPerPixel;
        ZU_TRACE(L"WindowServiceWin32Gdi::getScalingFactor: setting scalingFactor to %lf",
                 scalingFactor);
    }
    return scalingFactor;
}

Rect WindowServiceWin32Gdi::getWorkArea() const {
    const RECT area = monitorOf(window_).rcWork;
    return {area.left, area.top, area.right - 1, area.bottom - 1};
}

Point WindowServiceWin32Gdi::getClientPosition() const {
    POINT place{};
    if (window_ != nullptr) {
        ClientToScreen(window_, &place);
    }
    return {place.x, place.y};
}

void WindowServiceWin32Gdi::closeWindow() {
    if (window_ != nullptr) {
        PostMessageW(window_, WM_CLOSE, 0, 0);
    }
}

void WindowServiceWin32Gdi::enableWindow(bool enable) {
    guarded(L"WindowServiceWin32Gdi::enableWindow", [&] {
        if (WindowHandlerWin32Gdi* surface = handler()) {
            surface->setTakesInput(enable);
        } else if (window_ != nullptr) {
            EnableWindow(window_, enable ? TRUE : FALSE);
        }
    });
}

void WindowServiceWin32Gdi::hideWindow() {
    guarded(L"WindowServiceWin32Gdi::hideWindow", [this] {
        if (WindowHandlerWin32Gdi* surface = handler()) {
            surface->setShown(false);
        } else if (window_ != nullptr) {
            ShowWindow(window_, SW_HIDE);
        }
    });
}

void WindowServiceWin32Gdi::invalidateWindow() {
    if (window_ != nullptr) {
        RedrawWindow(window_, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
    }
}

bool WindowServiceWin32Gdi::isWindowVisibleAtPos(Point place) const {
    const HWND seen = WindowFromPoint({place.x, place.y});
    return window_ != nullptr && seen != nullptr && (seen == window_ || IsChild(window_, seen));
}

void WindowServiceWin32Gdi::makeWindowVisibleAtPos(Point place) {
    guarded(L"WindowServiceWin32Gdi::makeWindowVisibleAtPos", [&] {
        if (window_ == nullptr) {
            return;
        }
        SetWindowPos(window_, HWND_TOP, place.x, place.y, 0, 0,
                     SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
        if (WindowHandlerWin32Gdi* surface = handler()) {
            surface->setShown(true);
        }
    });
}

void WindowServiceWin32Gdi::showWindow() {
    guarded(L"WindowServiceWin32Gdi::showWindow", [this] {
        if (WindowHandlerWin32Gdi* surface = handler()) {
            surface->setShown(true);
        }
        if (window_ != nullptr) {
            ShowWindow(window_, SW_SHOW);
        }
    });
}

std::wstring WindowServiceWin32Gdi::selectFileToOpen(
    const std::wstring& initialFileName, const std::vector<std::wstring>& patterns,
    const std::vector<std::wstring>& patternNames) {
    return guarded(L"WindowServiceWin32Gdi::selectFileToOpen", std::wstring(), [&] {
        std::vector<wchar_t> name(kFileNameBufferSize);
        initialFileName.copy(name.data(), name.size() - 1);
        const std::wstring filter = filterOf(patterns, patternNames);
        OPENFILENAMEW request{};
        request.lStructSize = sizeof(request);
        request.hwndOwner = dialogOwnerOf(window_);
        request.lpstrFilter = filter.c_str();
        request.lpstrFile = name.data();
        request.nMaxFile = static_cast<DWORD>(name.size());
        // The choice must not change where relative names lead to.
        request.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
        if (GetOpenFileNameW(&request)) {
            return std::wstring(name.data());
        }
        if (CommDlgExtendedError() == FNERR_INVALIDFILENAME) {
            // No file has the initial name: it is only a suggestion.
            name[0] = L'\0';
            if (GetOpenFileNameW(&request)) {
                return std::wstring(name.data());
            }
        }
        if (CommDlgExtendedError() != 0) {
            throwSystemException(L"Could not select file", ZU_HERE);
        }
        return std::wstring();
    });
}

void WindowServiceWin32Gdi::setScalingFactor(double factor) {
    scalingFactor = factor;
    // What is in there has the size of the former factor.
    clearDrawingCaches();
}

int WindowServiceWin32Gdi::getNewId() noexcept {
    // Below lie the identifiers that dialogs have a meaning for; notifications
    // have room for 16 bits.
    constexpr int kFirst = 0x100;
    constexpr int kLast = 0x7FFF;
    static constinit std::atomic<int> next = kFirst;
    int taken = next.load();
    while (!next.compare_exchange_weak(taken, taken == kLast ? kFirst : taken + 1)) {
    }
    return taken;
}

Rect WindowServiceWin32Gdi::getDrawArea() const noexcept {
    const WindowHandlerWin32Gdi* surface = handler();
    return surface != nullptr ? surface->drawArea() : Rect{};
}

WindowHandlerWin32Gdi* WindowServiceWin32Gdi::handler() const noexcept {
    return WindowHandlerWin32Gdi::of(window_);
}

int WindowServiceWin32Gdi::showBox(const wchar_t* operation, const wchar_t* failure,
                                   MessageBoxContent& box) {
    // While the box is open somebody may drop the service.
    const std::shared_ptr<WindowService> alive = sharedReference<WindowService>(&getAbstraction());
    return guarded(operation, kAnswerNone, [&] {
        MessageBoxWin32Gdi shown(getAbstraction(), box);
        const OpenBox open(openBoxes_, shown);
        return shown.show(failure);
    });
}

std::shared_ptr<WindowService> makeWindowService(HWND window) {
    requireWindowLibraries();
    auto service = makeService<WindowService>();
    joinImplementation(*service, std::make_unique<WindowServiceWin32Gdi>(window));
    return service;
}

}  // namespace zustd
