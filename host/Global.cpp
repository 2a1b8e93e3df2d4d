#include "host/Global.h"

#include "platform/error.h"

namespace tavrel {

Connection& Catalogue(const Global& global) {
    if (!global.catalogue)
        throw Error(Fault::Missing, "Tavrel", "The catalogue has not been opened");
    return *global.catalogue;
}

DcmSRDocument& CurrentDocument(const Global& global) {
    if (!global.report.document)
        throw Error(Fault::Missing, "Tavrel", "No report is open");
    return *global.report.document;
}

} // namespace tavrel
