#include "platform/posix/SystemClock.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ctime>

namespace tavrel::test {
namespace {

std::string Rendered(std::time_t time, const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
    std::tm local{};
    localtime_r(&time, &local);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return text.data();
}

std::string Rendered(const DateTime& time) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                  time.minute, time.second);
    return text.data();
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
