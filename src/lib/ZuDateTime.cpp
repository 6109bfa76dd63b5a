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
    return formatWide(L"%04d-%02d-%02d-%02d;%02d;%02d;%03d", year(), month(), day(), hour(),
                      minute(), second(), millisecond());
}

}  // namespace zustd
