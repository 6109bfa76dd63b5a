// A local date and time of day, to the millisecond.
#pragma once

#include <array>
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
        : fields_{year, month, day, hour, minute, second, millisecond} {}

    // The system's local time at the moment of the call.
    static DateTime now() noexcept;

    std::int32_t year() const noexcept { return fields_[0]; }
    std::int32_t month() const noexcept { return fields_[1]; }
    std::int32_t day() const noexcept { return fields_[2]; }
    std::int32_t hour() const noexcept { return fields_[3]; }
    std::int32_t minute() const noexcept { return fields_[4]; }
    std::int32_t second() const noexcept { return fields_[5]; }
    std::int32_t millisecond() const noexcept { return fields_[6]; }

    // "2016-11-14-16;39;59;123": sorts by time and may stand in a file name.
    std::wstring toFileStamp() const;

    // Equality and the order of time, for fields that form a real date.
    friend auto operator<=>(const DateTime&, const DateTime&) = default;

private:
    // In the order of the constructor's.
    std::array<std::int32_t, 7> fields_{};
};

}  // namespace zustd
