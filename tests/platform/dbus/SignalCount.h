#pragma once

#include <QObject>

namespace tavrel::test {

/// Counts a signal of the bus.
class SignalCount final : public QObject {
    Q_OBJECT

public:
    int count = 0;

public slots:
    void Count() { ++count; }
};

} // namespace tavrel::test
