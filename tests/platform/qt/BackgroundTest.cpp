#include "platform/qt/QtBackground.h"
#include "tests/platform/qt/OneOfEach.h"
#include "tests/support/Failure.h"

#include <QProgressBar>
#include <QTest>
#include <QTimer>

#include <semaphore>
#include <thread>

namespace tavrel {
namespace {

using namespace std::chrono_literals;

class BackgroundWork : public OneOfEachShown {
protected:
    /// Works in the background while `meanwhile` is done on the user-interface thread.
    void RunAnd(const std::function<void()>& meanwhile) {
        background_.Run("Storing the version ...",
                        [&] { QMetaObject::invokeMethod(&window_, meanwhile, Qt::BlockingQueuedConnection); });
    }
    QFrame* Veil() { return window_.findChild<QFrame*>("paneVeil"); }
    QtBackground background_;
};

TEST_F(BackgroundWork, IsDoneOnAnotherThreadBeforeRunReturns) {
    std::thread::id worker;

    background_.Run("", [&] { worker = std::this_thread::get_id(); });

    EXPECT_NE(worker, std::thread::id());
    EXPECT_NE(worker, std::this_thread::get_id());
}

TEST_F(BackgroundWork, RaisesItsFailureWhereItWasAskedFor) {
    const Error error =
        ErrorOf([&] { background_.Run("", [] { throw Error(7, "store", "The storage service refused"); }); });

    EXPECT_EQ(error.number, 7);
    EXPECT_EQ(error.description, "The storage service refused");
    EXPECT_FALSE(background_.Running());
}

TEST_F(BackgroundWork, LetsEventsOfTheProgramBeHandled) {
    bool handled = false;

    RunAnd([&] { handled = true; });

    EXPECT_TRUE(handled);
}

TEST_F(BackgroundWork, IsKnownWhileItRuns) {
    bool running = false;

    RunAnd([&] { running = background_.Running(); });

    EXPECT_TRUE(running);
    EXPECT_FALSE(background_.Running());
}

TEST_F(BackgroundWork, DropsWhatIsTypedMeanwhile) {
    RunAnd([&] { QTest::keyClicks(&line_, "lost"); });
    QTest::keyClicks(&line_, "kept");

    EXPECT_EQ(form_.txtLine.Text(), "kept");
}

TEST_F(BackgroundWork, DropsPressesMeanwhile) {
    int presses = 0;
    form_.cmdPress.Click = [&] { ++presses; };
    auto& button = Find<QPushButton>("cmdPress");

    RunAnd([&] {
        QTest::mouseClick(&button, Qt::LeftButton);
        button.click(); // As an assistive technology presses it, without a mouse.
    });
    QCoreApplication::processEvents();

    EXPECT_EQ(presses, 0);
}

TEST_F(BackgroundWork, TakesBackWhatAnAssistiveTechnologyWritesMeanwhile) {
    form_.txtLine.Text("Chest CT");

    RunAnd([&] { line_.setText("Knee"); });

    EXPECT_EQ(form_.txtLine.Text(), "Chest CT");
    EXPECT_EQ(Shown(line_), "Chest CT");
}

TEST_F(BackgroundWork, KeepsTheFrameFromBeingClosed) {
    RunAnd([&] { window_.close(); });

    EXPECT_EQ(form_.frameClosed, 0);
    EXPECT_TRUE(window_.isVisible());
}

TEST_F(BackgroundWork, SaysWhatIsGoingOnWhereNoWindowIsOpen) {
    window_.hide();
    std::counting_semaphore<> seen(0);
    std::string said;
    QTimer look;
    look.callOnTimeout([&] {
        for (const auto* widget : QApplication::topLevelWidgets())
            if (const auto* note = dynamic_cast<const QLabel*>(widget); note && note->isVisible()) {
                said = note->text().toStdString();
                seen.release();
            }
    });
    look.start(10ms);

    background_.Run("Waiting for the catalogue ...", [&] { (void)seen.try_acquire_for(3s); });

    EXPECT_EQ(said, "Waiting for the catalogue ...");
}

TEST_F(BackgroundWork, SaysOnTheWindowWhatIsGoingOn) {
    std::counting_semaphore<> seen(0);
    std::string said;
    QTimer look;
    look.callOnTimeout([&] {
        const auto* veil = Veil();
        if (!veil)
            return;
        said = veil->findChild<QLabel*>()->text().toStdString();
        look.stop();
        seen.release();
    });
    look.start(10ms);

    background_.Run("Storing the version ...", [&] { (void)seen.try_acquire_for(10s); });

    EXPECT_EQ(said, "Storing the version ...");
    EXPECT_FALSE(Veil());
}

TEST_F(BackgroundWork, SaysItOnAWindowThatIsKeptAboveAnother) {
    window_.setWindowFlag(Qt::Dialog);
    window_.show();
    bool said = false;
    QTimer look;
    look.callOnTimeout([&] { said = said || Veil(); });
    look.start(10ms);

    background_.Run("Storing the version ...", [] { std::this_thread::sleep_for(400ms); });

    EXPECT_TRUE(said);
}

TEST_F(BackgroundWork, SaysItOnAWindowThatIsMadeLargerMeanwhile) {
    std::counting_semaphore<> seen(0);
    QSize covered;
    QTimer look;
    look.callOnTimeout([&] {
        if (!Veil())
            return;
        look.stop();
        window_.resize(window_.size() + QSize(50, 50));
        QCoreApplication::processEvents();
        covered = Veil()->size();
        seen.release();
    });
    look.start(10ms);

    background_.Run("Storing the version ...", [&] { (void)seen.try_acquire_for(10s); });

    EXPECT_EQ(covered, window_.size());
}

TEST_F(BackgroundWork, ThatIsDoneInABlinkDisturbsNobody) {
    background_.Run("Storing the version ...", [] {});

    EXPECT_FALSE(Veil());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

} // namespace
} // namespace tavrel
