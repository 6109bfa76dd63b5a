#include "support/DrawingTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace zustd::test {

Canvas::Canvas(Size size) : size_(size) {
    PatBlt(context(), 0, 0, size.width, size.height, WHITENESS);
}

std::uint32_t Canvas::pixel(std::int32_t x, std::int32_t y) const {
    GdiFlush();
    return area().contains({x, y})
               ? bitmap_.pixels[static_cast<std::size_t>(y * size_.width + x)] & 0xFFFFFF
               : kWhite;
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
    return std::equal(bitmap_.pixels.begin(), bitmap_.pixels.end(), other.bitmap_.pixels.begin(),
                      other.bitmap_.pixels.end(),
                      [](auto a, auto b) { return ((a ^ b) & 0xFFFFFF) == 0; });
}

// From the table that all processes share, where GetGuiResources does not work.
int drawingObjectCount() {
    constexpr std::size_t kTableOffset = sizeof(void*) == 8 ? 0xF8 : 0x94;
    constexpr std::size_t kTypeOffset = 14;
    using Entry = std::array<BYTE, 24>;
    GdiFlush();
    const auto processBlock = reinterpret_cast<const char* (*)()>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetCurrentPeb")));
    const auto* table = *reinterpret_cast<const Entry* const*>(processBlock() + kTableOffset);
    const auto count =
        std::count_if(table, table + 0x10000, [](const Entry& e) { return e[kTypeOffset] != 0; });
    EXPECT_GT(count, 0) << "nothing is counted";
    return static_cast<int>(count);
}

void runMessages(std::uint32_t milliseconds, const std::function<bool()>& done) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (ULONGLONG now = 0; !done() && now < end;) {
        MSG message;
        while (!done() && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
        now = GetTickCount64();
        if (!done() && now < end) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now),
                                      QS_ALLINPUT);
        }
    }
}

}  // namespace zustd::test
