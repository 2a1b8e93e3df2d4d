#include "suite/porvane/StoredEvent.h"

#include "platform/dbus/DbusServiceEmitter.h"

namespace tavrel {

void TellStored(DbusServiceEmitter* events, const std::string& calledAe, const StudyTree::Stored& stored) {
    const ObjectHeader& header = stored.header;
    if (events != nullptr && header.IsReport())
        events->OnStore(std::string(InternalAe), calledAe, header.sopClassUid, header.sopInstanceUid, header.seriesUid,
                        stored.path);
}

} // namespace tavrel
