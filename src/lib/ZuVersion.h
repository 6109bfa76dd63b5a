// The version of a program, with the notice that is shown beside it.
#pragma once

#include "ZuText.h"

namespace zustd {

// What kind of build a version belongs to; it shows in the displayed text.
enum class BuildKind { Release, Beta, Debug };

struct Version {
    // The framework's own build number, for programs that keep none.
    static constexpr long kDefaultBuild = 852;

    long major = 0;
    long minor = 0;
    long build = kDefaultBuild;
    BuildKind kind = BuildKind::Release;
    // One line without a line feed, the program's own.
    std::wstring notice{};

    // Major, minor and build number with dots between them.
    std::wstring toText() const { return formatWide(L"%ld.%ld.%ld", major, minor, build); }
    // The same with " BETA" or " DEBUG" behind it for such builds.
    std::wstring toDisplayText() const {
        constexpr const wchar_t* kMarks[] = {L"", L" BETA", L" DEBUG"};
        return toText() + kMarks[static_cast<int>(kind)];
    }
};

}  // namespace zustd
