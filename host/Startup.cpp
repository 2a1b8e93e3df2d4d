#include "host/Startup.h"

#include "host/ErrorReport.h"
#include "host/Log.h"

namespace tavrel {

void Main(Global& global) {
    if (!global.ports.process.StartedByAutomation())
        Init(global);
}

namespace {

void StartUp(Global& global) {
    WriteLog(global, "Entering main");
    if (!global.catalogue)
        global.catalogue = global.ports.database.NewConnection();
    const auto site = Catalogue(global).OpenResultSet("SELECT * FROM SiteData");
    global.baseUid = site->Text("BaseUID");
    global.organization = site->Text("Organization");
    global.reportForm = ReportFormOf(*site);
    site->Close();
    global.userInformation = global.ports.newUserInformation();
}

} // namespace

void Init(Global& global) {
    if (!TrapShort(global.ports.windows, "Quendor.Init: ", [&] { StartUp(global); }))
        global.ports.process.Fail();
}

} // namespace tavrel
