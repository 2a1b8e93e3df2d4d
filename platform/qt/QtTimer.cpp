#include "platform/qt/QtTimer.h"

#include <utility>

namespace tavrel {

QtTimer::QtTimer() {
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
        // Taken out first: it may start the timer again.
        const auto act = std::exchange(act_, {});
        act();
    });
}

void QtTimer::Start(std::chrono::milliseconds delay, std::function<void()> act) {
    act_ = std::move(act);
    timer_.start(delay);
}

void QtTimer::Stop() {
    timer_.stop();
    act_ = {};
}

} // namespace tavrel
