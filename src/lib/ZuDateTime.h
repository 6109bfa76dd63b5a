// A local date and time of day, to the millisecond.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace zustd {

// Plain fields, copied and compared field by field; nothing checks that they
// form a real date. The default is all zeros: "no date".
class DateTime {
public:
    DateTime() = default;
    DateTime(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour = 0,
             std::int32_t minute = 0, std::int32_t second = 0, std::int32_t millisecond = 0)
        : year_(year),
          month_(month),
          day_(day),
          hour_(hour),
          minute_(minute),
          second_(second),
          millisecond_(millisecond) {}

    // The system's local time at the moment of the call.
    static DateTime now() noexcept;

    std::int32_t year() const noexcept { return year_; }
    std::int32_t month() const noexcept { return month_; }
    std::int32_t day() const noexcept { return day_; }
    std::int32_t hour() const noexcept { return hour_; }
    std::int32_t minute() const noexcept { return minute_; }
    std::int32_t second() const noexcept { return second_; }
    std::int32_t millisecond() const noexcept { return millisecond_; }

    // "2016-11-14-16;39;59;123": sorts by time and may stand in a file name.
    std::wstring toFileStamp() const;

    // Equality and the order of time, for fields that form a real date.
    friend auto operator<=>(const DateTime&, const DateTime&) = default;

private:
    std::int32_t year_ = 0;
    std::int32_t month_ = 0;
    std::int32_t day_ = 0;
    std::int32_t hour_ = 0;
    std::int32_t minute_ = 0;
    std::int32_t second_ = 0;
    std::int32_t millisecond_ = 0;
};

}  // namespace zustd
