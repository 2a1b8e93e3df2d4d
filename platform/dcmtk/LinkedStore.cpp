#include "platform/dcmtk/Toolkit.h"

namespace tavrel {

StoreFunction& TheStore() {
    return TavrelStore;
}

} // namespace tavrel
