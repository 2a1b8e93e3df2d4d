#pragma once

#include <chrono>

namespace tavrel {

class Background;

/// How long a database may take for one answer, and who keeps the windows alive until then.
struct OdbcPatience {
    std::chrono::milliseconds most = std::chrono::seconds(20);
    Background* meanwhile = nullptr; ///< for the user-interface thread
};

} // namespace tavrel
