#include "platform/odbc/OdbcDatabase.h"
#include "platform/qt/Look.h"
#include "suite/lumaret/MainWindow.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char** argv) {
    using namespace tavrel;
    QApplication application(argc, argv);
    QApplication::setApplicationName("Lumaret");
    ImageFile::RegisterDecoders();

    const QDBusConnection bus = QDBusConnection::sessionBus();
    ViewerService service;
    if (!bus.isConnected())
        std::fprintf(stderr, "lumaret: there is no session bus, so no report can be opened\n");
    else if (!service.Register(bus)) {
        std::fprintf(stderr, "lumaret: a viewer is running already\n");
        return 1;
    }

    OdbcDatabase database;
    StudyCatalogue catalogue(database);
    TavrelClient tavrel(bus);
    MainWindow window(catalogue, tavrel, service);
    window.show();
    window.Search();
    return QApplication::exec();
}
