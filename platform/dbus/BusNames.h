#pragma once

#include <QDBusMessage>

namespace tavrel {

/// An object on the session bus that other programs call: the name of its process, its path and its
/// interface. The introspection files and the registrations of the programs say the same.
struct BusObject {
    const char* service;
    const char* path;
    const char* interface;
};

/// The objects that it makes lie below it.
inline constexpr BusObject TavrelFactory{"Tavrel.CTavrel", "/Tavrel/CTavrel", "Tavrel.ClassFactory"};
inline constexpr auto TavrelObjectInterface = "Tavrel.CTavrel";
/// Tells of which study a report is open.
inline constexpr BusObject TavrelReport{"Tavrel.CTavrel", "/Tavrel/Report", "Tavrel.Report"};
inline constexpr auto StudyOfReport = "StudyInstanceUID"; ///< its one property
inline constexpr BusObject LumaretViewer{"Lumaret.Viewer", "/Lumaret/Viewer", "Lumaret.Viewer"};
/// What the desktop's own interface for a program asks of it.
inline constexpr BusObject LumaretApplication{"Lumaret.Viewer", "/Lumaret/Viewer", "org.freedesktop.Application"};
inline constexpr BusObject PorvaneService{"Porvane.Service", "/Porvane/Service", "Porvane.Service"};

/// The bus itself.
inline constexpr BusObject MessageBus{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};

inline constexpr auto PropertiesInterface = "org.freedesktop.DBus.Properties";

inline QDBusMessage MethodCall(const BusObject& object, const QString& method) {
    return QDBusMessage::createMethodCall(object.service, object.path, object.interface, method);
}

} // namespace tavrel
