#include "suite/lumaret/ScreenText.h"

#include "platform/person_name.h"

namespace tavrel {

QString InCatalogue(QString text) {
    return text.replace('\'', '`');
}

QString NameOnScreen(const QString& name) {
    // The catalogue keeps no apostrophe.
    return QString::fromStdString(WrittenName(name.toStdString())).replace('`', '\'').simplified();
}

QString PatientOnScreen(const QString& name, const QString& id) {
    return QString("%1 (%2)").arg(NameOnScreen(name), id);
}

QString DateOnScreen(const QString& date) {
    if (date.size() != 8)
        return date;
    return date.mid(6, 2) + '/' + date.mid(4, 2) + '/' + date.left(4);
}

} // namespace tavrel
