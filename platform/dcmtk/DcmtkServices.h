#pragma once

#include "platform/background.h"
#include "platform/service_events.h"

#include <chrono>
#include <string>

namespace tavrel {

struct StoreTimeouts {
    std::chrono::seconds connect{5};
    std::chrono::seconds answer{30}; ///< each answer of the service
};

/// What every data set of a library uses to be sent.
struct DcmtkServices {
    Background& background;
    ServiceEvents& events;
    std::string unsentFolder; ///< native
    StoreTimeouts timeouts;
};

} // namespace tavrel
