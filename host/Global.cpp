#include "host/Global.h"

#include "platform/error.h"

namespace tavrel {

Connection& Catalogue(const Global& global) {
    if (!global.catalogue)
        throw Error(91, "Tavrel", "The catalogue has not been opened");
    return *global.catalogue;
}

DcmSRDocument& CurrentDocument(const Global& global) {
    if (!global.currentDocument)
        throw Error(91, "Tavrel", "No report is open");
    return *global.currentDocument;
}

} // namespace tavrel
