#pragma once

#include "platform/controls.h"

#include <QString>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {

/// Text as the models hold it (UTF-8, lines end with CR LF) as a widget's (UTF-16, LF), and back.
QString ToQt(std::string_view text);
std::string FromQt(QString text);

/// Where these marks of a model's text stand in the widget's: start and length. Neighbours are one.
std::vector<std::pair<int, int>> Stretches(std::string_view text, const std::vector<TextMark>& marks);

} // namespace tavrel
