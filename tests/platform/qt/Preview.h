#pragma once

#include "platform/qt/QtReportPrinter.h"
#include "platform/qt/QtWindows.h"
#include "tests/platform/qt/PdfStation.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace tavrel::test {

/// The real preview of a report, and the person in front of it.
class Preview : public testing::Test {
protected:
    /// Prints a report with this reading; the person does `act` in the preview and leaves it.
    void Show(const std::string& reading, std::function<void(QWidget&)> act) {
        bool acted = false;
        InDialog<QWidget>([&](QWidget& preview) {
            act(preview);
            acted = true;
            QTest::keyClick(&preview, Qt::Key_Escape);
        });
        editor.LoadDocs();
        editor.txtReportAnnotation.Text(reading);
        editor.cmdPrint.Press();
        EXPECT_TRUE(acted);
        EXPECT_EQ(station.windows.Texts(), Texts{});
    }
    /// What the person does in the dialog that comes up next, once it takes keys.
    template <typename Dialog> void InDialog(std::function<void(Dialog&)> act) {
        auto* wait = new QTimer(qApp);
        QObject::connect(wait, &QTimer::timeout, [wait, act] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            if (dialog && dialog->isActiveWindow()) {
                wait->stop();
                wait->deleteLater();
                act(*dialog);
            }
        });
        wait->start(20);
    }
    static QPushButton& ButtonCalled(const QWidget& preview, const QString& caption) {
        for (auto* button : preview.findChildren<QPushButton*>())
            if (button->text() == caption)
                return *button;
        throw std::runtime_error("There is no button " + caption.toStdString());
    }
    static std::string Position(const QWidget& preview) { return preview.findChild<QLabel*>()->text().toStdString(); }
    static void Press(QWidget& preview, const QString& caption) {
        QTest::mouseClick(&ButtonCalled(preview, caption), Qt::LeftButton);
    }
    static void Picture(QWidget& preview, const char* name) {
        QTest::qWait(100);
        preview.grab().save(QString(PAGES_FOLDER "/preview-%1.png").arg(name));
    }

    PrintingStation station;
    QtWindows windows;
    QtReportPrinter printer{windows};
    frmReport editor{station.global, station.serviceEvents, station.chooser,    station.codeTables,
                     printer,        station.draftTimer,    station.reportWatch};
    const std::string threePages = Repeated("x\r\n", 80);
};

} // namespace tavrel::test
