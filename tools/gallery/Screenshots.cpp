#include "Screenshots.h"

#include "ZuBitmapWin32Gdi.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuTimer.h"
#include "ZuWindowHandlerWin32Gdi.h"

#include <objidl.h>
// GDI+ needs what is above.
#include <gdiplus/gdiplus.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <vector>

namespace zustd::gallery {

namespace {

namespace flat = Gdiplus::DllExports;

// Time for windows to appear and to paint.
constexpr DWORD kSettlingTime = 250;

class ScreenContext {
public:
    ScreenContext() noexcept : context_(GetDC(nullptr)) {}
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;
    ~ScreenContext() { ReleaseDC(nullptr, context_); }
    HDC get() const noexcept { return context_; }

private:
    HDC context_;
};

void closeImage(Gdiplus::GpBitmap* image) noexcept { flat::GdipDisposeImage(image); }
using Image = Handle<NullHandleTraits<Gdiplus::GpBitmap*, &closeImage>>;

// What the screen shows where the window is, with all that lies over it.
BitmapHandle picture(HWND window) {
    RECT area{};
    GetWindowRect(window, &area);
    const int width = area.right - area.left;
    const int height = area.bottom - area.top;
    const ScreenContext screen;
    const MemoryDeviceContext memory(CreateCompatibleDC(screen.get()));
    BitmapHandle bitmap(CreateCompatibleBitmap(screen.get(), width, height));
    const SelectedObject selected(memory.get(), bitmap.get());
    if (!selected ||
        !BitBlt(memory.get(), 0, 0, width, height, screen.get(), area.left, area.top, SRCCOPY)) {
        throw SystemException(L"Could not read the screen");
    }
    return bitmap;
}

void writePng(HBITMAP bitmap, const std::wstring& file) {
    static constexpr CLSID kPngEncoder = {
        0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
    startGdiPlus();
    Gdiplus::GpBitmap* made = nullptr;
    flat::GdipCreateBitmapFromHBITMAP(bitmap, nullptr, &made);
    const Image image(made);
    if (!image ||
        flat::GdipSaveImageToFile(made, file.c_str(), &kPngEncoder, nullptr) != Gdiplus::Ok) {
        throw SystemException(L"Could not write " + file);
    }
}

// Runs the message loop until everything has been painted.
void settle() {
    const ULONGLONG end = GetTickCount64() + kSettlingTime;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

// Takes the picture while the scene, which blocks, is open, and closes it then.
class SceneClerk : public MessageSink {
public:
    SceneClerk(HWND owner, const Scene& scene, std::wstring file)
        : owner_(owner), scene_(scene), file_(std::move(file)) {}

    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        if (&kind != &Timer::kTimerTick) {
            return false;
        }
        try {
            writePng(picture(GetLastActivePopup(owner_)).get(), file_);
        } catch (...) {
            failure_ = std::current_exception();
        }
        scene_.close();
        return true;
    }
    void rethrow() const {
        if (failure_) {
            std::rethrow_exception(failure_);
        }
    }

private:
    HWND owner_;
    const Scene& scene_;
    std::wstring file_;
    std::exception_ptr failure_;
};

void writeScene(GalleryWindow& gallery, const Scene& scene, const std::wstring& file) {
    const auto clerk = std::make_shared<SceneClerk>(nativeWindowOf(gallery.window()), scene, file);
    const auto timer = gallery.window().windowService()->createTimer(L"screenshot");
    timer->connect(clerk, false);
    timer->start(2 * kSettlingTime, false);
    scene.open();
    clerk->rethrow();
}

}  // namespace

int checkPages(GalleryWindow& gallery) {
    InputRouter& router = *gallery.window().inputRouter();
    std::vector<BYTE> before;
    for (const Page& page : pages()) {
        router.moveFocus(false);
        router.routeKey({kKeySpace, 0});
        settle();
        const BitmapHandle shown = picture(nativeWindowOf(gallery.window()));
        BITMAP form{};
        GetObjectW(shown.get(), sizeof(form), &form);
        std::vector<BYTE> bytes(static_cast<std::size_t>(form.bmWidthBytes * form.bmHeight));
        GetBitmapBits(shown.get(), static_cast<LONG>(bytes.size()), bytes.data());
        if (gallery.hasFailed() || gallery.page().name != page.name || bytes == before) {
            throw SystemException(std::wstring(L"Something is wrong with the page ") + page.name);
        }
        before = std::move(bytes);
    }
    return static_cast<int>(pages().size());
}

int writeScreenshots(GalleryWindow& gallery, const std::wstring& folder) {
    std::filesystem::create_directories(folder);
    int count = 0;
    const auto file = [&](const Language& language, const std::wstring& name) {
        ++count;
        return folder + L'\\' + language.name + L'-' + name + L".png";
    };
    for (const Language& language : languages()) {
        gallery.chooseLanguage(language);
        for (const Page& page : pages()) {
            gallery.showPage(page);
            settle();
            writePng(picture(nativeWindowOf(gallery.window())).get(), file(language, page.name));
            for (const Scene& scene : gallery.scenes()) {
                writeScene(gallery, scene, file(language, scene.name));
            }
        }
    }
    return count;
}

}  // namespace zustd::gallery
