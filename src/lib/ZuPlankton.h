// Tracing, failure reports and the catch ladder: what every other unit lives in.
//
// Tracing is off until a host installs a TraceSettings record; a call site
// then costs one pointer test and builds no argument (write it with ZU_TRACE).
// A failure is traced first and thrown second. What is thrown is one of a few
// plain kinds: a std::wstring (failed assertions and most framework failures),
// a wide C string (directory helpers), a system error code, SystemException,
// ComException or a standard exception. Operations that must not throw run
// their body under guarded(), the one place where these kinds are caught.
//
// A report names its source by unit (the path below the project without
// extension, for example src/lib/ZuXml) and line. Some lines are stable
// identifiers that log readers know; they are passed explicitly.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zustd {

// --- Tracing ---------------------------------------------------------------

// The record that switches tracing on. The host owns it and keeps it alive
// while any thread may trace.
struct TraceSettings {
    // kTraceToLog: time-stamped lines to logFilePath. Any other value: raw
    // lines to the debugger's output channel.
    std::uint32_t mode;
    // Zero-terminated path, or null for standard output.
    const wchar_t* logFilePath;
    // Lines of this level and above are written.
    std::int32_t threshold;
};

inline constexpr std::uint32_t kTraceToDebugger = 0;
inline constexpr std::uint32_t kTraceToLog = 1;

inline constexpr int kTraceLevelInfo = 10;
inline constexpr int kTraceLevelReport = 20;
inline constexpr int kTraceLevelMemory = 50;

// Null while tracing is off. Set it before other threads start.
inline constinit const TraceSettings* traceSettings = nullptr;

// Whether a line of this level would be written.
inline bool isTraced(int level) noexcept {
    return traceSettings != nullptr && level >= traceSettings->threshold;
}

namespace detail {
// Formats and writes "ZULOG: message\n"; a message longer than 2,027
// characters is cut. No heap allocation but the log file's stream.
void traceFormatted(const wchar_t* format, ...) noexcept;
}  // namespace detail

// What may stand behind a printf-style format: numbers and pointers to
// zero-terminated text. A std::wstring is passed as its c_str().
template <class T>
concept TraceArgument = std::is_scalar_v<T>;

// Writes one line when tracing is on and the level reaches the threshold.
// The format is a wide printf format (%ls for wide strings). Never throws, and
// keeps the last error and errno: whoever traces a failure may still ask for its
// reason.
template <TraceArgument... Args>
void trace(int level, const wchar_t* format, Args... args) noexcept {
    if (isTraced(level)) {
        detail::traceFormatted(format, args...);
    }
}

// The same at kTraceLevelInfo.
template <TraceArgument... Args>
void trace(const wchar_t* format, Args... args) noexcept {
    trace(kTraceLevelInfo, format, args...);
}

// Hands one finished line (ending in a line feed) to the sink that the
// settings choose; both trace forms end here. A log takes the first 2,048
// characters of a longer one. Log files are UTF-8 and are
// opened anew for each line in shared append mode, so that they can be read,
// rotated or deleted at any time. Needs settings; never throws.
void writeTraceLine(const wchar_t* line) noexcept;

// trace() whose arguments are not even evaluated while tracing is off.
#define ZU_TRACE(...)                                                                              \
    do {                                                                                           \
        if (::zustd::traceSettings != nullptr) {                                                   \
            ::zustd::trace(__VA_ARGS__);                                                           \
        }                                                                                          \
    } while (false)

// --- Failure reports ---------------------------------------------------------

// Wide message carried by the framework's own exception class.
class SystemException {
public:
    explicit SystemException(std::wstring message) : message_(std::move(message)) {}
    SystemException(const SystemException&) = default;
    SystemException& operator=(const SystemException&) = default;
    virtual ~SystemException() = default;

    const std::wstring& message() const noexcept { return message_; }

private:
    std::wstring message_;
};

// A failed COM call: the HRESULT and what the system says about it.
class ComException {
public:
    ComException(std::int32_t result, std::wstring message)
        : result_(result), message_(std::move(message)) {}

    std::int32_t result() const noexcept { return result_; }
    const std::wstring& message() const noexcept { return message_; }

private:
    std::int32_t result_;
    std::wstring message_;
};

// Where a report comes from.
struct SourcePlace {
    const wchar_t* unit;
    int line;
};

namespace detail {

// A source file's unit name, computed while compiling: the path without its
// extension, and "exe_zuplutil" for all sources of the utility.
template <std::size_t N>
struct UnitName {
    wchar_t text[N]{};

    // Not explicit about N at the call: UnitName{L"src/lib/ZuXml.cpp"}.
    constexpr explicit UnitName(const wchar_t (&file)[N]) {
        constexpr std::wstring_view utility = L"exe_zuplutil";
        const std::wstring_view path = file;
        std::wstring_view unit = path.substr(0, path.rfind(L'.'));
        if (path.find(utility) != std::wstring_view::npos) {
            unit = utility;
        }
        unit.copy(text, unit.size());
    }
};

// One copy of a name in the program, also from inline functions of a header.
template <UnitName Unit>
inline constexpr const wchar_t* kUnitText = Unit.text;

// A text that is known while compiling.
template <std::size_t N>
struct FixedText {
    char text[N];

    constexpr explicit FixedText(const char (&characters)[N]) { std::copy_n(characters, N, text); }
    constexpr std::string_view view() const { return {text, N - 1}; }
};

// The class of a member function and the name, from the signature that the compiler spells
// out, such as "virtual bool zustd::Font::scale(int) const"; with a sibling, the name of that.
template <FixedText Signature, FixedText Sibling>
constexpr auto operationText() {
    constexpr std::string_view kCalled = Signature.view().substr(0, Signature.view().find('('));
    constexpr std::size_t kName = kCalled.rfind(':') + 1;
    constexpr std::size_t kClass = kCalled.find_last_of(" :", kName - 3) + 1;
    constexpr std::string_view kLast =
        Sibling.view().empty() ? kCalled.substr(kName) : Sibling.view();
    std::array<wchar_t, kName - kClass + kLast.size() + 1> text{};
    std::ranges::copy(kLast, std::copy_n(&kCalled[kClass], kName - kClass, text.data()));
    return text;
}

template <FixedText Signature, FixedText Sibling>
inline constexpr auto kOperationText = operationText<Signature, Sibling>();

// Traces the two lines of a failed assertion and throws the expression text.
[[noreturn]] void failAssertion(const wchar_t* expression, SourcePlace place);

// Traces "throwing: '…'" for a failure that is about to be thrown.
void traceThrow(const wchar_t* text, SourcePlace place) noexcept;

}  // namespace detail

// The unit that this source belongs to, as a wide string with static lifetime.
#define ZU_UNIT (::zustd::detail::kUnitText<::zustd::detail::UnitName{L"" __FILE__}>)

// The member function around this place as Class::function, for guarded(); not inside of a lambda.
#define ZU_OPERATION ZU_SIBLING()

// Another member function of the class around this place, in the same way.
#define ZU_SIBLING(function)                                                                       \
    (::zustd::detail::kOperationText<::zustd::detail::FixedText{__PRETTY_FUNCTION__},              \
                                     ::zustd::detail::FixedText{#function}>                        \
         .data())

// This place in the source.
#define ZU_HERE (::zustd::SourcePlace{ZU_UNIT, __LINE__})

// The place known to log readers by this number, whatever the real line.
#define ZU_LINE(line) (::zustd::SourcePlace{ZU_UNIT, (line)})

// Precondition on a pointer or member: reports and throws the expression text
// as a std::wstring when the expression is false. Active in every build.
#define ZU_ASSERT(expression) ZU_ASSERT_AS(expression, L"" #expression, ZU_HERE)

// The same under a stable text and place.
#define ZU_ASSERT_AS(expression, text, place)                                                      \
    do {                                                                                           \
        if (!(expression)) {                                                                       \
            ::zustd::detail::failAssertion(text, place);                                           \
        }                                                                                          \
    } while (false)

// Traces the throw report, then throws the text as a std::wstring.
[[noreturn]] void throwText(const wchar_t* text, SourcePlace place);

// Traces the throw report, then throws a SystemException with the text.
[[noreturn]] void throwSystemException(const wchar_t* text, SourcePlace place);

// The same unless done, which is what the system answered: a handle or whether it did it.
// Returns it.
template <class T>
T requireSystem(T done, const wchar_t* text, SourcePlace place) {
    if (!done) {
        throwSystemException(text, place);
    }
    return done;
}

// What the system answers to a call, which is thrown with its text when it is refused.
#define ZU_SYSTEM(...)                                                                             \
    (::zustd::requireSystem(__VA_ARGS__, L"The system refuses " #__VA_ARGS__, ZU_HERE))

// Traces the throw report with this text, then throws the failure: for all
// other kinds. Nothing in the framework is thrown but by these operations.
template <class Failure>
[[noreturn]] void throwTraced(const wchar_t* text, SourcePlace place, Failure failure) {
    detail::traceThrow(text, place);
    throw failure;  // NOLINT(misc-throw-by-value-catch-by-reference): a C string is a kind, too
}

// Traces the throw report, then throws std::invalid_argument with the text in
// the active code page.
[[noreturn]] void throwInvalidArgument(const std::wstring& text, SourcePlace place);

// --- Critical errors -----------------------------------------------------------

// Codes of the process-wide critical error, in a row from 0. Any other number may be stored.
enum CriticalError : std::uint32_t {
    kCriticalErrorNone,
    kCriticalErrorUnknown,
    kCriticalErrorOutOfMemory,
    kCriticalErrorPureVirtualCall,
    kCriticalErrorUnhandledException,
    kCriticalErrorAbort,
    kCriticalErrorSystemException,
};

// The code recorded last; kCriticalErrorNone at start. Any thread.
std::uint32_t criticalError() noexcept;
void setCriticalError(std::uint32_t code) noexcept;

// --- The catch ladder -----------------------------------------------------------

namespace detail {
// Call inside a catch block: traces one line that names the operation and what
// was caught. Running out of memory also records the critical error.
void reportCaughtException(const wchar_t* operation) noexcept;
}  // namespace detail

// Runs body under the catch ladder: whatever it throws is traced under the
// operation's name and neutral is returned instead.
template <class Result, class Body>
Result guarded(const wchar_t* operation, Result neutral, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        detail::reportCaughtException(operation);
    }
    return neutral;
}

// The same for a body without a result; returns whether it ran to its end.
template <class Body>
bool guarded(const wchar_t* operation, Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (...) {
        detail::reportCaughtException(operation);
    }
    return false;
}

// --- Memory report ----------------------------------------------------------------

// The machine's memory status and the heap line below, as one text of several
// lines without a final line feed.
std::wstring getMemoryInfo();

// Entry count and sizes of the C runtime's heap in one line; empty when the
// heap cannot be walked. Never throws.
std::wstring GetCrtHeapInfo() noexcept;

}  // namespace zustd
