#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// Writes a file whole or not at all: beside its place, synced, then moved there. Owner only. The
/// path is native; an existing file is replaced.
void WriteWholeFile(const std::string& path, std::string_view bytes);

/// Writes `folder`/`name`.dcm in the same way, or `name`-2.dcm and on when that exists, and answers
/// the path. The folder is made, owner only, when it is missing.
std::string WriteNewFile(const std::string& folder, const std::string& name, std::string_view bytes);

} // namespace tavrel
