#include "platform/posix/SystemClock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace tavrel::test {
namespace {

std::string Rendered(std::time_t time, const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    std::tm local{};
    localtime_r(&time, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string Rendered(const DateTime& time) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                  time.minute, time.second);
    return text;
}

TEST(Clock, TellsTheLocalTime) {
    for (const auto* zone : {"UTC", "Asia/Kathmandu", "Pacific/Auckland"}) {
        const auto before = Rendered(std::time(nullptr), zone);
        const auto now = Rendered(SystemClock().Now());
        EXPECT_LE(before, now);
        EXPECT_LE(now, Rendered(std::time(nullptr), zone));
    }
}

} // namespace
} // namespace tavrel::test
