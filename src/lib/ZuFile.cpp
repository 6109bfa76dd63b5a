#include "ZuFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace zustd {

namespace {

bool put(int file, std::string_view bytes) noexcept {
    constexpr std::size_t kMost = 1 << 30;  // as far as the call's number takes
    while (!bytes.empty()) {
        const auto piece = static_cast<unsigned>(std::min(bytes.size(), kMost));
        const int written = _write(file, bytes.data(), piece);
        if (written <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool moveTo(int file, std::int64_t position) noexcept {
    return _lseeki64(file, position, SEEK_SET) == position;
}

bool cutAt(int file, std::int64_t size) noexcept { return _chsize_s(file, size) == 0; }

}  // namespace

File openForReading(const std::wstring& name) noexcept {
    return File(isWholeName(name) ? _wfopen(name.c_str(), L"rb") : nullptr);
}

ReplacedFile::ReplacedFile(const std::wstring& name) noexcept {
    if (isWholeName(name)) {
        file_ = _wopen(name.c_str(), _O_WRONLY | _O_CREAT | _O_BINARY, _S_IREAD | _S_IWRITE);
    }
}

// It changes the file. NOLINTNEXTLINE(readability-make-member-function-const)
bool ReplacedFile::write(std::string_view bytes) noexcept {
    // A device has no length, nor positions to move to.
    const std::int64_t former = std::max<std::int64_t>(_filelengthi64(file_), 0);
    const auto size = static_cast<std::int64_t>(bytes.size());
    const auto kept = static_cast<std::size_t>(std::min(former, size));
    if ((former != 0 && !moveTo(file_, former)) || !put(file_, bytes.substr(kept))) {
        cutAt(file_, former);
        return false;
    }
    if (former != 0 && (!moveTo(file_, 0) || !put(file_, bytes.substr(0, kept)))) {
        cutAt(file_, former);
        return false;
    }
    return size >= former || cutAt(file_, size);
}

bool ReplacedFile::close() noexcept {
    const int file = std::exchange(file_, kNone);
    return file == kNone || _close(file) == 0;
}

}  // namespace zustd
