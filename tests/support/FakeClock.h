#pragma once

#include "platform/clock.h"

namespace tavrel::test {

/// Stands still until a test moves it.
class FakeClock : public Clock {
public:
    DateTime now{2026, 11, 15, 8, 5, 9};
    mutable int readings = 0;

    DateTime Now() const override {
        ++readings;
        return now;
    }
};

} // namespace tavrel::test
