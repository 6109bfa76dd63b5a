#include "support/DrawingTest.h"

#include <gtest/gtest.h>

#include <winternl.h>

#include <algorithm>

#include "ZuBitmapWin32Gdi.h"

namespace zustd::test {

namespace {

// An entry of the table that all processes share; GetGuiResources counts these
// where it works.
struct ObjectEntry {
    void* object;
    WORD process;
    WORD count;
    WORD unique;
    BYTE type;
    BYTE flags;
    void* user;
};
static_assert(sizeof(ObjectEntry) == 24);

int countTable() {
    constexpr std::size_t kTableOffset = 0xF8;
    constexpr int kTableSize = 0x10000;
    PROCESS_BASIC_INFORMATION process{};
    const auto query =
        reinterpret_cast<decltype(&NtQueryInformationProcess)>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
    if (query(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process), nullptr) !=
        0) {
        return 0;
    }
    const auto* table = *reinterpret_cast<const ObjectEntry* const*>(
        reinterpret_cast<const char*>(process.PebBaseAddress) + kTableOffset);
    return table == nullptr
               ? 0
               : static_cast<int>(std::count_if(table, table + kTableSize,
                                                [](const ObjectEntry& e) { return e.type != 0; }));
}

}  // namespace

Canvas::Canvas(Size size) : context_(CreateCompatibleDC(nullptr)), size_(size) {
    PixelBitmap bitmap(size);
    pixels_ = bitmap.pixels.data();
    bitmap_ = std::move(bitmap.handle);
    selected_ = SelectedObject(context_.get(), bitmap_.get());
    PatBlt(context_.get(), 0, 0, size.width, size.height, WHITENESS);
}

std::uint32_t Canvas::pixel(std::int32_t x, std::int32_t y) const {
    GdiFlush();
    return area().contains({x, y}) ? pixels_[y * size_.width + x] & 0xFFFFFF : kWhite;
}

Rect Canvas::ink() const {
    Rect ink;
    for (std::int32_t y = 0; y < size_.height; ++y) {
        for (std::int32_t x = 0; x < size_.width; ++x) {
            if (pixel(x, y) != kWhite) {
                ink = ink.unionWith({x, y, x, y});
            }
        }
    }
    return ink;
}

int Canvas::inkCount(const Rect& area) const {
    int count = 0;
    for (std::int32_t y = area.top; y <= area.bottom; ++y) {
        for (std::int32_t x = area.left; x <= area.right; ++x) {
            count += pixel(x, y) != kWhite ? 1 : 0;
        }
    }
    return count;
}

bool Canvas::isLike(const Canvas& other) const {
    GdiFlush();
    const auto count = static_cast<std::size_t>(size_.width * size_.height);
    return size_ == other.size_ &&
           std::equal(pixels_, pixels_ + count, other.pixels_,
                      [](std::uint32_t a, std::uint32_t b) { return ((a ^ b) & 0xFFFFFF) == 0; });
}

int drawingObjectCount() {
    GdiFlush();
    const auto counted = static_cast<int>(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS));
    const int count = counted != 0 ? counted : countTable();
    EXPECT_GT(count, 0) << "nothing is counted";
    return count;
}

void runMessages(std::uint32_t milliseconds, const std::function<bool()>& done) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (;;) {
        MSG message;
        while (!done() && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        const ULONGLONG now = GetTickCount64();
        if (done() || now >= end) {
            return;
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
    }
}

}  // namespace zustd::test
