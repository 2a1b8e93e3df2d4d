#pragma once

#include "platform/timer.h"

#include <QTimer>

namespace tavrel {

class QtTimer : public Timer {
public:
    QtTimer();
    void Start(std::chrono::milliseconds delay, std::function<void()> act) override;
    void Stop() override;

private:
    QTimer timer_;
    std::function<void()> act_;
};

} // namespace tavrel
