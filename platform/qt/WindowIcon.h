#pragma once

#include <QDir>
#include <QIcon>

namespace tavrel {

/// The icon that the build has put into the program in several sizes; of a program as built, as of one installed.
inline QIcon WindowIcon(const QString& program) {
    QIcon icon;
    const QDir sizes(":/icons/" + program);
    for (const QString& size : sizes.entryList())
        icon.addFile(sizes.filePath(size));
    return icon;
}

} // namespace tavrel
