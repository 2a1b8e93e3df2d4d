#pragma once

#include <string>

namespace tavrel {

/// The native path of the folder of the program's lasting data of this user (XDG base directories:
/// "$XDG_STATE_HOME/tavrel", by default below "~/.local/state"). It need not exist.
std::string StateFolder();

} // namespace tavrel
