#include "host/Global.h"

#include "platform/error.h"

namespace tavrel {

Connection& Catalogue(const Global& global) {
    if (!global.catalogue)
        throw Error(Fault::Missing, "Tavrel", "The catalogue has not been opened");
    if (!global.catalogue->IsOpen())
        global.catalogue->Open(CatalogueConnectionText);
    return *global.catalogue;
}

DcmSRDocument& CurrentDocument(const Global& global) {
    if (!global.report->document)
        throw Error(Fault::Missing, "Tavrel", "No report is open");
    return *global.report->document;
}

OpenedReport& StartReport(Global& global, std::string_view studyUid, std::shared_ptr<DcmSRDocument> document) {
    auto next = std::make_shared<OpenedReport>();
    if (global.report->studyUid == studyUid)
        *next = *global.report;
    next->studyUid = studyUid;
    next->seriesUid = global.report->seriesUid;
    next->document = std::move(document);
    global.report = std::move(next);
    return *global.report;
}

} // namespace tavrel
