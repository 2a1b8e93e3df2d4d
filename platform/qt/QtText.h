#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace tavrel {

/// Text as the models hold it (UTF-8, lines end with CR LF) as a widget's (UTF-16, LF), and back.
QString ToQt(std::string_view text);
std::string FromQt(QString text);

} // namespace tavrel
