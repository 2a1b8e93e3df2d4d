#pragma once

#include <string_view>

namespace tavrel::test {

/// Lets the storage service answer what one sender of this account sends, from its request for an association to its
/// end: no thread, no waiting, a catalogue that knows nothing and takes no image. Ends the process when an answer is
/// no unit of the protocol, or when a value of the sender's leaves its place in a statement.
void Converse(std::string_view sent);

} // namespace tavrel::test
