// What the framework's tests share: a folder, the trace as lines, obstacles, and random values.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <stdexcept>

#include "ZuMessaging.h"
#include "ZuPlankton.h"
#include "ZuPropertyBag.h"
#include "ZuText.h"

namespace zustd::test {

using Lines = std::vector<std::string>;
using Texts = std::vector<std::wstring>;

// Fails the test when anybody has a file in it open at its end.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    std::wstring file(const std::wstring& name) const { return path_ + L"\\" + name; }

private:
    std::wstring path_;
};

std::string readBytes(const std::wstring& file);
void writeBytes(const std::wstring& file, const std::string& bytes);

struct Tracing {
    Tracing(std::uint32_t mode, const wchar_t* path, std::int32_t threshold = 0)
        : settings{mode, path, threshold} {
        traceSettings = &settings;
    }
    ~Tracing() { traceSettings = nullptr; }
    const TraceSettings settings;
};

class TraceCapture {
public:
    explicit TraceCapture(std::int32_t threshold = kTraceLevelReport)
        : path_(folder_.file(L"trace.log")), tracing_(kTraceToLog, path_.c_str(), threshold) {}
    // The messages so far as UTF-8, without time stamp and "ZULOG: ".
    Lines messages() const;
    std::string bytes() const { return readBytes(path_); }
    const std::wstring& path() const { return path_; }

private:
    TempFolder folder_;
    std::wstring path_;
    Tracing tracing_;
};

// An imported function's slot; the 32-bit compiler's name has the arguments' size behind it.
#ifdef __x86_64__
#define IMPORT_SLOT(name, size) __asm__("__imp_" name)
#else
#define IMPORT_SLOT(name, size) __asm__("__imp__" name size)
#endif

// Puts a function in the place of one that the executable imports.
class ReplacedImport {
public:
    ReplacedImport(void*& slot, void* replacement);
    ~ReplacedImport() { slot_ = original_; }

private:
    void*& slot_;
    void* original_;
};

// Lets so many allocations succeed and fails every later one, or only the next.
class AllocationLimit {
public:
    explicit AllocationLimit(long allowed, bool once = false) {
        isOnce_ = once;
        failed_ = false;
        allowed_ = allowed;
    }
    ~AllocationLimit() { allowed_ = -1; }
    static bool wasReached() { return failed_; }
    // Counts an allocation that does not come by operator new: may it succeed?
    static bool take() {
        const bool fails = allowed_ >= 0 && allowed_-- == 0;
        if (fails) {
            allowed_ = isOnce_ ? -1 : 0;
            failed_ = true;
        }
        return !fails;
    }

private:
    static inline std::atomic<long> allowed_{-1};
    static inline std::atomic<bool> isOnce_{false};
    static inline std::atomic<bool> failed_{false};
};

// Runs an operation with none, one, ... of its allocations allowed, which must be done with all of
// them only, and check after each run; gives their number.
long failEachAllocation(const std::function<bool()>& operation,
                        const std::function<void(bool done)>& check);

// The bytes allocated now and at the most, beyond those at the start, and whether
// a block that was given back since held what is searched for.
class MemoryWatch {
public:
    explicit MemoryWatch(std::string_view searched = {}) : start_(live) {
        most = live.load();
        sought = searched;
        foundInFreed = false;
    }
    ~MemoryWatch() { sought = {}; }
    std::size_t peak() const { return static_cast<std::size_t>(most - start_); }
    std::int64_t held() const { return live - start_; }

    // Kept by operator new and delete.
    static inline std::atomic<std::int64_t> live{0};
    static inline std::atomic<std::int64_t> most{0};
    static inline std::string_view sought;
    static inline std::atomic<bool> foundInFreed{false};

private:
    std::int64_t start_;
};

// What body throws: the text, "invalid: ..." for std::invalid_argument, or "nothing".
std::wstring thrownText(auto&& body) {
    try {
        body();
    } catch (const std::wstring& text) {
        return text;
    } catch (const SystemException& failure) {
        return failure.message();
    } catch (const std::invalid_argument& failure) {
        return L"invalid: " + widen(failure.what());
    }
    return L"nothing";
}

// How a document was read: what was thrown, or how many characters were taken.
using Reading = std::pair<std::wstring, std::size_t>;
Reading readDocument(ISerializable& target, const std::wstring& document, bool isStream);
inline std::wstring xmlOf(const ISerializable& value) {
    std::wstring text;
    value.appendXml(text);
    return text;
}

// Writes down each message: the kind's name and the key or number sent along.
struct Listener : MessageSink {
    Texts log;
    std::function<void()> next = [] {};  // runs at the next message only
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;
};

class Random {
public:
    explicit Random(std::uint64_t seed) : seed_(seed), engine_(seed) {}

    std::string label() const { return "seed " + std::to_string(seed_); }
    std::size_t below(std::size_t count) { return engine_() % count; }
    const auto& pick(const auto& items) { return items[below(std::size(items))]; }
    std::string bytes(std::size_t size);
    // No control characters, no FFFF.
    std::wstring text(std::size_t longest);

private:
    std::uint64_t seed_;
    std::mt19937_64 engine_;
};

}  // namespace zustd::test
