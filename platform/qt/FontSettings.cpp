#include "platform/qt/FontSettings.h"

#include <QFontDatabase>

#include <fontconfig/fontconfig.h>

namespace tavrel {

void ReadFontSettings() {
    FcInit(); // The windows' toolkit asks for the same.
}

void ReadFonts() {
    QFontDatabase::hasFamily("Sans"); // Whatever is asked for, the toolkit reads all first.
}

} // namespace tavrel
