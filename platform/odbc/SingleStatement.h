#pragma once

#include <string_view>

namespace tavrel {

/// Refuses a text that holds more than one statement, or a NUL character, at which a driver would
/// cut it. A semicolon at the end, in a literal, a quoted identifier or a comment is no second one.
///
/// PostgreSQL is the one engine whose driver would run a second statement and no setting stops it,
/// so the text is read by its lexical rules: E'' literals, $tag$ literals, comments within comments.
void RequireSingleStatement(std::string_view text);

} // namespace tavrel
