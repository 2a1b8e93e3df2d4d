// Builds the viewer and runs it.

#include "platform/dbus/BusNames.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/qt/ApplicationOnDisplay.h"
#include "platform/qt/DesktopLook.h"
#include "platform/qt/QtBackground.h"
#include "suite/lumaret/MainWindow.h"

#include <QApplication>
#include <QMessageBox>

int main(int argumentCount, char** arguments) {
    using namespace tavrel;
    const auto application = ApplicationOnDisplay("lumaret", argumentCount, arguments);
    QApplication::setApplicationName("Lumaret"); // no display name: it would stand in every title once more
    QApplication::setDesktopFileName("lumaret");
    ImageFile::RegisterDecoders();

    QDBusConnection bus = QDBusConnection::sessionBus();
    const DesktopLook look(*application, bus);
    ViewerService service;
    if (bus.isConnected() && !service.Register(bus)) {
        QMessageBox::information(nullptr, QString(), QObject::tr("The viewer is open already."));
        return EXIT_SUCCESS;
    }

    QtBackground background;
    OdbcDatabase database({.meanwhile = &background});
    StudyCatalogue catalogue(database);
    TavrelClient tavrel(bus);
    MainWindow window(catalogue, tavrel, service);
    bus.connect(PorvaneService.service, PorvaneService.path, PorvaneService.interface, "OnStore", &window,
                SLOT(ReportStored()));
    window.show();
    window.Start();
    return QApplication::exec();
}
