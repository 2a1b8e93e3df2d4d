#pragma once

#include <QDBusPendingCall>

#include <chrono>

namespace tavrel {

/// Waits in an event loop that takes no keyboard and mouse until `call` is answered, at most for
/// `bound`. Everything that reached this process before the answer has been handled then. Answers
/// whether the call is finished.
bool AwaitAnswer(const QDBusPendingCall& call, std::chrono::milliseconds bound);

} // namespace tavrel
