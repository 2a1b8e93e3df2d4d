#include "platform/posix/SystemClock.h"

#include <ctime>

namespace tavrel {

DateTime SystemClock::Now() const {
    const auto now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return {.year = static_cast<std::int16_t>(local.tm_year + 1900),
            .month = static_cast<std::int8_t>(local.tm_mon + 1),
            .day = static_cast<std::int8_t>(local.tm_mday),
            .hour = static_cast<std::int8_t>(local.tm_hour),
            .minute = static_cast<std::int8_t>(local.tm_min),
            .second = static_cast<std::int8_t>(local.tm_sec)};
}

} // namespace tavrel
