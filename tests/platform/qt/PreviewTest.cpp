#include "tests/platform/qt/Preview.h"
#include "platform/qt/Look.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>

#include <set>

namespace tavrel::test {
namespace {

/// Where two pictures are not the same.
QRect Difference(const QImage& one, const QImage& other) {
    QRect place;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            if (one.pixel(x, y) != other.pixel(x, y))
                place |= QRect(x, y, 1, 1);
    return place;
}

TEST_F(Preview, IsAModalTopMostWindowThatTheProgramWaitsFor) {
    Show("Normal.", [&](QWidget& preview) {
        EXPECT_EQ(preview.windowTitle(), "Printing report");
        EXPECT_TRUE(preview.isModal());
        EXPECT_TRUE(preview.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        EXPECT_TRUE(windows.AnyWindowOpen());
        Picture(preview, "light");
    });
    EXPECT_FALSE(windows.AnyWindowOpen());
}

TEST_F(Preview, FitsASmallScreen) {
    Show("Normal.", [&](QWidget& preview) {
        EXPECT_LE(preview.width(), 1280);
        EXPECT_LE(preview.height(), 760);
        EXPECT_LE(preview.minimumSizeHint().width(), 1024);
    });
}

TEST_F(Preview, TurnsItsPages) {
    Show(threePages, [&](QWidget& preview) {
        EXPECT_EQ(Position(preview), "Page 1 of 3");
        EXPECT_FALSE(ButtonCalled(preview, "Pre&vious").isEnabled());
        Press(preview, "&Next");
        EXPECT_EQ(Position(preview), "Page 2 of 3");
        QTest::keyClick(&preview, Qt::Key_PageDown);
        EXPECT_EQ(Position(preview), "Page 3 of 3");
        EXPECT_FALSE(ButtonCalled(preview, "&Next").isEnabled());
        Picture(preview, "last-page");
        Press(preview, "Pre&vious");
        EXPECT_EQ(Position(preview), "Page 2 of 3");
    });
}

TEST_F(Preview, EveryButtonHasAMnemonicOfItsOwnAndAKey) {
    Show("Normal.", [&](QWidget& preview) {
        std::set<QKeySequence> mnemonics;
        const auto buttons = preview.findChildren<QPushButton*>();
        for (const auto* button : buttons) {
            mnemonics.insert(QKeySequence::mnemonic(button->text()));
            EXPECT_FALSE(button->toolTip().isEmpty()) << button->text().toStdString();
        }
        EXPECT_FALSE(mnemonics.contains(QKeySequence()));
        EXPECT_EQ(mnemonics.size(), static_cast<std::size_t>(buttons.size()));
    });
}

TEST_F(Preview, ThePageStaysWhiteOnADarkDesktop) {
    Dress(Scheme::Dark);
    Show("Normal.", [&](QWidget& preview) {
        Picture(preview, "dark");
        const QImage picture = preview.grab().toImage();
        EXPECT_EQ(picture.pixelColor(picture.width() / 2, picture.height() * 3 / 4), QColor(Qt::white));
        EXPECT_LT(picture.pixelColor(3, 3).lightness(), 100);
    });
    Dress(Scheme::Light);
}

TEST_F(Preview, ZoomsTheWidthIntoTheWindow) {
    Show("Normal.", [&](QWidget& preview) {
        Press(preview, "Page wi&dth");
        Picture(preview, "width");
        QTest::keyClick(&preview, Qt::Key_0, Qt::ControlModifier);
        Press(preview, "Zoom &in");
        Press(preview, "Zoom &out");
        Picture(preview, "zoomed");
    });
}

TEST_F(Preview, ACommaStandsBehindTheWordAlsoWhereThatIsToItsLeft) {
    const auto shown = [&](const std::string& reading) {
        QImage picture;
        Show(reading + "\r\nنعم", [&](QWidget& preview) {
            Press(preview, "Page wi&dth");
            QTest::qWait(100);
            picture = preview.grab().toImage();
        });
        return picture;
    };
    const QImage word = shown("نعم");
    EXPECT_LT(Difference(word, shown("نعم،")).right(), Difference(word, shown(" ")).left());
}

TEST_F(Preview, SavesAPdfUnderTheNameThatThePersonGives) {
    const auto file = station.NativePath("saved.pdf").string();
    Show("Normal.", [&](QWidget& preview) {
        InDialog<QFileDialog>([&](QFileDialog& dialog) {
            dialog.findChild<QLineEdit*>()->setText(QString::fromStdString(station.NativePath("saved").string()));
            dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
        });
        QTest::keyClick(&preview, Qt::Key_S, Qt::ControlModifier);
    });
    EXPECT_NE(RunShell("pdftotext -raw '" + file + "' -").out.find("Referto\nNormal."), std::string::npos);
}

TEST_F(Preview, SuggestsANameOfPatientStudyAndDate) {
    QString suggested;
    Show("Normal.", [&](QWidget& preview) {
        InDialog<QFileDialog>([&](QFileDialog& dialog) {
            suggested = dialog.findChild<QLineEdit*>()->text();
            dialog.reject();
        });
        Press(preview, "&Save as PDF...");
    });
    EXPECT_EQ(suggested, "ROSSI, MARIA - Chest - 2026-11-14.pdf");
}

TEST_F(Preview, APdfThatCannotBeWrittenIsTold) {
    QString told;
    Show("Normal.", [&](QWidget& preview) {
        InDialog<QFileDialog>([&](QFileDialog& dialog) {
            InDialog<QMessageBox>([&](QMessageBox& box) {
                told = box.text();
                box.accept();
            });
            dialog.findChild<QLineEdit*>()->setText("/nowhere/saved.pdf");
            static_cast<QDialog&>(dialog).done(QDialog::Accepted);
        });
        Press(preview, "&Save as PDF...");
    });
    EXPECT_TRUE(told.startsWith("The PDF /nowhere/saved.pdf cannot be written: ")) << told.toStdString();
}

TEST_F(Preview, AWorkstationWithoutAPrinterSaysSo) {
    QString told;
    Show("Normal.", [&](QWidget& preview) {
        InDialog<QMessageBox>([&](QMessageBox& box) {
            told = box.text();
            Picture(box, "no-printer");
            box.accept();
        });
        QTest::keyClick(&preview, Qt::Key_P, Qt::ControlModifier);
    });
    EXPECT_EQ(told, "This workstation has no printer. The report can be saved as a PDF.");
}

} // namespace
} // namespace tavrel::test
