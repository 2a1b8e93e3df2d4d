#pragma once

#include <QString>

#include <utility>
#include <vector>

namespace tavrel {

/// Where `words` stand in a text, start and length of each, one behind the other. Capitals are small letters, and an
/// accented letter is the plain one, in the words as in the text: neither is at hand on every keyboard.
std::vector<std::pair<int, int>> Occurrences(const QString& text, const QString& words);

} // namespace tavrel
