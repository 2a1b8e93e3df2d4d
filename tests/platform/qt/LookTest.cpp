#include "platform/qt/DesktopLook.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QPalette>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

namespace tavrel {
namespace {

/// A session bus of its own.
class PrivateBus {
public:
    PrivateBus() {
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
        daemon_.waitForReadyRead();
        address_ = QString::fromLocal8Bit(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    QDBusConnection Connect(const QString& name) const { return QDBusConnection::connectToBus(address_, name); }

private:
    QProcess daemon_;
    QString address_;
};

/// A desktop's portal that answers every question with its one setting.
class Portal : public QDBusVirtualObject {
public:
    explicit Portal(uint scheme) : colourScheme(scheme) {}
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const auto wrapped = QVariant::fromValue(QDBusVariant(colourScheme));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(wrapped))));
    }

    uint colourScheme;
};

bool Dark() {
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

class DesktopLooks : public testing::Test {
protected:
    ~DesktopLooks() override {
        Dress(application_, Scheme::Light);
        QDBusConnection::disconnectFromBus("desktop");
        QDBusConnection::disconnectFromBus("program");
    }
    void Publish(Portal& portal) {
        desktop_.registerVirtualObject("/org/freedesktop/portal/desktop", &portal);
        desktop_.registerService("org.freedesktop.portal.Desktop");
    }
    void ChangeColourScheme(Portal& portal, uint value) {
        portal.colourScheme = value;
        Change("color-scheme", value);
    }
    void Change(const QString& key, uint value) {
        auto changed = QDBusMessage::createSignal("/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                                                  "SettingChanged");
        changed << "org.freedesktop.appearance" << key << QVariant::fromValue(QDBusVariant(value));
        desktop_.send(changed);
    }

    QApplication& application_ = dynamic_cast<QApplication&>(*QCoreApplication::instance());
    PrivateBus bus_;
    QDBusConnection desktop_ = bus_.Connect("desktop");
    QDBusConnection program_ = bus_.Connect("program");
};

TEST_F(DesktopLooks, AreDarkOnADarkDesktop) {
    Portal portal(1);
    Publish(portal);

    const DesktopLook look(application_, program_);

    EXPECT_TRUE(QTest::qWaitFor(Dark));
}

TEST_F(DesktopLooks, AreThePlatformsOwnWhereNoDesktopAnswers) {
    const DesktopLook look(application_, program_);
    QTest::qWait(50);

    EXPECT_FALSE(Dark());
}

TEST_F(DesktopLooks, ChangeWithTheDesktop) {
    Portal portal(2);
    Publish(portal);
    const DesktopLook look(application_, program_);

    Change("accent-color", 1);
    ChangeColourScheme(portal, 1);
    EXPECT_TRUE(QTest::qWaitFor(Dark));
    ChangeColourScheme(portal, 0);

    EXPECT_TRUE(QTest::qWaitFor([] { return !Dark(); }));
}

TEST_F(DesktopLooks, AskForTheFontOfOldAndTakeTheDesktopsInItsPlace) {
    const QFont font = QApplication::font();

    EXPECT_EQ(font.family(), "MS Sans Serif");
    EXPECT_FALSE(QFont::substitutes("MS Sans Serif").isEmpty());
}

} // namespace
} // namespace tavrel
