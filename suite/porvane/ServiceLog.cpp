#include "suite/porvane/ServiceLog.h"

#include <unistd.h>

#include <array>
#include <ctime>
#include <string>

namespace tavrel {

void LogLine(std::string_view message) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> stamp{};
    const auto length = std::strftime(stamp.data(), stamp.size(), "%d/%m/%Y %H:%M:%S", &local);
    const std::string line = std::string(stamp.data(), length) + " porvane: " + std::string(message) + "\n";
    // One write keeps lines whole; a log that cannot be written must not stop the storing.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace tavrel
