#include "ZuPlankton.h"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <cwchar>
#include <new>
#include <stdexcept>

#include "ZuHandleWin32Gdi.h"
#include "ZuText.h"

namespace zustd {

namespace {

constexpr std::size_t kMessageLength = 2027;
// With what stands around the message.
constexpr std::size_t kLineLength = 2048;
constexpr std::size_t kStampLength = 128;

constinit std::atomic<std::uint32_t> criticalErrorCode{kCriticalErrorNone};

// A stamp and a line as UTF-8, in a buffer that fits the longest of both.
class Utf8Line {
public:
    Utf8Line(const wchar_t* stamp, const wchar_t* line) noexcept {
        append(stamp);
        append(line);
    }

    void writeTo(std::FILE* stream) const noexcept {
        std::fwrite(bytes_.data(), 1, size_, stream);
        std::fflush(stream);
    }
    // With a carriage return before each line feed. One call: what threads write
    // at a time stands behind each other in the file.
    void appendTo(HANDLE file) noexcept {
        const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(size_);
        auto to = end + std::count(bytes_.begin(), end, '\n');
        const auto size = static_cast<DWORD>(to - bytes_.begin());
        for (auto from = end; from != to;) {
            *--to = *--from;
            if (*from == '\n') {
                *--to = '\r';
            }
        }
        DWORD written = 0;
        WriteFile(file, bytes_.data(), size, &written, nullptr);
    }

private:
    void append(const wchar_t* text) noexcept {
        const int length = static_cast<int>(std::min(std::wcslen(text), kLineLength));
        const int room = static_cast<int>(bytes_.size() - size_);
        size_ += static_cast<std::size_t>(WideCharToMultiByte(
            CP_UTF8, 0, text, length, bytes_.data() + size_, room, nullptr, nullptr));
    }

    // Three bytes for each UTF-16 code unit is the most that UTF-8 needs.
    std::array<char, 3 * (kLineLength + kStampLength)> bytes_;
    std::size_t size_ = 0;
};

// The date and the time of day come from two clocks; a line written at
// midnight may carry the date of the one and the time of the other.
void formatStamp(wchar_t (&stamp)[kStampLength]) noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm calendar{};
    if (localtime_s(&calendar, &now) != 0) {
        calendar = {};
        calendar.tm_mday = 1;
    }
    SYSTEMTIME time;
    GetLocalTime(&time);
    std::swprintf(stamp, kStampLength, L"%04ld-%02ld-%02ld %02ld:%02ld:%02ld:%03ld [%ld] ",
                  calendar.tm_year + 1900L, calendar.tm_mon + 1L,
                  static_cast<long>(calendar.tm_mday), static_cast<long>(time.wHour),
                  static_cast<long>(time.wMinute), static_cast<long>(time.wSecond),
                  static_cast<long>(time.wMilliseconds), static_cast<long>(GetCurrentThreadId()));
}

void writeToLogFile(const wchar_t* path, Utf8Line& line) noexcept {
    const FileHandle file(CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        OutputDebugStringW(L"ZUPRETRACE: cannot open log file\n");
        OutputDebugStringW(path);
        OutputDebugStringW(L"\n");
        return;
    }
    line.appendTo(file.get());
}

// Backend units leave out the quotes around a failed expression; log readers
// tell the two kinds apart by them.
const wchar_t* assertionFormat(std::wstring_view unit) noexcept {
    return unit.ends_with(L"Win32Gdi") ? L"asserted: %ls, in %ls, line %d"
                                       : L"asserted: '%ls', in %ls, line %d";
}

// what() is in the active code page; the conversion must not allocate, since
// the exception at hand may be std::bad_alloc.
void traceCaughtWhat(const wchar_t* format, const wchar_t* operation, const char* what) noexcept {
    if (!isTraced(kTraceLevelReport)) {
        return;
    }
    // What is too long is cut, with zeros behind it.
    wchar_t wide[kLineLength]{};
    MultiByteToWideChar(CP_ACP, 0, what, -1, wide, static_cast<int>(kMessageLength));
    trace(kTraceLevelReport, format, operation, wide);
}

struct HeapTotals {
    struct Part {
        unsigned long long data = 0;
        unsigned long long overhead = 0;
    };
    unsigned long long entries = 0;
    Part allocated;
    Part free;
};

// No allocation between lock and unlock: it would wait for itself or change
// the heap under the walk.
HeapTotals walkHeap(HANDLE heap) noexcept {
    HeapTotals totals;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        ++totals.entries;
        const bool isAllocated = (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        HeapTotals::Part& part = isAllocated ? totals.allocated : totals.free;
        part.data += entry.cbData;
        part.overhead += entry.cbOverhead;
    }
    HeapUnlock(heap);
    return totals;
}

double megabytes(unsigned long long bytes) noexcept {
    return static_cast<double>(bytes) * (1.0 / 1048576.0);
}

}  // namespace

namespace detail {

void traceFormatted(const wchar_t* format, ...) noexcept {
    const LastErrorKeeper keeper;
    constexpr std::wstring_view prefix = L"ZULOG: ";
    wchar_t line[kLineLength];
    wchar_t* const message = line + prefix.copy(line, prefix.size());
    std::va_list arguments;
    va_start(arguments, format);
    // Cuts and terminates.
    std::vswprintf(message, kMessageLength + 1, format, arguments);
    va_end(arguments);
    std::wcscpy(message + std::wcslen(message), L"\n");
    writeTraceLine(line);
}

void failAssertion(const wchar_t* expression, SourcePlace place) {
    trace(kTraceLevelReport, assertionFormat(place.unit), expression, place.unit, place.line);
    throwText(expression, place);
}

void traceThrow(const wchar_t* text, SourcePlace place) noexcept {
    trace(kTraceLevelReport, L"throwing: '%ls', in %ls, line %d", text, place.unit, place.line);
}

void reportCaughtException(const wchar_t* operation) noexcept {
    const LastErrorKeeper keeper;
    try {
        throw;
    } catch (const std::string& text) {
        traceCaughtWhat(L"%ls: catched assertion exception: %ls", operation, text.c_str());
    } catch (const std::wstring& text) {
        trace(kTraceLevelReport, L"%ls: catched assertion exception: %ls", operation, text.c_str());
    } catch (const std::bad_alloc& failure) {
        setCriticalError(kCriticalErrorOutOfMemory);
        traceCaughtWhat(L"%ls: catched std::bad_alloc: %ls", operation, failure.what());
    } catch (const ComException& failure) {
        trace(kTraceLevelReport, L"%ls: catched COM exception: HRESULT=%x: %ls", operation,
              static_cast<unsigned>(failure.result()), failure.message().c_str());
    } catch (const SystemException& failure) {
        trace(kTraceLevelReport, L"%ls: catched system exception: %ls", operation,
              failure.message().c_str());
    } catch (const std::exception& failure) {
        traceCaughtWhat(L"%ls: catched std::exception: %ls", operation, failure.what());
    } catch (...) {
        trace(kTraceLevelReport, L"%ls: catched unknown exception", operation);
    }
}

}  // namespace detail

void writeTraceLine(const wchar_t* line) noexcept {
    const LastErrorKeeper keeper;
    const TraceSettings* settings = traceSettings;
    if (settings == nullptr) {
        return;
    }
    if (settings->mode != kTraceToLog) {
        OutputDebugStringW(line);
        return;
    }
    wchar_t stamp[kStampLength];
    formatStamp(stamp);
    Utf8Line utf8(stamp, line);
    if (settings->logFilePath == nullptr) {
        utf8.writeTo(stdout);
    } else {
        writeToLogFile(settings->logFilePath, utf8);
    }
}

void throwText(const wchar_t* text, SourcePlace place) {
    detail::traceThrow(text, place);
    throw std::wstring(text);
}

void throwSystemException(const wchar_t* text, SourcePlace place) {
    detail::traceThrow(text, place);
    throw SystemException(text);
}

void throwInvalidArgument(const std::wstring& text, SourcePlace place) {
    detail::traceThrow(text.c_str(), place);
    throw std::invalid_argument(narrow(text));
}

std::uint32_t criticalError() noexcept { return criticalErrorCode.load(std::memory_order_relaxed); }

void setCriticalError(std::uint32_t code) noexcept {
    criticalErrorCode.store(code, std::memory_order_relaxed);
}

std::wstring getMemoryInfo() {
    constexpr int width = 5;
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    GlobalMemoryStatusEx(&status);
    const struct {
        const wchar_t* format;
        DWORDLONG total;
        DWORDLONG free;
    } lines[] = {{L"\nphysical memory: %*I64dMb / %*I64dMb total/free", status.ullTotalPhys,
                  status.ullAvailPhys},
                 {L"\npaging file:     %*I64dMb / %*I64dMb total/free", status.ullTotalPageFile,
                  status.ullAvailPageFile},
                 {L"\nvirtual memory:  %*I64dMb / %*I64dMb total/free", status.ullTotalVirtual,
                  status.ullAvailVirtual}};
    std::wstring report =
        formatWide(L"memory used:   %*ld%%", width, static_cast<long>(status.dwMemoryLoad));
    for (const auto& [format, total, free] : lines) {
        report += formatWide(format, width, total >> 20, width, free >> 20);
    }
    return report + L"\n" + GetCrtHeapInfo();
}

std::wstring GetCrtHeapInfo() noexcept {
    return guarded(L"GetCrtHeapInfo", std::wstring(), [] {
        const auto crt_heap = reinterpret_cast<HANDLE>(_get_heap_handle());
        ZU_ASSERT(crt_heap);
        const auto [entries, allocated, free] = walkHeap(crt_heap);
        const unsigned long long size =
            allocated.data + free.data + allocated.overhead + free.overhead;
        return formatWide(
            L"heap size: entries=%llu, size=%0.2lfMb, allocData=%0.2lfMb, freeData=%0.2lfMb, "
            L"allocOverh=%0.2lfMb, freeOverh=%0.2lfMb",
            entries, megabytes(size), megabytes(allocated.data), megabytes(free.data),
            megabytes(allocated.overhead), megabytes(free.overhead));
    });
}

}  // namespace zustd
