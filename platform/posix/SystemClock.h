#pragma once

#include "platform/clock.h"

namespace tavrel {

class SystemClock final : public Clock {
public:
    DateTime Now() const override;
};

} // namespace tavrel
