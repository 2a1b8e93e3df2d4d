#pragma once

#include <QDir>
#include <QIcon>
#include <QImageReader>

namespace tavrel {

/// Read as what it is: who looks what a picture may be loads the readers of all kinds.
inline QImage Png(const QString& path) {
    QImageReader reader(path, "png");
    reader.setAutoDetectImageFormat(false);
    return reader.read();
}

/// The icon that the build has put into the program in several sizes; of a program as built, as of one installed.
inline QIcon WindowIcon(const QString& program) {
    QIcon icon;
    const QDir sizes(":/icons/" + program);
    for (const QString& size : sizes.entryList())
        icon.addPixmap(QPixmap::fromImage(Png(sizes.filePath(size))));
    return icon;
}

} // namespace tavrel
