#include "platform/datetime.h"

#include <chrono>

namespace tavrel {

bool IsCalendarDate(const DateTime& moment) {
    const std::chrono::year_month_day date{std::chrono::year{moment.year},
                                           std::chrono::month{static_cast<unsigned>(moment.month)},
                                           std::chrono::day{static_cast<unsigned>(moment.day)}};
    return moment.year > 0 && moment.year <= LastYear && date.ok();
}

bool IsTimeOfDay(const DateTime& moment) {
    const auto within = [](int value, int most) { return value >= 0 && value <= most; };
    return within(moment.hour, 23) && within(moment.minute, 59) && within(moment.second, 59);
}

} // namespace tavrel
