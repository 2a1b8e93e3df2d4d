// Builds the adapters, hands them to the rooms, runs.

#include "codes/frmBase.h"
#include "editor/frmReport.h"
#include "host/Global.h"
#include "host/Startup.h"
#include "host/automation/CTavrel.h"
#include "host/chooser/frmSRSeriesChoice.h"
#include "platform/dbus/BusNames.h"
#include "platform/dbus/DbusAutomation.h"
#include "platform/dbus/DbusOpenReport.h"
#include "platform/dbus/DbusServiceEvents.h"
#include "platform/dbus/DbusViewerLink.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/error.h"
#include "platform/hunspell/HunspellDictionaries.h"
#include "platform/icu/IcuLetters.h"
#include "platform/odbc/OdbcConnection.h"
#include "platform/odbc/OdbcDatabase.h"
#include "platform/odbc/OdbcReportWatch.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixProcess.h"
#include "platform/posix/PosixUserInformation.h"
#include "platform/posix/ShellAnswer.h"
#include "platform/posix/StateFolder.h"
#include "platform/posix/SystemClock.h"
#include "platform/qt/ApplicationOnDisplay.h"
#include "platform/qt/DesktopLook.h"
#include "platform/qt/FontSettings.h"
#include "platform/qt/FormWindow.h"
#include "platform/qt/ProcessWindows.h"
#include "platform/qt/QtBackground.h"
#include "platform/qt/QtDictation.h"
#include "platform/qt/QtReportPrinter.h"
#include "platform/qt/QtTimer.h"
#include "platform/qt/QtWindows.h"
#include "platform/qt/WindowIcon.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <malloc.h>
#include <optional>
#include <thread>

using namespace tavrel;

namespace {

constexpr std::chrono::seconds ConnectionAhead{5}; // a program that is started by a call is called at once

/// Where the viewer's window lies; an empty place if that is not known.
QRect ViewerOnScreen(const QDBusConnection& bus) {
    const auto* daemon = bus.interface();
    if (!daemon)
        return {};
    const QDBusReply<uint> process = daemon->servicePid(LumaretViewer.service);
    return process.isValid() ? LargestWindowOf(process) : QRect();
}

int Run(PosixProcess& process) {
    const auto bus = QDBusConnection::sessionBus();
    const WindowPlaces places(QString::fromLocal8Bit(StateFolder() + "/windows"), [&] { return ViewerOnScreen(bus); });
    QtWindows windows(DesignedLayouts(), places);
    QtBackground background;
    DbusServiceEvents serviceEvents(bus);
    DbusViewerLink viewers(bus);
    DcmtkLibrary dicom(background, serviceEvents);
    const OdbcPatience patience{.meanwhile = &background};
    OdbcDatabase database(patience);
    PosixFiles files;
    SystemClock clock;
    IcuLetters letters;
    const auto soon = [](std::function<void()> act) {
        QMetaObject::invokeMethod(qApp, std::move(act), Qt::QueuedConnection);
    };
    HunspellDictionaries dictionaries(soon);
    QtDictation dictation;
    Global global({dicom, database, windows, files, process, std::make_unique<PosixUserInformation>, clock, letters,
                   &dictionaries, &dictation});

    // Its driver is loaded while the bus is asked; who needs it first opens it.
    auto catalogue = std::make_unique<OdbcConnection>(patience);
    catalogue->OpenAhead(CatalogueConnectionText);
    // A program that the viewer has started ahead may wait for hours, and its server end the connection.
    QTimer::singleShot(ConnectionAhead, [&connection = *catalogue] { connection.LeaveAhead(); });
    global.catalogue = std::move(catalogue);

    frmBase codeTables(global);
    QtReportPrinter printer(windows);
    QtTimer draftTimer;
    OdbcReportWatch reportWatch(std::string(CatalogueConnectionText), soon);
    std::optional<frmReport> editor; // the chooser's New is the editor's, which holds the chooser
    frmSRSeriesChoice chooser(global, [&] { editor->cmdNew_Click(); });
    editor.emplace(global, serviceEvents, chooser, codeTables, printer, draftTimer, reportWatch);

    Main(global);
    if (!process.StartedByAutomation())
        return EXIT_SUCCESS;

    CTavrelFactory factory(global, viewers, chooser, *editor);
    const DbusOpenReport openReport(bus, [&] {
        const auto* window = windows.WindowOf(*editor);
        return window && window->isVisible() ? editor->ShownStudyUid() : std::string();
    });
    DbusAutomation automation(bus, factory, process,
                              {.storing = [&] { return background.Running() || serviceEvents.Awaiting(); },
                               .windowOpen = [&] { return windows.AnyWindowOpen(); }});
    // While the viewer hears that there is somebody to call.
    soon([&] { windows.Make(*editor); });
    process.AtEnd([&] { automation.Leave(); });
    QApplication::exec();
    editor->Leave();
    process.End(); // the desktop asked to quit: windows are still open, so nothing is taken apart
    return EXIT_SUCCESS;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (AnsweredAtShell(argumentCount, arguments, "tavrel", TAVREL_VERSION,
                        "The report editor of the workstation. Nobody starts it by hand: the image viewer creates its\n"
                        "object on the session bus, which starts the program. By itself it runs the start-up alone."))
        return EXIT_SUCCESS;
    mallopt(M_ARENA_MAX, 1); // or each of the few threads would keep a heap of its own
    PosixProcess process(argumentCount, arguments);
    QThread::currentThread(); // the first thread that the toolkit meets is the windows' one to it
    const std::jthread connecting([] {
        QDBusConnection::sessionBus(); // and with it the bus's libraries
        ReadFontSettings();
    });
    int nameOnly = 1; // no option directs its work, not even one of the toolkit's
    const auto application = ApplicationOnDisplay("tavrel", nameOnly, arguments);
    std::setlocale(LC_NUMERIC, "C"); // numbers in files and statements have a point in every country
    const std::jthread reading(ReadFonts);
    const DesktopLook look;
    QApplication::setApplicationName("Tavrel"); // titles the message boxes that have no title of their own
    QApplication::setDesktopFileName("tavrel");
    QApplication::setWindowIcon(WindowIcon("tavrel"));
    try {
        return Run(process);
    } catch (const Error& error) {
        std::cerr << "tavrel: " << error.description << std::endl;
        return EXIT_FAILURE;
    }
}
