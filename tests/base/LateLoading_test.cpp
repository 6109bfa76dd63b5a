#include "ZuLateLoading.h"

#include <gtest/gtest.h>

#include <span>

#include "ZuText.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// One of the generated entries, which leads to another function as long as this
// object lives.
class RedirectedEntry : NotCopied {
public:
    RedirectedEntry(const char* library, const char* name) : entry_(find()), before_(entry_) {
        first_ = *entry_.slot;
        entry_.library = library;
        entry_.name = name;
    }
    ~RedirectedEntry() {
        *before_.slot = first_;
        entry_ = before_;
    }
    void* slot() const { return *entry_.slot; }

private:
    static LateFunction& find() {
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

    LateFunction& entry_;
    LateFunction before_;
    void* first_;
};

TEST(LateLoading, firstCall_passesItsArgumentsAndKeepsTheLastError) {
    const RedirectedEntry entry("msvcrt.dll", "pow");
    using Power = double(__cdecl*)(double, double);
    void* const first = entry.slot();
    SetLastError(ERROR_ARENA_TRASHED);
    EXPECT_EQ(reinterpret_cast<Power>(first)(3, 5), 243);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ARENA_TRASHED});
    EXPECT_NE(entry.slot(), first);
    EXPECT_EQ(reinterpret_cast<Power>(entry.slot())(2, 10), 1024);
}

TEST(LateLoading, missingLibraryOrFunction_isTracedAndThrownThroughTheCall) {
    const struct {
        const char* library;
        const char* name;
        std::string message;
    } cases[] = {
        {"pellory-none.dll", "pow", "Could not load pellory-none.dll (system error 126)"},
        {"msvcrt.dll", "noSuchName", "Could not find noSuchName in msvcrt.dll (system error 127)"}};
    for (const auto& given : cases) {
        const RedirectedEntry entry(given.library, given.name);
        const std::function<void()> calls[] = {
            [&] { reinterpret_cast<DWORD(WINAPI*)()>(entry.slot())(); },
            [&] { requireLibraries({given.library}); }};
        for (const auto& call : calls) {
            const TraceCapture trace;
            try {
                call();
                ADD_FAILURE() << given.message;
            } catch (const SystemException& failure) {
                EXPECT_EQ(narrow(failure.message()), given.message);
            }
            ASSERT_EQ(trace.messages().size(), 1U);
            EXPECT_TRUE(trace.messages()[0].starts_with("throwing: '" + given.message));
        }
    }
}

}  // namespace
}  // namespace zustd
