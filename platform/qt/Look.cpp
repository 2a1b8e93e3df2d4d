#include "platform/qt/Look.h"

#include "platform/qt/HouseStyle.h"

#include <QApplication>
#include <QFont>

#include <memory>

namespace tavrel {

void Dress(Scheme scheme) {
    if (const auto* worn = qobject_cast<const HouseStyle*>(QApplication::style()); worn && worn->DressesIn() == scheme)
        return;
    static const QFont desktopFont = QApplication::font();
    QFont font = desktopFont;
    QFont::insertSubstitution("MS Sans Serif", desktopFont.family());
    font.setFamily("MS Sans Serif");
    QApplication::setFont(font);
    auto style = std::make_unique<HouseStyle>(scheme);
    QApplication::setPalette(style->standardPalette());
    QApplication::setStyle(style.release()); // the application owns it
}

} // namespace tavrel
