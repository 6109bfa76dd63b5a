#include "KeptFile.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ZuDirectory.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuPlankton.h"

namespace zuplutil {

namespace {

// More than any settings file has; a larger one is not kept.
constexpr DWORD kLargest = 16 * 1024 * 1024;

// A keeping file is a row of items. A process may be killed while it writes them.
enum ItemKind : std::uint32_t { kNoFormer = 0x30554D50, kFormer, kOurs };

struct ItemHeader {
    std::uint32_t kind;
    std::uint32_t size;
    std::uint32_t sum;
};

std::uint32_t checkSum(std::uint32_t kind, std::string_view bytes) {
    std::uint32_t sum = 2166136261u ^ kind;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 16777619u;
    }
    return sum;
}

void appendItem(std::string& target, std::uint32_t kind, std::string_view bytes) {
    const ItemHeader header{kind, static_cast<std::uint32_t>(bytes.size()), checkSum(kind, bytes)};
    target.append(reinterpret_cast<const char*>(&header), sizeof(header));
    target += bytes;
}

std::wstring keepingName(const std::wstring& file) { return file + L".kept"; }

// Of a file that is too large, more than is kept.
bool readAll(HANDLE file, std::string& bytes) {
    LARGE_INTEGER size{};
    const bool isKnown = GetFileSizeEx(file, &size);
    bytes.resize(static_cast<std::size_t>(std::min<LONGLONG>(size.QuadPart, kLargest + 1)));
    DWORD count = 0;
    return isKnown &&
           ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count == bytes.size();
}

bool writeAll(HANDLE file, const std::string& bytes) {
    DWORD count = 0;
    return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) &&
           count == bytes.size() && FlushFileBuffers(file);
}

HANDLE openFile(const std::wstring& name, DWORD access, DWORD disposition = OPEN_EXISTING,
                DWORD share = FILE_SHARE_READ) {
    return CreateFileW(name.c_str(), access, share, nullptr, disposition, 0, nullptr);
}

// A file that was just removed is in the way as long as a scanner has it open.
HANDLE create(const std::wstring& name) {
    constexpr int kAttempts = 20;
    for (int i = 1;; ++i) {
        const HANDLE file = openFile(name, GENERIC_WRITE | DELETE, CREATE_NEW);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_ACCESS_DENIED ||
            i == kAttempts) {
            return file;
        }
        Sleep(50);
    }
}

// False when the file cannot be read; no content when there is none.
bool readFile(const std::wstring& name, std::optional<std::string>& content) {
    const zustd::FileHandle file(
        openFile(name, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ | FILE_SHARE_WRITE));
    if (!file) {
        // A folder of that name counts as none.
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
               zustd::isDirectory(name);
    }
    return readAll(file.get(), content.emplace());
}

}  // namespace

void* KeptFile::FileTraits::invalid() noexcept { return INVALID_HANDLE_VALUE; }

void KeptFile::FileTraits::close(void* file) noexcept {
    zustd::FileHandleTraits<&CloseHandle>::close(file);
}

std::optional<KeptFile> KeptFile::keep(const std::wstring& file,
                                       const std::vector<std::string>& ours) {
    Content former;
    if (!readFile(file, former)) {
        return std::nullopt;
    }
    std::string bytes;
    appendItem(bytes, former ? kFormer : kNoFormer, former.value_or(std::string()));
    for (const std::string& content : ours) {
        appendItem(bytes, kOurs, content);
    }
    KeptFile kept(file, File(create(keepingName(file))));
    if (!kept.keeping_) {
        return std::nullopt;
    }
    if (bytes.size() > kLargest || !writeAll(kept.keeping_.get(), bytes)) {
        kept.forget();
        return std::nullopt;
    }
    kept.former_ = std::move(former);
    kept.ours_ = ours;
    return kept;
}

KeptFile::Left KeptFile::mend(const std::wstring& file) {
    KeptFile kept(file, File(openFile(keepingName(file), GENERIC_READ | DELETE)));
    if (!kept.keeping_) {
        return GetLastError() == ERROR_SHARING_VIOLATION ? Left::kInUse
               : zustd::isFile(keepingName(file))        ? Left::kFailed
                                                         : Left::kNothing;
    }
    std::string bytes;
    if (!readAll(kept.keeping_.get(), bytes)) {
        return Left::kFailed;
    }
    const Left left = kept.decode(bytes) ? kept.putBackContent() : Left::kUnusable;
    if (left != Left::kFailed) {
        kept.forget();
    }
    return left;
}

void KeptFile::putBack() noexcept {
    // Without memory the next process tries.
    zustd::guarded(ZU_OPERATION, [this] {
        if (putBackContent() != Left::kFailed) {
            forget();
        }
    });
}

void KeptFile::forget() noexcept {
    FILE_DISPOSITION_INFO information{TRUE};
    SetFileInformationByHandle(keeping_.get(), FileDispositionInfo, &information,
                               sizeof(information));
    keeping_.reset();
}

// Whether what there was can be told; nothing behind a damaged item was in use yet.
bool KeptFile::decode(const std::string& bytes) {
    bool told = false;
    std::string_view rest = bytes;
    ItemHeader header{};
    while (rest.size() >= sizeof(header)) {
        std::memcpy(&header, rest.data(), sizeof(header));
        const std::string_view content = rest.substr(sizeof(header), header.size);
        if (content.size() != header.size || header.sum != checkSum(header.kind, content)) {
            break;
        }
        if (header.kind == kOurs) {
            ours_.emplace_back(content);
        } else if (header.kind == kFormer) {
            former_ = content;
        } else if (header.kind != kNoFormer) {
            break;
        }
        told = told || header.kind != kOurs;
        rest.remove_prefix(sizeof(header) + content.size());
    }
    return told;
}

// A content of ours, or what there was, as far as a process got with writing it: a
// beginning, or a whole one with the end of a longer one (see zustd::ReplacedFile).
bool KeptFile::isOurs(const Content& content) const {
    if (!content) {
        return false;
    }
    const std::string_view now = *content;
    std::vector<std::string_view> known(ours_.begin(), ours_.end());
    if (former_) {
        known.push_back(*former_);
    }
    return std::any_of(known.begin(), known.end(), [&](std::string_view whole) {
        return whole.starts_with(now) ||
               (now.starts_with(whole) &&
                std::any_of(known.begin(), known.end(), [&](std::string_view longer) {
                    return longer.size() >= now.size() &&
                           longer.substr(whole.size()).starts_with(now.substr(whole.size()));
                }));
    });
}

KeptFile::Left KeptFile::putBackContent() const {
    Content now;
    if (!readFile(file_, now)) {
        return Left::kFailed;
    }
    if (now == former_) {
        return Left::kNothing;
    }
    if (!isOurs(now)) {
        return Left::kChanged;
    }
    if (!former_) {
        return DeleteFileW(file_.c_str()) ? Left::kPutBack : Left::kFailed;
    }
    const File file(openFile(file_, GENERIC_WRITE, TRUNCATE_EXISTING));
    return file && writeAll(file.get(), *former_) ? Left::kPutBack : Left::kFailed;
}

}  // namespace zuplutil
