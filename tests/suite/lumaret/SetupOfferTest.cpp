#include "suite/lumaret/SetupOffer.h"

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

constexpr auto Fresh = "missing  the catalogue\nmissing  the signature of rossi\n"
                       "default  --organization Department of Radiology\ndefault  --signature Rossi, Mario\n";

/// A window of which the tool says what a test wants.
class SetupOffered : public testing::Test {
protected:
    SetupOffered() {
        window.setCentralWidget(images);
        window.show();
    }

    /// `looked` is said of the account, `end` are the last lines of the tool that sets it up.
    void Say(const QString& looked, const QString& end = {}, int patience = 10000) {
        QFile script(tool);
        script.open(QIODevice::WriteOnly);
        script.write(("#!/bin/sh\nif [ \"$2\" = --dry-run ]; then cat <<END\n" + looked +
                      "END\nexit 1\nfi\necho \"$*\" >>" + folder.filePath("asked") + "\n" + end + "\n")
                         .toUtf8());
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        script.close();
        offer.Look();
        offered = QTest::qWaitFor([this] { return Button() != nullptr; }, patience);
    }
    QPushButton* Button(const QString& caption = "&Set up this account") const {
        for (auto* button : window.findChildren<QPushButton*>())
            if (button->text() == caption && button->isVisible())
                return button;
        return nullptr;
    }
    /// As it is heard.
    QString Outcome() const {
        auto* label = window.findChild<QLabel*>("outcome");
        return label ? QAccessible::queryAccessibleInterface(label)->text(QAccessible::Name) : QString();
    }
    QString Asked() const {
        QFile file(folder.filePath("asked"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    QTemporaryDir folder;
    QString tool = folder.filePath("orbenta-catalogue");
    QMainWindow window;
    bool offered = false;
    QLabel* images = new QLabel("images");
    SetupOffer offer{window, tool};
};

TEST_F(SetupOffered, OnANewAccountSaysWhatIsMissingInThePlaceOfTheImages) {
    Say(Fresh);
    ASSERT_TRUE(offered);
    EXPECT_FALSE(images->isVisible());
    bool said = false;
    for (const auto* label : window.findChildren<QLabel*>())
        said = said || label->text().contains("Missing: the catalogue, the signature of rossi.");
    EXPECT_TRUE(said);
}

TEST_F(SetupOffered, IsWholeInANarrowWindow) {
    window.resize(540, 700);
    Say("missing  " + QString("one thing and another of the account ").repeated(12) + "\n" + Fresh);
    ASSERT_TRUE(offered);
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    for (const auto* label : window.findChildren<QLabel*>())
        if (label->isVisible() && label->wordWrap()) {
            EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
            EXPECT_GE(label->width(), 480) << label->text().toStdString();
        }
}

TEST_F(SetupOffered, IsDoneWithOneButton) {
    Say(Fresh);
    ASSERT_TRUE(offered);
    QSignalSpy done(&offer, &SetupOffer::Done);
    Button()->click();
    EXPECT_TRUE(done.wait());
    EXPECT_EQ(Asked(), "setup --yes --organization=Department of Radiology --signature=Rossi, Mario\n");
    EXPECT_TRUE(images->isVisible());
}

TEST_F(SetupOffered, TakesTheNamesThatAreTyped) {
    Say(Fresh);
    ASSERT_TRUE(offered);
    QSignalSpy done(&offer, &SetupOffer::Done);
    window.findChildren<QLineEdit*>().first()->setText("Saint Luke");
    Button()->click();
    EXPECT_TRUE(done.wait());
    EXPECT_TRUE(Asked().contains("--organization=Saint Luke "));
}

TEST_F(SetupOffered, AsksForNoNameThatIsSet) {
    Say("missing  the storage service runs\n");
    ASSERT_TRUE(offered);
    EXPECT_TRUE(window.findChildren<QLineEdit*>().isEmpty());
}

TEST_F(SetupOffered, SaysWhyItFailedAndMayBeTriedAgain) {
    Say(Fresh, "echo 'orbenta-catalogue: no room' >&2; exit 1");
    ASSERT_TRUE(offered);
    Button()->click();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Outcome() == "no room"; }));
    EXPECT_TRUE(Button()->isEnabled());
    EXPECT_FALSE(images->isVisible());
}

TEST_F(SetupOffered, TellsOfAFieldAsItIsNamedThere) {
    Say(Fresh, "echo '--signature: \"x\" is too long' >&2; echo 'Run with --help for more information.' >&2; exit 2");
    ASSERT_TRUE(offered);
    Button()->click();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Outcome() == "You sign as: \"x\" is too long"; }));
}

TEST_F(SetupOffered, TakesNoDefaultForANameThatWasTakenOut) {
    Say(Fresh);
    ASSERT_TRUE(offered);
    window.findChildren<QLineEdit*>().last()->setText(" ");
    Button()->click();
    EXPECT_EQ(Outcome(), "A name is missing.");
    EXPECT_EQ(Asked(), "");
}

TEST_F(SetupOffered, OfAnAccountThatCannotBeLookedAtSaysWhy) {
    QSignalSpy said(&offer, &SetupOffer::Said);
    Say("there    the ODBC entry DicomFDB\nEND\necho 'orbenta-catalogue: It is gone' >&2\ncat <<END\n", {}, 300);
    EXPECT_TRUE(said.count() == 1 || said.wait());
    EXPECT_EQ(said.value(0).value(0).toString(), "It is gone");
    EXPECT_FALSE(offered);
}

TEST_F(SetupOffered, IsLeftForLater) {
    Say(Fresh);
    ASSERT_TRUE(offered);
    Button("&Not now")->click();
    EXPECT_TRUE(images->isVisible());
}

TEST_F(SetupOffered, IsNoneOfAWholeWorkstation) {
    Say("there    the catalogue\n", {}, 300);
    EXPECT_FALSE(offered);
    EXPECT_TRUE(images->isVisible());
}

TEST_F(SetupOffered, IsNoneWithoutTheToolThatDoesIt) {
    QSignalSpy nothing(&offer, &SetupOffer::NothingToOffer);
    offer.Look();
    EXPECT_TRUE(nothing.count() == 1 || nothing.wait());
}

TEST_F(SetupOffered, IsNoneWhereTheServiceRunsInAnotherWay) {
    Say("missing  the storage service's start with each session\nthere    the storage service runs\n", {}, 300);
    EXPECT_FALSE(offered);
}

} // namespace
} // namespace tavrel::test
