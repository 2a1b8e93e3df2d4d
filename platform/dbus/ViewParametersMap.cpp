#include "platform/dbus/ViewParametersMap.h"

#include <QDBusArgument>
#include <QDBusMetaType>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

Q_DECLARE_METATYPE(tavrel::ViewParameters::Area)

namespace tavrel {

// QtDBus finds these two for the struct "(nnnn)".
static QDBusArgument& operator<<(QDBusArgument& argument, const ViewParameters::Area& area) {
    argument.beginStructure();
    argument << area.left << area.top << area.right << area.bottom;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, ViewParameters::Area& area) {
    argument.beginStructure();
    argument >> area.left >> area.top >> area.right >> area.bottom;
    argument.endStructure();
    return argument;
}

namespace {

using Member = std::variant<float ViewParameters::*, bool ViewParameters::*, std::int32_t ViewParameters::*,
                            ViewParameters::Area ViewParameters::*>;

/// The parameters by their keys, in the order of the image hand-over file.
constexpr std::array<std::pair<const char*, Member>, 14> Parameters{{
    {"Zoom", &ViewParameters::zoom},
    {"FlipHorizontal", &ViewParameters::flipHorizontal},
    {"FlipVertical", &ViewParameters::flipVertical},
    {"DisplayedArea", &ViewParameters::displayedArea},
    {"Inverted", &ViewParameters::inverted},
    {"Smoothed", &ViewParameters::smoothed},
    {"Frame", &ViewParameters::frame},
    {"Rotation", &ViewParameters::rotation},
    {"WindowCenter", &ViewParameters::windowCenter},
    {"WindowWidth", &ViewParameters::windowWidth},
    {"PanX", &ViewParameters::panX},
    {"PanY", &ViewParameters::panY},
    {"Gamma", &ViewParameters::gamma},
    {"Sharpness", &ViewParameters::sharpness},
}};

bool IsNumber(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

// Clients write 2 where they mean 2.0: every number is taken that the field can hold.

void Read(const QVariant& value, float& field) {
    if (!IsNumber(value))
        return;
    const auto number = value.value<double>();
    constexpr double largest = std::numeric_limits<float>::max();
    field = static_cast<float>(std::isfinite(number) ? std::clamp(number, -largest, largest) : number);
}

void Read(const QVariant& value, std::int32_t& field) {
    const double number = IsNumber(value) ? value.value<double>() : std::numeric_limits<double>::quiet_NaN();
    if (number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max())
        field = static_cast<std::int32_t>(number);
}

void Read(const QVariant& value, bool& field) {
    if (value.typeId() == QMetaType::Bool)
        field = value.toBool();
}

void Read(const QVariant& value, ViewParameters::Area& field) {
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() == "(nnnn)")
        argument >> field;
}

QVariant Written(float field) {
    return static_cast<double>(field);
}
QVariant Written(bool field) {
    return field;
}
QVariant Written(std::int32_t field) {
    return field;
}
QVariant Written(const ViewParameters::Area& field) {
    static const auto registered = qDBusRegisterMetaType<ViewParameters::Area>();
    return QVariant(registered, &field);
}

} // namespace

ViewParametersHandle ViewParametersOf(const QVariantMap& map) {
    if (map.isEmpty())
        return nullptr;
    auto parameters = std::make_shared<ViewParameters>();
    for (const auto& [key, member] : Parameters)
        if (const auto value = map.constFind(key); value != map.constEnd())
            std::visit([&](auto field) { Read(*value, (*parameters).*field); }, member);
    return parameters;
}

QVariantMap ViewParametersMap(const ViewParametersHandle& parameters) {
    QVariantMap map;
    if (!parameters)
        return map;
    for (const auto& [key, member] : Parameters)
        map.insert(key, std::visit([&](auto field) { return Written((*parameters).*field); }, member));
    return map;
}

} // namespace tavrel
