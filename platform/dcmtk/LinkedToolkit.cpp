#include "platform/dcmtk/Toolkit.h"

namespace tavrel {

const Toolkit& TheToolkit() {
    return *TavrelToolkit();
}

void HoldToolkit() {
    TavrelToolkit(); // whose remarks are silenced from now on
}

} // namespace tavrel
