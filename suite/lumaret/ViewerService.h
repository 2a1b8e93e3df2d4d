#pragma once

#include "platform/viewer.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace tavrel {

/// The viewer's automation object "Lumaret.Viewer" on the session bus.
class ViewerService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "Lumaret.Viewer")
    Q_PROPERTY(QString SRFilename MEMBER srFilename_)
    Q_PROPERTY(QString LUTName MEMBER lutName_)
    Q_PROPERTY(QVariantMap ViewPars MEMBER viewPars_)

public:
    explicit ViewerService(QObject* parent = nullptr) : QObject(parent) {}

    /// Takes the name and shows the object; false when another process has the name.
    bool Register(QDBusConnection bus);

public slots:
    Q_SCRIPTABLE void ViewRefertImages();
    Q_SCRIPTABLE void ClearRefertList();

signals:
    /// The report handed an image over, to be shown as `view` says (no object: as the file says).
    void ImageHanded(const QString& filename, const tavrel::ViewParametersHandle& view, const QString& lutName);
    void ListCleared();

private:
    QString srFilename_;
    QString lutName_;
    QVariantMap viewPars_;
};

} // namespace tavrel
