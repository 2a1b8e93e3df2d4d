// A report program whose image calls call the viewer back before they are answered, as a screen fill
// does.

#include "platform/dbus/DbusAutomation.h"
#include "platform/dbus/DbusViewerLink.h"
#include "platform/error.h"
#include "platform/posix/PosixProcess.h"
#include "tests/platform/dbus/RecordingObject.h"

#include <QCoreApplication>

#include <iostream>

int main(int argumentCount, char** arguments) {
    using namespace tavrel;
    const QCoreApplication application(argumentCount, arguments);
    PosixProcess process(argumentCount, arguments);
    const auto bus = QDBusConnection::sessionBus();
    DbusViewerLink link(bus);
    std::unique_ptr<Viewer> viewer;
    test::Record record;
    record.during = [&](const std::string& call) {
        if (call == "CreateInstance")
            viewer = link.Create();
        if (!call.starts_with("AddImageToSR"))
            return;
        viewer->ClearRefertList();
        viewer->SRFilename(call);
        viewer->ViewPars(record.viewPars);
        viewer->ViewRefertImages();
    };
    test::RecordingFactory factory(record);
    try {
        DbusAutomation automation(bus, factory, process,
                                  {.storing = [] { return false; }, .windowOpen = [] { return false; }});
        return QCoreApplication::exec();
    } catch (const Error& error) {
        std::cerr << error.description << std::endl;
        return 1;
    }
}
