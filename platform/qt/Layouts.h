#pragma once

#include <functional>
#include <map>
#include <string>

class QWidget;

namespace tavrel {

/// How each form is laid out, by the form's name: fills an empty window with the form's widgets. A
/// widget that mirrors a control bears the control's name; the name of a widget that only decorates
/// begins with "caption" or "pane".
using Layouts = std::map<std::string, std::function<void(QWidget&)>, std::less<>>;

/// The layouts that Qt Designer keeps in `forms/`.
const Layouts& DesignedLayouts();

} // namespace tavrel
