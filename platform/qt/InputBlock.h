#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <string_view>
#include <vector>

namespace tavrel {

/// While one lives, keyboard, mouse and the closing of windows are dropped (not kept for later) and,
/// when it takes longer than a blink, every open window says `what` is going on. Where no window is open yet, a small
/// one says it after some seconds.
class InputBlock : public QObject {
public:
    explicit InputBlock(std::string_view what);
    ~InputBlock() override;

    static bool On();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QTimer longer_;
    QTimer long_;
    std::vector<QPointer<QWidget>> veils_; ///< each its window's, with which it may vanish
    std::unique_ptr<QWidget> note_;
};

} // namespace tavrel
