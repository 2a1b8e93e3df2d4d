#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tavrel {

/// A file of the installation that the running program is of: "share/orbenta/codes".
std::filesystem::path BesideTheTool(const char* path);

/// "Tavrel.log" or "Logo.bmp", which the editor of this installation has beside its executable, or where a link there
/// leads; nothing where no editor is installed.
std::optional<std::filesystem::path> BesideTheEditor(const char* name);

/// Why the editor logs nothing for the account that asks, and what mends it; nothing where it logs.
std::optional<std::string> WhyNothingIsLogged(const std::filesystem::path& log, const std::string& account);

} // namespace tavrel
