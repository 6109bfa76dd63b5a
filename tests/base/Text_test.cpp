#include "ZuText.h"

#include <gtest/gtest.h>

#include "ZuWindows.h"

namespace zustd {
namespace {

TEST(TextFormat, formats_resultOfAnyLength_areWhole) {
    for (const std::size_t length : {0U, 1U, 126U, 127U, 128U, 129U, 5000U}) {
        const std::wstring text(length, L'\u0416');
        EXPECT_EQ(formatWide(L"<%ls>", text.c_str()), L"<" + text + L">") << length;
        const std::string narrowText(length, 'x');
        EXPECT_EQ(formatNarrow("<%s>", narrowText.c_str()), "<" + narrowText + ">") << length;
    }
    EXPECT_EQ(formatWide(L"%ls|%hs|%04d|%ld|%llu|%I64d|%X|%0.2lf", L"wide", "narrow", 7, -5L,
                         18446744073709551615ULL, -9LL, 255, 0.125),
              L"wide|narrow|0007|-5|18446744073709551615|-9|FF|0.12");
}

TEST(TextConversion, narrow_plainTextComesBack_anyOtherIsLossyAndNoWildcard) {
    bool lossy = true;
    EXPECT_EQ(narrow(L"C:\\a b.txt", &lossy), "C:\\a b.txt");
    EXPECT_FALSE(lossy);
    EXPECT_EQ(widen(narrow(L"")), L"");
    EXPECT_EQ(widen(narrow(std::wstring(L"a\0b", 3))), std::wstring(L"a\0b", 3));
    // A lone surrogate is in no code page at all.
    EXPECT_EQ(narrow(L"a\xD800z", &lossy), GetACP() == CP_UTF8 ? "a\xEF\xBF\xBDz" : "a_z");
    EXPECT_TRUE(lossy);
}

TEST(TextEquality, equalsIgnoringAsciiCase_letters_foldTheTwentySixOnly) {
    EXPECT_TRUE(equalsIgnoringAsciiCase(L"OUTLOOK.exe", L"outlook.EXE"));
    for (const auto& [left, right] : {std::pair{L"a", L"ab"},
                                      {L"[", L"{"},
                                      {L"@", L"`"},
                                      {L"K", L"\u212A"},
                                      {L"\u00C4", L"\u00E4"}}) {
        EXPECT_FALSE(equalsIgnoringAsciiCase(left, right)) << left;
    }
}

}  // namespace
}  // namespace zustd
