#pragma once

#include <functional>
#include <string_view>

namespace tavrel {

/// Runs slow work off the user-interface thread. Until it is done the windows are drawn and the
/// storage service's events are handled, but no keyboard, no mouse and no automation call is taken;
/// the open window says `what` is going on. A failure of `work` is raised again here.
class Background {
public:
    virtual ~Background() = default;
    virtual void Run(std::string_view what, const std::function<void()>& work) = 0;
};

} // namespace tavrel
