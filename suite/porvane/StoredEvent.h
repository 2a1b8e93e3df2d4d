#pragma once

#include "suite/porvane/StudyTree.h"

#include <string>
#include <string_view>

namespace tavrel {

class DbusServiceEmitter;

/// The title under which the report editor of this workstation sends.
inline constexpr std::string_view InternalAe = "AE_INTERNAL";

/// Tells that something which the report editor made is stored now. Only a report moves the place that the editor
/// knows it by, so nothing else is told; nor is anything without a session bus (`events` null).
void TellStored(DbusServiceEmitter* events, const std::string& calledAe, const StudyTree::Stored& stored);

} // namespace tavrel
