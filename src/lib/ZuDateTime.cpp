#include "ZuDateTime.h"

#include "ZuText.h"
#include "ZuWindows.h"

namespace zustd {

DateTime DateTime::now() noexcept {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return {time.wYear,   time.wMonth,  time.wDay,         time.wHour,
            time.wMinute, time.wSecond, time.wMilliseconds};
}

std::wstring DateTime::toFileStamp() const {
    return formatWide(L"%04ld-%02ld-%02ld-%02ld;%02ld;%02ld;%03ld", static_cast<long>(year()),
                      static_cast<long>(month()), static_cast<long>(day()),
                      static_cast<long>(hour()), static_cast<long>(minute()),
                      static_cast<long>(second()), static_cast<long>(millisecond()));
}

}  // namespace zustd
