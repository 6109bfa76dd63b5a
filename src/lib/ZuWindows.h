// The one door to the Windows headers.
//
// Only sources and the backend units' headers include it: a portable header
// must compile without Windows. The target's definitions (UNICODE, NOMINMAX,
// STRICT, the version macros) come from the build, so that every source sees
// the same ones.
#pragma once

#if !defined(UNICODE) || !defined(NOMINMAX) || !defined(STRICT)
#error "build this source with the project's common definitions"
#endif

#include <windows.h>

#include <type_traits>

namespace zustd {

// Whether a word of the system's has a flag, or any of several.
template <class Word>
constexpr bool hasFlag(Word word, std::type_identity_t<Word> flags) noexcept {
    return (word & flags) != 0;
}

}  // namespace zustd
