#pragma once

#include "platform/datetime.h"

namespace tavrel {

/// The only source of the time in the program.
class Clock {
public:
    virtual ~Clock() = default;
    /// The present local date and time.
    virtual DateTime Now() const = 0;
};

} // namespace tavrel
