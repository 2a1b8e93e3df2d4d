#include "platform/qt/FontSettings.h"

#include <fontconfig/fontconfig.h>

namespace tavrel {

void ReadFontSettings() {
    FcInit(); // The windows' toolkit asks for the same.
}

} // namespace tavrel
