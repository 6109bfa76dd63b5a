#include "ZuText.h"

#include <gtest/gtest.h>

#include "ZuWindows.h"

namespace zustd {
namespace {

TEST(TextFormat, formatWide_resultOfAnyLength_isWhole) {
    for (const std::size_t length : {0U, 1U, 126U, 127U, 128U, 129U, 5000U}) {
        const std::wstring text(length, L'\u0416');
        EXPECT_EQ(formatWide(L"<%ls>", text.c_str()), L"<" + text + L">") << length;
        const std::string narrowText(length, 'x');
        EXPECT_EQ(formatNarrow("<%s>", narrowText.c_str()), "<" + narrowText + ">") << length;
    }
}

TEST(TextFormat, formatWide_argumentsOfEveryKind_areWritten) {
    EXPECT_EQ(formatWide(L"%ls|%hs|%04d|%ld|%llu|%I64d|%X|%0.2lf", L"wide", "narrow", 7, -5L,
                         18446744073709551615ULL, -9LL, 255, 0.125),
              L"wide|narrow|0007|-5|18446744073709551615|-9|FF|0.12");
}

TEST(TextConversion, narrow_plainText_comesBack) {
    bool lossy = true;
    EXPECT_EQ(narrow(L"C:\\a b.txt", &lossy), "C:\\a b.txt");
    EXPECT_FALSE(lossy);
    EXPECT_EQ(widen("C:\\a b.txt"), L"C:\\a b.txt");
    EXPECT_EQ(widen(narrow(L"")), L"");
    EXPECT_EQ(widen(narrow(std::wstring(L"a\0b", 3))), std::wstring(L"a\0b", 3));
}

TEST(TextConversion, narrow_characterOutsideTheCodePage_isLossyAndNoWildcard) {
    // A lone surrogate is in no code page at all.
    bool lossy = false;
    const std::string text = narrow(L"a\xD800z", &lossy);
    EXPECT_TRUE(lossy);
    EXPECT_EQ(text, GetACP() == CP_UTF8 ? "a\xEF\xBF\xBDz" : "a_z");
    EXPECT_EQ(text.find_first_of("?*"), std::string::npos);
}

TEST(TextEquality, equalsIgnoringAsciiCase_letters_foldTheTwentySixOnly) {
    EXPECT_TRUE(equalsIgnoringAsciiCase(L"OUTLOOK.exe", L"outlook.EXE"));
    EXPECT_TRUE(equalsIgnoringAsciiCase(L"", L""));
    EXPECT_FALSE(equalsIgnoringAsciiCase(L"a", L"ab"));
    EXPECT_FALSE(equalsIgnoringAsciiCase(L"[", L"{"));
    EXPECT_FALSE(equalsIgnoringAsciiCase(L"@", L"`"));
    EXPECT_FALSE(equalsIgnoringAsciiCase(L"K", L"\u212A"));
    EXPECT_FALSE(equalsIgnoringAsciiCase(L"\u00C4", L"\u00E4"));
}

}  // namespace
}  // namespace zustd
