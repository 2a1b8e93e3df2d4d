#include "platform/qt/DesktopLook.h"
#include "tests/platform/dbus/PrivateBus.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFont>
#include <QPalette>
#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

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
    ~DesktopLooks() override { Dress(Scheme::Light); }
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

    PrivateBus bus_;
    QDBusConnection desktop_ = bus_.Connect();
    QDBusConnection program_ = bus_.Connect();
};

TEST_F(DesktopLooks, AreDarkOnADarkDesktop) {
    Portal portal(1);
    Publish(portal);

    const DesktopLook look(program_);

    EXPECT_TRUE(WaitUntil(Dark));
}

TEST_F(DesktopLooks, AreThePlatformsOwnWhereNoDesktopAnswers) {
    const DesktopLook look(program_);
    Idle();

    EXPECT_FALSE(Dark());
}

TEST_F(DesktopLooks, ChangeWithTheDesktop) {
    Portal portal(2);
    Publish(portal);
    const DesktopLook look(program_);

    Change("accent-color", 1);
    ChangeColourScheme(portal, 1);
    EXPECT_TRUE(WaitUntil(Dark));
    ChangeColourScheme(portal, 0);

    EXPECT_TRUE(WaitUntil([] { return !Dark(); }));
}

TEST_F(DesktopLooks, AskForTheFontOfOldAndTakeTheDesktopsInItsPlace) {
    const QFont font = QApplication::font();

    EXPECT_EQ(font.family(), "MS Sans Serif");
    EXPECT_FALSE(QFont::substitutes("MS Sans Serif").isEmpty());
}

} // namespace
} // namespace tavrel::test
