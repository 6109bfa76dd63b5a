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
    return formatWide(L"%04ld-%02ld-%02ld-%02ld;%02ld;%02ld;%03ld", static_cast<long>(year_),
                      static_cast<long>(month_), static_cast<long>(day_), static_cast<long>(hour_),
                      static_cast<long>(minute_), static_cast<long>(second_),
                      static_cast<long>(millisecond_));
}

}  // namespace zustd
