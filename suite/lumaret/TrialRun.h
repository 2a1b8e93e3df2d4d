#pragma once

#include <functional>

namespace tavrel {

/// Runs `work` in a copy of this process that is thrown away, and answers whether it came to its end, with a failure
/// or without, within ten seconds: whatever it does to its memory stays there. For work that uses neither a window
/// nor the bus.
bool ComesToItsEnd(const std::function<void()>& work);

} // namespace tavrel
