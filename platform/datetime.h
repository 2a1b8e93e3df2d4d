#pragma once

#include <compare>
#include <cstdint>

namespace tavrel {

/// A local calendar date with a time of day, resolution one second. All zero means "no date"; a
/// year of zero with a time is a time of day alone (DICOM VR TM).
struct DateTime {
    std::int16_t year = 0;  ///< four digits
    std::int8_t month = 0;  ///< 1 to 12
    std::int8_t day = 0;    ///< 1 to 31
    std::int8_t hour = 0;   ///< 0 to 23
    std::int8_t minute = 0; ///< 0 to 59
    std::int8_t second = 0; ///< 0 to 59

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the 0 within a generated comparison for a pointer.
    auto operator<=>(const DateTime&) const = default;
    bool HasDate() const { return year != 0; }
};

/// The last that a file can name: its dates have four digits for the year.
inline constexpr std::int16_t LastYear = 9999;

/// Whether the calendar has the date, whatever the time of day.
bool IsCalendarDate(const DateTime& moment);

/// Whether the day has the time of day, whatever the date. A leap second has no place in it.
bool IsTimeOfDay(const DateTime& moment);

} // namespace tavrel
