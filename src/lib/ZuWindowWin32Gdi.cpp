#include "ZuWindowWin32Gdi.h"

#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

namespace {

constexpr wchar_t kWindowClass[] = L"ZuNativeWindow";

BOOL CALLBACK takeFirstName(HMODULE, const wchar_t*, wchar_t* name, LONG_PTR out) noexcept {
    // Names that are text end with the module's enumeration.
    if (IS_INTRESOURCE(name)) {
        *reinterpret_cast<wchar_t**>(out) = name;
    }
    return FALSE;
}

// The executable's first icon, in the size of a system metric; shared, null when it has none.
HICON executableIcon(int widthMetric, int heightMetric) noexcept {
    const HMODULE module = GetModuleHandleW(nullptr);
    wchar_t* name = nullptr;
    EnumResourceNamesW(module, RT_GROUP_ICON, &takeFirstName, reinterpret_cast<LONG_PTR>(&name));
    return name == nullptr ? nullptr
                           : static_cast<HICON>(
                                 LoadImageW(module, name, IMAGE_ICON, GetSystemMetrics(widthMetric),
                                            GetSystemMetrics(heightMetric), LR_SHARED));
}

void registerWindowClass(WNDPROC procedure) {
    [[maybe_unused]] static const ATOM registered = [procedure] {
        WNDCLASSEXW description{};
        description.cbSize = sizeof(description);
        description.style = CS_DBLCLKS;
        description.lpfnWndProc = procedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        description.hIcon = executableIcon(SM_CXICON, SM_CYICON);
        description.hIconSm = executableIcon(SM_CXSMICON, SM_CYSMICON);
        description.lpszClassName = kWindowClass;
        return ZU_SYSTEM(RegisterClassExW(&description));
    }();
}

}  // namespace

void WindowWin32Gdi::synchronizeWithAbstraction() {
    guarded(ZU_OPERATION, [this] {
        HWND parent = nullptr;
        const bool hasPlace = findParent(parent);
        if (!hasPlace || parent != parent_) {
            destroyWindow();
        }
        if (!hasPlace) {
            return;
        }
        if (window() == nullptr) {
            createWindow(parent);
        }
        const NativeWindow& shown = getAbstraction();
        synchronizeCaption(shown.hasCaption() ? shown.caption().text(shown) : std::wstring());
        synchronizeEnabled();
        synchronizePlace();
        synchronizeSize();
        synchronizeVisible();
    });
}

// False for a place on a surface that has no window yet. Without parent the
// window is one of its own.
bool WindowWin32Gdi::findParent(HWND& parent) const {
    const Control* above = getAbstraction().parentControl();
    if (above != nullptr && above->surface() != nullptr) {
        parent = surfaceWindowOf(getAbstraction());
        return parent != nullptr;
    }
    parent = creatorWindow();
    return true;
}

void WindowWin32Gdi::createWindow(HWND parent) {
    registerWindowClass(&windowProcedure);
    const DWORD style =
        WS_CLIPCHILDREN | (parent != nullptr ? WS_CHILD | WS_CLIPSIBLINGS : WS_OVERLAPPEDWINDOW);
    // A child begins with no size at 0, 0.
    adopt(ZU_SYSTEM(CreateWindowExW(WS_EX_CONTROLPARENT, kWindowClass, nullptr, style,
                                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                                    parent, nullptr, GetModuleHandleW(nullptr), nullptr)));
    parent_ = parent;
    position_ = {};
    visible_ = false;
}

// A window of its own stays where the system or the user has put it until its boundary is moved.
void WindowWin32Gdi::synchronizePlace() {
    const NativeWindow& shown = getAbstraction();
    Point wanted = shown.boundary().position();
    if (parent_ != nullptr && shown.parentControl() != nullptr) {
        wanted = shown.parentControl()->toSurface(wanted);
    }
    if (std::exchange(position_, wanted) != wanted) {
        SetWindowPos(window(), nullptr, wanted.x, wanted.y, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER);
    }
}

void WindowWin32Gdi::synchronizeVisible() {
    const bool visible = getAbstraction().isShown();
    // Somebody else may have shown it where and how he wanted it.
    const bool isSeen = hasFlag(GetWindowLongW(window(), GWL_STYLE), WS_VISIBLE);
    if (std::exchange(visible_, visible) != visible && visible != isSeen) {
        const int show = parent_ != nullptr ? SW_SHOWNA : SW_SHOW;
        ShowWindow(window(), visible ? show : SW_HIDE);
    }
}

}  // namespace zustd
