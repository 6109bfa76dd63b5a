#include "ArchiveCheck.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>

#include "ZuDirectory.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuPlankton.h"

namespace zuplutil {

namespace {

constexpr std::uint64_t kEndMark = 0x06054B50;
constexpr std::uint64_t kLocator64Mark = 0x07064B50;
constexpr std::uint64_t kEnd64Mark = 0x06064B50;
constexpr std::uint64_t kEntryMark = 0x02014B50;
constexpr std::uint64_t kHeaderMark = 0x04034B50;

constexpr std::size_t kEndSize = 22;
constexpr std::size_t kLocator64Size = 20;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kEntrySize = 46;
constexpr std::size_t kHeaderSize = 30;
constexpr std::size_t kMaxComment = 0xFFFF;

// A number that stands in 64 bits elsewhere.
constexpr std::uint64_t kElsewhere16 = 0xFFFF;
constexpr std::uint64_t kElsewhere = 0xFFFFFFFF;

// Sizes are told behind the data, not in the header before it.
constexpr std::uint64_t kSizesBehindData = 1 << 3;

// The little-endian number in so many of the bytes.
std::uint64_t number(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    while (size-- > 0) {
        value = value << 8 | static_cast<unsigned char>(bytes[at + size]);
    }
    return value;
}

// A file that nobody writes to as long as it is open here.
class ArchiveFile {
public:
    explicit ArchiveFile(const std::wstring& path)
        : file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                            nullptr)) {
        LARGE_INTEGER size{};
        GetFileSizeEx(file_.get(), &size);
        size_ = static_cast<std::uint64_t>(size.QuadPart);
    }

    std::uint64_t size() const { return size_; }

    // The bytes from a position on; none when they do not lie before the end.
    std::optional<std::string> read(std::uint64_t at, std::size_t count, std::uint64_t end) const {
        if (at > end || count > end - at) {
            return std::nullopt;
        }
        std::string bytes(count, '\0');
        LARGE_INTEGER place{};
        place.QuadPart = static_cast<LONGLONG>(at);
        DWORD done = 0;
        const bool isRead =
            SetFilePointerEx(file_.get(), place, nullptr, FILE_BEGIN) &&
            ReadFile(file_.get(), bytes.data(), static_cast<DWORD>(count), &done, nullptr);
        return isRead && done == count ? std::optional(std::move(bytes)) : std::nullopt;
    }
    // The same for a record, which begins with its mark.
    std::optional<std::string> readRecord(std::uint64_t mark, std::uint64_t at, std::size_t count,
                                          std::uint64_t end) const {
        auto bytes = read(at, count, end);
        return bytes && number(*bytes, 0, 4) == mark ? bytes : std::nullopt;
    }

private:
    zustd::FileHandle file_;
    std::uint64_t size_ = 0;
};

// Where the directory lies, and how many entries it has.
struct Extent {
    std::uint64_t begin;
    std::uint64_t end;
    std::uint64_t count;
};

// The extent that an end record names, whose numbers have these places and
// sizes; the directory lies before the record.
std::optional<Extent> extentFrom(std::string_view record, std::uint64_t at, std::size_t counts,
                                 std::size_t countSize, std::size_t numberSize) {
    const std::uint64_t countHere = number(record, counts, countSize);
    const std::uint64_t count = number(record, counts + countSize, countSize);
    const std::uint64_t size = number(record, counts + 2 * countSize, numberSize);
    const std::uint64_t begin = number(record, counts + 2 * countSize + numberSize, numberSize);
    if (countHere != count || begin > at || size > at - begin) {
        return std::nullopt;
    }
    return Extent{begin, begin + size, count};
}

std::optional<Extent> findDirectory64(const ArchiveFile& file, std::uint64_t endAt) {
    if (endAt < kLocator64Size) {
        return std::nullopt;
    }
    const std::uint64_t locatorAt = endAt - kLocator64Size;
    const auto locator = file.readRecord(kLocator64Mark, locatorAt, kLocator64Size, endAt);
    if (!locator || number(*locator, 4, 4) != 0 || number(*locator, 16, 4) != 1) {
        return std::nullopt;
    }
    const std::uint64_t at = number(*locator, 8, 8);
    const auto record = file.readRecord(kEnd64Mark, at, kEnd64Size, locatorAt);
    if (!record || number(*record, 16, 8) != 0 || number(*record, 4, 8) != locatorAt - at - 12) {
        return std::nullopt;
    }
    return extentFrom(*record, at, 24, 8, 8);
}

std::optional<Extent> findDirectory(const ArchiveFile& file) {
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kEndSize + kMaxComment));
    const std::uint64_t tailAt = file.size() - count;
    const auto tail = file.read(tailAt, count, file.size());
    if (!tail || count < kEndSize) {
        return std::nullopt;
    }
    // The comment, whose length the record tells, reaches to the end.
    for (std::size_t at = count - kEndSize + 1; at-- > 0;) {
        const std::string_view record = std::string_view(*tail).substr(at, kEndSize);
        if (number(record, 0, 4) != kEndMark || number(record, 20, 2) != count - at - kEndSize) {
            continue;
        }
        if (number(record, 8, 2) == kElsewhere16 || number(record, 12, 4) == kElsewhere ||
            number(record, 16, 4) == kElsewhere) {
            if (const auto extent = findDirectory64(file, tailAt + at)) {
                return extent;
            }
        }
        return number(record, 4, 4) == 0 ? extentFrom(record, tailAt + at, 8, 2, 4) : std::nullopt;
    }
    return std::nullopt;
}

struct Entry {
    std::string name;
    std::uint64_t flags;
    std::uint64_t method;
    std::uint64_t packedSize;
    std::uint64_t size;
    std::uint64_t headerAt;
    // All of the entry in the directory.
    std::uint64_t length;
};

// Reads the numbers that stand in 64 bits from the entry's extra fields, in
// their order; false when they are not there.
bool readElsewhere(std::string_view extra, std::array<std::uint64_t*, 3> numbers) {
    while (extra.size() >= 4) {
        const std::uint64_t kind = number(extra, 0, 2);
        const auto size = static_cast<std::size_t>(number(extra, 2, 2));
        if (size > extra.size() - 4) {
            return false;
        }
        std::string_view field = extra.substr(4, size);
        extra.remove_prefix(4 + size);
        for (std::uint64_t* const value : numbers) {
            if (kind == 1 && *value == kElsewhere && field.size() >= 8) {
                *value = number(field, 0, 8);
                field.remove_prefix(8);
            }
        }
    }
    return std::none_of(numbers.begin(), numbers.end(),
                        [](const std::uint64_t* value) { return *value == kElsewhere; });
}

std::optional<Entry> readEntry(const ArchiveFile& file, std::uint64_t at, std::uint64_t end) {
    const auto fixed = file.readRecord(kEntryMark, at, kEntrySize, end);
    if (!fixed || number(*fixed, 34, 2) != 0) {
        return std::nullopt;
    }
    const auto nameSize = static_cast<std::size_t>(number(*fixed, 28, 2));
    const auto extraSize = static_cast<std::size_t>(number(*fixed, 30, 2));
    const auto rest = nameSize + extraSize + static_cast<std::size_t>(number(*fixed, 32, 2));
    const auto texts = file.read(at + kEntrySize, rest, end);
    if (!texts) {
        return std::nullopt;
    }
    Entry entry{texts->substr(0, nameSize), number(*fixed, 8, 2),  number(*fixed, 10, 2),
                number(*fixed, 20, 4),      number(*fixed, 24, 4), number(*fixed, 42, 4),
                kEntrySize + rest};
    if (!readElsewhere(std::string_view(*texts).substr(nameSize, extraSize),
                       {&entry.size, &entry.packedSize, &entry.headerAt})) {
        return std::nullopt;
    }
    return entry;
}

// The room that an entry's header and data take before the end; none when the
// header does not fit the entry, or the data not before the end.
std::optional<std::uint64_t> roomOf(const ArchiveFile& file, const Entry& entry,
                                    std::uint64_t end) {
    const auto header =
        file.readRecord(kHeaderMark, entry.headerAt, kHeaderSize + entry.name.size(), end);
    if (!header || number(*header, 8, 2) != entry.method ||
        number(*header, 26, 2) != entry.name.size() ||
        header->compare(kHeaderSize, std::string::npos, entry.name) != 0) {
        return std::nullopt;
    }
    if ((entry.flags & kSizesBehindData) == 0) {
        const std::uint64_t packed = number(*header, 18, 4);
        const std::uint64_t size = number(*header, 22, 4);
        if ((packed != kElsewhere && packed != entry.packedSize) ||
            (size != kElsewhere && size != entry.size)) {
            return std::nullopt;
        }
    }
    const std::uint64_t dataAt = entry.headerAt + header->size() + number(*header, 28, 2);
    if (dataAt > end || entry.packedSize > end - dataAt) {
        return std::nullopt;
    }
    return dataAt + entry.packedSize - entry.headerAt;
}

using FileSizes = std::map<std::wstring, std::uint64_t>;

// The files below a folder, by their path from there with slashes.
FileSizes filesBelow(const std::wstring& folder) {
    FileSizes files;
    std::vector<std::wstring> waiting = {L""};
    while (!waiting.empty()) {
        const std::wstring below = waiting.back();
        waiting.pop_back();
        std::vector<std::wstring> names;
        zustd::listDirectory(folder + L'\\' + below, L"*", &names, &names, false);
        for (const std::wstring& name : names) {
            const std::wstring path = below + name;
            WIN32_FILE_ATTRIBUTE_DATA data{};
            if (!GetFileAttributesExW((folder + L'\\' + path).c_str(), GetFileExInfoStandard,
                                      &data)) {
                throw std::uint32_t{GetLastError()};
            }
            if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                ULARGE_INTEGER size;
                size.LowPart = data.nFileSizeLow;
                size.HighPart = data.nFileSizeHigh;
                files[path] = size.QuadPart;
            } else if ((data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
                waiting.push_back(path + L'/');
            }
        }
    }
    return files;
}

UINT systemCodePage(LCTYPE kind) {
    DWORD page = CP_ACP;
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, kind | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<wchar_t*>(&page), sizeof(page) / sizeof(wchar_t));
    return page;
}

std::wstring decode(const std::string& name, UINT codePage) {
    std::wstring text(name.size(), L'\0');
    const int size = MultiByteToWideChar(codePage, 0, name.data(), static_cast<int>(name.size()),
                                         text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(size));
    std::replace(text.begin(), text.end(), L'\\', L'/');
    return text;
}

// Takes an entry's file off the list, under whatever reading of its name it is
// there: those who pack use UTF-8 or either code page of the system.
void takeOff(FileSizes& missing, const Entry& entry) {
    for (const UINT codePage : {UINT{CP_UTF8}, systemCodePage(LOCALE_IDEFAULTCODEPAGE),
                                systemCodePage(LOCALE_IDEFAULTANSICODEPAGE)}) {
        const auto found = missing.find(decode(entry.name, codePage));
        if (found != missing.end() && found->second == entry.size) {
            missing.erase(found);
            return;
        }
    }
}

bool isWholeWith(const ArchiveFile& file, FileSizes missing) {
    const auto directory = findDirectory(file);
    if (!directory) {
        return false;
    }
    std::uint64_t at = directory->begin;
    // What no entry has taken of the room before the directory; entries do not
    // share any.
    std::uint64_t room = directory->begin;
    for (std::uint64_t i = 0; i < directory->count; ++i) {
        const auto entry = readEntry(file, at, directory->end);
        const auto taken = entry ? roomOf(file, *entry, directory->begin) : std::nullopt;
        if (!taken || *taken > room) {
            return false;
        }
        at += entry->length;
        room -= *taken;
        takeOff(missing, *entry);
    }
    return at == directory->end && missing.empty();
}

}  // namespace

bool holdsFolder(const std::wstring& archive, const std::wstring& folder) noexcept {
    // Of a folder that cannot be listed, or without memory, nothing is known.
    return zustd::guarded(ZU_OPERATION, false,
                          [&] { return isWholeWith(ArchiveFile(archive), filesBelow(folder)); });
}

}  // namespace zuplutil
