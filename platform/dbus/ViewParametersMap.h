#pragma once

#include "platform/viewer.h"

#include <QVariantMap>

namespace tavrel {

/// View parameters as they cross the bus (a{sv}): one key a parameter, and an empty map for no object.

/// Unknown keys and values of a wrong type are ignored; what is missing has its neutral value.
ViewParametersHandle ViewParametersOf(const QVariantMap& map);

QVariantMap ViewParametersMap(const ViewParametersHandle& parameters);

} // namespace tavrel
