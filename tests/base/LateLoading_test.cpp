#include "ZuLateLoading.h"

#include <gtest/gtest.h>

#include <span>

#include "ZuScope.h"
#include "ZuText.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// One of the generated entries, where it can be written to.
LateFunction& writableEntry() {
    for (const LateFunction& entry : std::span(zustdLateFunctions, zustdLateFunctionCount)) {
        if (entry.name == std::string("CommDlgExtendedError")) {
            auto& found = const_cast<LateFunction&>(entry);
            DWORD before = 0;
            VirtualProtect(&found, sizeof(found), PAGE_READWRITE, &before);
            return found;
        }
    }
    throw std::logic_error("the program is linked without the entry");
}

TEST(LateLoading, firstCall_passesItsArgumentsOrThrowsTraced) {
    LateFunction& entry = writableEntry();
    void* const first = *entry.slot;
    const ScopeExit restore([&, before = entry] {
        entry = before;
        *entry.slot = first;
    });
    const std::string refusals[][3] = {
        {"pellory-none.dll", "pow", "Could not load pellory-none.dll (system error 126)"},
        {"msvcrt.dll", "noSuchName", "Could not find noSuchName in msvcrt.dll (system error 127)"}};
    for (const auto& [library, name, message] : refusals) {
        entry = {entry.slot, library.c_str(), name.c_str()};
        const std::function<void()> calls[] = {
            [&] { reinterpret_cast<DWORD(WINAPI*)()>(*entry.slot)(); },
            [&] { requireLibraries({"other.dll", library.c_str()}); }};
        for (const auto& call : calls) {
            const TraceCapture trace;
            EXPECT_THROW(call(), SystemException);
            ASSERT_EQ(trace.messages().size(), 1U);
            EXPECT_TRUE(trace.messages()[0].starts_with("throwing: '" + message + "', in "));
        }
    }
    entry = {entry.slot, "msvcrt.dll", "pow"};
    requireLibraries({"other.dll"});
    EXPECT_EQ(*entry.slot, first);
    using Power = double(__cdecl*)(double, double);
    SetLastError(ERROR_ARENA_TRASHED);
    EXPECT_EQ(reinterpret_cast<Power>(first)(3, 5), 243);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ARENA_TRASHED});
    EXPECT_NE(*entry.slot, first);
    EXPECT_EQ(reinterpret_cast<Power>(*entry.slot)(2, 10), 1024);
}

}  // namespace
}  // namespace zustd
