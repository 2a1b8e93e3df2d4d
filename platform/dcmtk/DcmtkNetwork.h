#pragma once

#include "platform/background.h"
#include "platform/dcmtk/Toolkit.h"
#include "platform/service_events.h"

#include <chrono>

namespace tavrel {

struct StoreTimeouts {
    std::chrono::seconds connect{5};
    std::chrono::seconds answer{30}; ///< each answer of the service
};

/// What a data set is sent with. Sequence items, and the data sets of a library that only reads, have none.
struct DcmtkNetwork {
    Background& background;
    ServiceEvents& events;
    StoreTimeouts timeouts;
    StoreFunction& (*store)(); ///< `TheStore`
};

} // namespace tavrel
