#include "support/FrameworkTest.h"

#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ZuWindows.h"

using zustd::test::AllocationLimit;
using zustd::test::MemoryWatch;

namespace {

constexpr std::size_t kMostKept = 4096;
std::array<std::atomic<void*>, 4096> kept{};
std::atomic<std::size_t> keptCount{0};

// What freed memory is filled with: words that differ, and none is an address.
unsigned char poisonAt(std::size_t i) { return static_cast<unsigned char>(0x80 | (i & 0x3F)); }

bool isPoisoned(const unsigned char* memory, std::size_t size) {
    std::size_t i = 0;
    return std::all_of(memory, memory + size, [&](auto byte) { return byte == poisonAt(i++); });
}

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = AllocationLimit::take() ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    MemoryWatch::live += static_cast<std::int64_t>(_msize(memory));
    MemoryWatch::most = std::max(MemoryWatch::most.load(), MemoryWatch::live.load());
    return memory;
}
void operator delete(void* memory) noexcept {
    if (memory == nullptr) {
        return;
    }
    const std::size_t size = _msize(memory);
    MemoryWatch::live -= static_cast<std::int64_t>(size);
    const std::string_view block(static_cast<char*>(memory), size);
    if (!MemoryWatch::sought.empty() && block.find(MemoryWatch::sought) != block.npos) {
        MemoryWatch::foundInFreed = true;
    }
    // Whoever still looks at it shall notice. The barrier keeps the stores.
    for (std::size_t i = 0; i < size; ++i) {
        static_cast<unsigned char*>(memory)[i] = poisonAt(i);
    }
    asm volatile("" : : "r"(memory) : "memory");
    // Nor shall it be somebody else's soon; nobody writes there meanwhile.
    void* last = size > kMostKept ? memory : kept[keptCount++ % kept.size()].exchange(memory);
    if (last != nullptr && !isPoisoned(static_cast<unsigned char*>(last), _msize(last))) {
        std::abort();
    }
    std::free(last);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace zustd::test {

TempFolder::TempFolder() {
    static int number = 0;
    path_ = std::filesystem::temp_directory_path() /
            formatWide(L"framework-test-%lu-%d", GetCurrentProcessId(), ++number);
    std::filesystem::create_directory(path_);
}

TempFolder::~TempFolder() {
    std::error_code failure;
    std::filesystem::remove_all(path_, failure);
    EXPECT_FALSE(failure) << failure.message();
}

std::string readBytes(const std::wstring& file) {
    std::ifstream stream(std::filesystem::path(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeBytes(const std::wstring& file, const std::string& bytes) {
    std::ofstream(std::filesystem::path(file), std::ios::binary) << bytes;
}

Lines TraceCapture::messages() const {
    constexpr std::string_view kMark = "ZULOG: ";
    Lines lines;
    std::istringstream text(bytes());
    for (std::string line; std::getline(text, line);) {
        const std::size_t mark = line.find(kMark);
        line.erase(0, mark != std::string::npos ? mark + kMark.size() : 0);
        lines.push_back(line.substr(0, line.find('\r')));
    }
    return lines;
}

ReplacedImport::ReplacedImport(void*& slot, void* replacement) : slot_(slot), original_(slot) {
    DWORD protection = 0;
    VirtualProtect(&slot_, sizeof(slot_), PAGE_READWRITE, &protection);
    slot_ = replacement;
}

long failEachAllocation(const std::function<bool()>& operation,
                        const std::function<void(bool done)>& check) {
    long allowed = 0;
    for (const bool once : {true, false}) {
        bool done = false;
        for (allowed = -1; !done && !testing::Test::HasFailure();) {
            try {
                const AllocationLimit limit(++allowed, once);
                done = operation();
            } catch (const std::bad_alloc&) {
            }
            EXPECT_NE(done, AllocationLimit::wasReached()) << allowed << (once ? " once" : "");
            check(done);
        }
    }
    return allowed;
}

Reading readDocument(ISerializable& target, const std::wstring& document, bool isStream) {
    std::wistringstream stream(document);
    const wchar_t* at = document.data();
    const std::wstring thrown = thrownText(
        [&] { isStream ? target.readXml(stream) : target.parseXml(at, at + document.size()); });
    const std::streamoff read = stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    const auto taken = static_cast<std::size_t>(isStream ? read : at - document.data());
    return {thrown, thrown == L"nothing" ? taken : 0};
}

bool Listener::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord) {
    const bool isText = kind.words() == MessageWords::kText;
    log.push_back(std::wstring(kind.name()) + L" " +
                  (isText ? a.text() : std::to_wstring(a.number())));
    std::exchange(next, [] {})();
    return true;
}

std::string Random::bytes(std::size_t size) {
    std::string bytes(size, '\0');
    std::ranges::generate(bytes, [this] { return static_cast<char>(below(256)); });
    return bytes;
}

std::wstring Random::text(std::size_t longest) {
    // Plain letters, what the XML form escapes, and the ends of UTF-8's ranges.
    static constexpr std::wstring_view kSpecial = L"<>&'\";\\/= \u007F\u0080\u07FF\u0800\uFFFE";
    std::wstring text(below(longest + 1), L' ');
    for (wchar_t& unit : text) {
        const std::size_t dice = below(4);
        unit = dice == 0   ? pick(kSpecial)
               : dice == 1 ? static_cast<wchar_t>(32 + below(0xFFFF - 32))
                           : static_cast<wchar_t>(L'a' + below(26));
    }
    return text;
}

}  // namespace zustd::test
