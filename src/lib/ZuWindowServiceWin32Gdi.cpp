#include "ZuWindowServiceWin32Gdi.h"

#include <cderr.h>
#include <commdlg.h>

#include <atomic>

#include "ZuBitmapWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuLateLoading.h"
#include "ZuMessageBoxWin32Gdi.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuResourceService.h"
#include "ZuScope.h"
#include "ZuWindowHandlerWin32Gdi.h"

namespace zustd {

namespace {

// Computed by the first request; 0.0 until then.
constinit double scalingFactor = 0.0;

HCURSOR nativeCursor(MouseCursor cursor) noexcept {
    const std::array names = {IDC_ARROW,  IDC_HAND,   IDC_IBEAM,   IDC_WAIT,
                              IDC_SIZEWE, IDC_SIZENS, IDC_SIZEALL, IDC_NO};
    return LoadCursorW(nullptr, names[static_cast<std::size_t>(cursor)]);
}

struct BitmapKey {
    std::uint64_t identifier;
    Size size;
    // The same number is another file in another language.
    const FileResource* file;

    friend bool operator==(const BitmapKey&, const BitmapKey&) = default;
};

// A cache of fonts or bitmaps, in the order of their last use. The first kMostHeld are
// held; behind them an object is only known as long as somebody else holds it. So one
// that is in use is never made twice, and the number kept for nobody is bounded.
template <class Key, class T>
class DrawingCache {
public:
    static constexpr std::size_t kMostHeld = 64;

    // The object for a key, made by make() when there is none.
    template <class Make>
    std::shared_ptr<T> find(const Key& key, Make&& make) {
        auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&key](const Entry& entry) { return entry.key == key; });
        std::shared_ptr<T> object = found != entries_.end() ? found->known.lock() : nullptr;
        if (!object) {
            object = make();
            // One that has expired stays behind it. make() may have asked for something else.
            found = entries_.insert(entries_.end(), Entry{key, nullptr, object});
        }
        std::rotate(entries_.begin(), found, found + 1);
        entries_.front().held = object;
        if (entries_.size() > kMostHeld) {
            // No more than one comes in at a time.
            entries_[kMostHeld].held.reset();
            std::erase_if(entries_, [](const Entry& entry) { return entry.known.expired(); });
        }
        return object;
    }

    void clear() noexcept { entries_.clear(); }

private:
    struct Entry {
        Key key;
        std::shared_ptr<T> held;
        std::weak_ptr<T> known;
    };

    std::vector<Entry> entries_;
};

DrawingCache<FontStyle, Font> fontCache;
DrawingCache<BitmapKey, Bitmap> bitmapCache;

// The dialog wants name and pattern in turn, each terminated, and an empty one at the end.
std::wstring filterOf(const std::vector<std::wstring>& patterns,
                      const std::vector<std::wstring>& patternNames) {
    std::wstring filter;
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        // An empty text would be taken for the end.
        if (!patterns[i].empty()) {
            const std::wstring& name = patternNames[i].empty() ? patterns[i] : patternNames[i];
            filter += name + L'\0' + patterns[i] + L'\0';
        }
    }
    constexpr wchar_t kAllFiles[] = L"All Files\0*.*";
    return filter.append(kAllFiles, std::size(kAllFiles));
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

void WindowServiceWin32Gdi::setCursor(MouseCursor cursor) {
    cursor_ = cursor;
    SetCursor(nativeCursor(cursor));
}

Point WindowServiceWin32Gdi::getMousePosition() const {
    POINT place{};
    if (GetCursorPos(&place)) {
        ScreenToClient(window_, &place);
    }
    return {place.x, place.y};
}

void WindowServiceWin32Gdi::captureMouse() {
    if (window_ != nullptr) {
        SetCapture(window_);
    }
}

void WindowServiceWin32Gdi::releaseMouse() {
    if (GetCapture() == window_) {
        ReleaseCapture();
    }
}

void WindowServiceWin32Gdi::closeMessage(int answer) {
    if (!openBoxes_.empty()) {
        guarded(ZU_OPERATION, [&] { openBoxes_.back()->close(answer); });
    }
}

double WindowServiceWin32Gdi::getScalingFactor() {
    if (scalingFactor == 0.0) {
        scalingFactor = GetSystemMetrics(SM_CXSMICON) / double{kSmallImageSize};
        ZU_TRACE(L"WindowServiceWin32Gdi::getScalingFactor: setting scalingFactor to %lf",
                 scalingFactor);
    }
    return scalingFactor;
}

Point WindowServiceWin32Gdi::getClientPosition() const {
    POINT place{};
    ClientToScreen(window_, &place);
    return {place.x, place.y};
}

void WindowServiceWin32Gdi::closeWindow() {
    if (window_ != nullptr) {
        PostMessageW(window_, WM_CLOSE, 0, 0);
    }
}

void WindowServiceWin32Gdi::enableWindow(bool enable) {
    if (auto* surface = WindowHandlerWin32Gdi::of(window_)) {
        surface->setTakesInput(enable);
    } else {
        EnableWindow(window_, enable ? TRUE : FALSE);
    }
}

void WindowServiceWin32Gdi::hideWindow() {
    guarded(ZU_OPERATION, [this] {
        if (auto* surface = WindowHandlerWin32Gdi::of(window_)) {
            surface->setShown(false);
        } else {
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
    return seen != nullptr && (seen == window_ || IsChild(window_, seen));
}

void WindowServiceWin32Gdi::makeWindowVisibleAtPos(Point place) {
    guarded(ZU_OPERATION, [&] {
        SetWindowPos(window_, HWND_TOP, place.x, place.y, 0, 0,
                     SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
        if (auto* surface = WindowHandlerWin32Gdi::of(window_)) {
            surface->setShown(true);
        }
    });
}

void WindowServiceWin32Gdi::showWindow() {
    guarded(ZU_OPERATION, [this] {
        if (auto* surface = WindowHandlerWin32Gdi::of(window_)) {
            surface->setShown(true);
        }
        ShowWindow(window_, SW_SHOW);
    });
}

void WindowServiceWin32Gdi::setFocus(Control& control) {
    if (auto* surface = WindowHandlerWin32Gdi::of(window_)) {
        surface->giveFocus(control);
    } else if (window_ != nullptr) {
        const HWND native = nativeWindowOf(control);
        SetFocus(native != nullptr ? native : window_);
    }
}

std::wstring WindowServiceWin32Gdi::selectFileToOpen(
    const std::wstring& initialFileName, const std::vector<std::wstring>& patterns,
    const std::vector<std::wstring>& patternNames) {
    return guarded(ZU_OPERATION, std::wstring(), [&] {
        std::vector<wchar_t> name(initialFileName.begin(), initialFileName.end());
        name.resize(kFileNameBufferSize);
        const std::wstring filter = filterOf(patterns, patternNames);
        OPENFILENAMEW request{};
        request.lStructSize = sizeof(request);
        request.hwndOwner = ModalSession::ownerFor(window_);
        request.lpstrFilter = filter.c_str();
        request.lpstrFile = name.data();
        request.nMaxFile = static_cast<DWORD>(name.size());
        // The choice must not change where relative names lead to.
        request.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
        bool isChosen = GetOpenFileNameW(&request) != FALSE;
        if (!isChosen && CommDlgExtendedError() == FNERR_INVALIDFILENAME) {
            // No file has the initial name: it is only a suggestion.
            name.front() = L'\0';
            isChosen = GetOpenFileNameW(&request) != FALSE;
        }
        ZU_SYSTEM(isChosen || CommDlgExtendedError() == 0);
        return isChosen ? name.data() : std::wstring();
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
    constexpr unsigned kFirst = 0x100;
    constexpr unsigned kLast = 0x7FFF;
    static constinit std::atomic<unsigned> taken = 0;
    return static_cast<int>(kFirst + taken++ % (kLast - kFirst + 1));
}

Rect WindowServiceWin32Gdi::getDrawArea() const noexcept {
    const auto* surface = WindowHandlerWin32Gdi::of(window_);
    return surface != nullptr ? surface->drawArea() : Rect{};
}

int WindowServiceWin32Gdi::showBox(const wchar_t* operation, const wchar_t* failure,
                                   MessageBoxContent& box) {
    // While the box is open somebody may drop the service.
    const std::shared_ptr<WindowService> alive = sharedReference<WindowService>(&getAbstraction());
    return guarded(operation, kAnswerNone, [&] {
        MessageBoxWin32Gdi shown(getAbstraction(), box);
        // Boxes of one service are nested: the last one is in front.
        openBoxes_.push_back(&shown);
        const ScopeExit closed([this]() noexcept { openBoxes_.pop_back(); });
        return shown.show(failure);
    });
}

// --- Drawing objects ------------------------------------------------------------------------

std::shared_ptr<Font> WindowServiceWin32Gdi::getFont(const FontStyle& style) {
    return guarded(ZU_OPERATION, std::shared_ptr<Font>(), [&] { return getCachedFont(style); });
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::getBitmap(const ResourceDescriptor& resource,
                                                         Size size) {
    return guarded(ZU_OPERATION, std::shared_ptr<Bitmap>(),
                   [&] { return getCachedBitmap(resource, size); });
}

std::shared_ptr<Font> WindowServiceWin32Gdi::getCachedFont(const FontStyle& style) {
    return fontCache.find(style, [&] { return createFont(style); });
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::getCachedBitmap(const ResourceDescriptor& resource,
                                                               Size size) {
    const auto resources = getAbstraction().getService<IResourceService>();
    const FileResource* file =
        resources ? resources->getFileResource(resource.identifier) : nullptr;
    return bitmapCache.find({resource.identifier, size, file},
                            [&] { return createBitmap(resource, size); });
}

std::shared_ptr<Font> WindowServiceWin32Gdi::createFont(const FontStyle& style) {
    auto font = std::make_shared<Font>(style);
    joinImplementation(*font, std::make_unique<FontWin32Gdi>(getScalingFactor()));
    font->synchronize();
    return font;
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::createBitmap(const ResourceDescriptor& resource,
                                                            Size size) {
    auto bitmap = std::make_shared<Bitmap>(resource, size);
    joinImplementation(
        *bitmap, std::make_unique<BitmapWin32Gdi>(getAbstraction().getService<IResourceService>(),
                                                  getScalingFactor()));
    bitmap->synchronize();
    return bitmap;
}

FontHandle WindowServiceWin32Gdi::createFontHandle(const FontStyle& style) {
    return makeFontHandle(style, getScalingFactor());
}

void WindowServiceWin32Gdi::clearDrawingCaches() noexcept {
    fontCache.clear();
    bitmapCache.clear();
}

WindowServiceWin32Gdi* windowServiceBackend(const WindowService* service) noexcept {
    return service != nullptr
               ? dynamic_cast<WindowServiceWin32Gdi*>(service->untypedImplementation())
               : nullptr;
}

std::shared_ptr<WindowService> makeWindowService(HWND window) {
    requireWindowLibraries();
    auto service = makeService<WindowService>();
    joinImplementation(*service, std::make_unique<WindowServiceWin32Gdi>(window));
    return service;
}

}  // namespace zustd
