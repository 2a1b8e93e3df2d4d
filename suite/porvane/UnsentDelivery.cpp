#include "suite/porvane/UnsentDelivery.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>

namespace tavrel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds FirstPause = seconds(2);
constexpr milliseconds LongestPause = seconds(30);

bool IsReadable(int descriptor, milliseconds patience) {
    pollfd waiting{descriptor, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(patience.count())) > 0;
}

} // namespace

UnsentDelivery::UnsentDelivery(UnsentVersions& versions, const std::filesystem::path& folder)
    : versions_(versions), watch_(folder), wakeUp_(eventfd(0, EFD_CLOEXEC)) {}

UnsentDelivery::~UnsentDelivery() {
    thread_ = {}; // ended and joined
    close(wakeUp_);
}

void UnsentDelivery::TakeInAtStart(int stopSignals) {
    watch_.Renew();
    left_ = versions_.TakeIn([stopSignals] { return IsReadable(stopSignals, milliseconds(0)); }).left;
}

void UnsentDelivery::GoOn() {
    thread_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
}

void UnsentDelivery::Run(const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] { eventfd_write(wakeUp_, 1); });
    milliseconds pause = FirstPause;
    while (!stop.stop_requested()) {
        // Without anything left too: what other machines do in a shared folder is not noticed.
        std::array<pollfd, 2> waiting{{{wakeUp_, POLLIN, 0}, {watch_.Descriptor(), POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), static_cast<int>((left_ ? pause : LongestPause).count()));
        watch_.Renew();
        const auto outcome = versions_.TakeIn([&stop] { return stop.stop_requested(); });
        left_ = outcome.left;
        pause = outcome.progress || !left_ ? FirstPause : std::min(2 * pause, LongestPause);
    }
}

} // namespace tavrel
