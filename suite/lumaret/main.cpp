// Builds the viewer and runs it.

#include "platform/dbus/BusNames.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/posix/ShellAnswer.h"
#include "platform/posix/StateFolder.h"
#include "platform/qt/ApplicationOnDisplay.h"
#include "platform/qt/DesktopLook.h"
#include "platform/qt/WindowIcon.h"
#include "suite/catalogue/OdbcEntry.h"
#include "suite/lumaret/MainWindow.h"
#include "suite/lumaret/SetupOffer.h"
#include "suite/lumaret/ViewerPlace.h"

#include <QApplication>
#include <QDBusMetaType>
#include <QMessageBox>

namespace {

using Environment = QMap<QString, QString>;

/// The bus starts the editor on the display that it knows, which may be none, or a former session's.
void TellDisplay(const QDBusConnection& bus) {
    qDBusRegisterMetaType<Environment>();
    Environment display;
    for (const char* name : {"DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY"})
        if (qEnvironmentVariableIsSet(name))
            display[name] = qEnvironmentVariable(name);
    bus.send(tavrel::MethodCall(tavrel::MessageBus, "UpdateActivationEnvironment") << QVariant::fromValue(display));
}

} // namespace

int main(int argumentCount, char** arguments) {
    using namespace tavrel;
    if (AnsweredAtShell(argumentCount, arguments, "lumaret", TAVREL_VERSION,
                        "The image viewer of the workstation: shows the studies of the catalogue and opens their\n"
                        "reports. It takes the options of the Qt toolkit besides."))
        return EXIT_SUCCESS;
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); // the toolkit takes it for itself
    const auto application = ApplicationOnDisplay("lumaret", argumentCount, arguments);
    QApplication::setApplicationName("Lumaret"); // no display name: it would stand in every title once more
    QApplication::setDesktopFileName("lumaret");
    QApplication::setWindowIcon(WindowIcon("lumaret"));
    ImageFile::RegisterDecoders();

    QDBusConnection bus = QDBusConnection::sessionBus();
    const DesktopLook look(bus);
    ViewerService service;
    if (bus.isConnected() && !service.Register(bus)) {
        if (!ApplicationInterface::AskToShow(bus, token))
            QMessageBox::information(nullptr, QString(),
                                     QObject::tr("The viewer is open already, and does not answer."));
        return EXIT_SUCCESS;
    }

    CatalogueQuestions catalogue(std::make_shared<OdbcDatabase>());
    TavrelClient tavrel(bus);
    MainWindow window(catalogue, tavrel, service);
    bus.connect(PorvaneService.service, PorvaneService.path, PorvaneService.interface, "OnStore", &window,
                SLOT(ReportStored(QDBusMessage)));
    TellDisplay(bus);
    SetupOffer setup(window, QApplication::applicationDirPath() + "/orbenta-catalogue");
    QObject::connect(&setup, &SetupOffer::Done, &window, &MainWindow::Start);
    const ViewerPlace place(window, QString::fromLocal8Bit(StateFolder() + "/viewer"));
    QObject::connect(&setup, &SetupOffer::Said, &window, &MainWindow::Say);
    window.show();
    // The driver manager, once it has looked for an entry in vain, goes on for a while without looking again.
    if (EntryInForce("DicomFDB").empty()) {
        QObject::connect(&setup, &SetupOffer::NothingToOffer, &window, &MainWindow::Start);
        setup.Look();
    } else {
        QObject::connect(&window, &MainWindow::NothingListed, &setup, &SetupOffer::Look, Qt::SingleShotConnection);
        window.Start();
    }
    return QApplication::exec();
}
