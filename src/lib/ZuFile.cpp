#include "ZuFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace zustd {

namespace {

bool put(int file, std::string_view bytes) noexcept {
    constexpr std::size_t kMost = std::numeric_limits<int>::max();  // what the call can answer
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
        file_.reset(_wopen(name.c_str(), _O_WRONLY | _O_CREAT | _O_BINARY, _S_IREAD | _S_IWRITE));
    }
}

// It changes the file. NOLINTNEXTLINE(readability-make-member-function-const)
bool ReplacedFile::write(std::string_view bytes) noexcept {
    const int file = file_.get();
    // A device has no length, nor positions to move to.
    const std::int64_t former = std::max<std::int64_t>(_filelengthi64(file), 0);
    const auto size = static_cast<std::int64_t>(bytes.size());
    const auto kept = static_cast<std::size_t>(std::min(former, size));
    const bool isWritten = (former == 0 || moveTo(file, former)) && put(file, bytes.substr(kept)) &&
                           (former == 0 || (moveTo(file, 0) && put(file, bytes.substr(0, kept))));
    if (!isWritten) {
        cutAt(file, former);
        return false;
    }
    return size >= former || cutAt(file, size);
}

bool ReplacedFile::close() noexcept { return _close(file_.release()) == 0; }

void ReplacedFile::Traits::close(Type file) noexcept { _close(file); }

}  // namespace zustd
