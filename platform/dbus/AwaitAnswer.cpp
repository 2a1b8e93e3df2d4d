#include "platform/dbus/AwaitAnswer.h"

#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QTimer>

namespace tavrel {

bool AwaitAnswer(const QDBusPendingCall& call, std::chrono::milliseconds bound) {
    // Also when the answer is there already: what came before it may still wait to be handled, and
    // the watcher's signal queues up behind that.
    QEventLoop loop;
    const QDBusPendingCallWatcher watcher(call);
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(bound, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return call.isFinished();
}

} // namespace tavrel
