#include "platform/qt/QtBackground.h"

#include "platform/qt/InputBlock.h"

#include <QEventLoop>

#include <exception>
#include <optional>
#include <thread>

namespace tavrel {

void QtBackground::Run(std::string_view what, const std::function<void()>& work) {
    std::exception_ptr failure;
    std::optional<InputBlock> block(what);
    QEventLoop loop;
    // Lifted before the loop ends: a message box that an event has opened meanwhile can be answered.
    const auto done = [&] {
        block.reset();
        loop.quit();
    };
    std::jthread worker([&] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        QMetaObject::invokeMethod(&loop, done, Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    if (failure)
        std::rethrow_exception(failure);
}

bool QtBackground::Running() const {
    return InputBlock::On();
}

} // namespace tavrel
