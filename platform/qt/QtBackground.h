#pragma once

#include "platform/background.h"

namespace tavrel {

/// Runs the work on a thread of its own while the user-interface thread waits in an event loop. The
/// wait lasts as long as the work does.
class QtBackground : public Background {
public:
    void Run(std::string_view what, const std::function<void()>& work) override;
    /// Work is going on: automation calls are to wait.
    bool Running() const;
};

} // namespace tavrel
