#pragma once

#include "suite/lumaret/ReportImage.h"

#include "InterfaceTexts.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace tavrel {

/// The viewer's automation object "Lumaret.Viewer" on the session bus: a report sets the three
/// properties and has the image shown.
class ViewerService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "Lumaret.Viewer")
    Q_CLASSINFO("D-Bus Introspection", LUMARET_VIEWER_INTERFACE)
    Q_PROPERTY(QString SRFilename MEMBER srFilename_)
    Q_PROPERTY(QString LUTName MEMBER lutName_)
    Q_PROPERTY(QVariantMap ViewPars READ ViewPars WRITE ViewPars)

public:
    explicit ViewerService(QObject* parent = nullptr);

    /// Takes the name and shows the object; false when another process has the name.
    bool Register(QDBusConnection bus);

public slots:
    Q_SCRIPTABLE void ViewRefertImages();
    Q_SCRIPTABLE void ClearRefertList();

signals:
    /// A report hands an image over, to be shown.
    void ImageHanded(const tavrel::ReportImage& image);
    /// What a report handed over is no image; why, in plain words.
    void Refused(const QString& words);
    void ListCleared();
    /// Another start of the program asks for the window.
    void Activated();

private:
    QVariantMap ViewPars() const;
    void ViewPars(const QVariantMap& parameters);

    QString srFilename_;
    QString lutName_;
    ViewParametersHandle viewPars_;
};

/// "org.freedesktop.Application" of the viewer: it runs once, and a further start has the first show itself.
class ApplicationInterface : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationInterface(ViewerService& service) : QDBusAbstractAdaptor(&service), service_(service) {}

    /// Has the viewer that runs show itself, with what the desktop gave this start to allow it; false when it does not
    /// answer.
    static bool AskToShow(const QDBusConnection& bus, const QString& token);

public slots:
    void Activate(const QVariantMap& platformData);
    /// It opens no files: that of which it shows images is the catalogue's.
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);

private:
    ViewerService& service_;
};

} // namespace tavrel
