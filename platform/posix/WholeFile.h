#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>

/// How a file gets to the disk. Paths are native.
namespace tavrel {

constexpr mode_t OwnerOnly = S_IRUSR | S_IWUSR;

/// Writes a file whole or not at all: beside its place, synced, then moved there, and the folder
/// synced. For whom `AccessBelow` says; an existing file is replaced. A failure is an Error of the source "Files"
/// with the path and the system's reason; its number is errno.
void WriteWholeFile(const std::string& path, std::string_view bytes);
/// The same for its owner alone, wherever it is.
void WriteSecretFile(const std::string& path, std::string_view bytes);

/// Writes all of `bytes`; false leaves the reason in errno.
bool WriteAll(int descriptor, std::string_view bytes);

/// Makes a folder that is missing, and those above it. Each has its name on the disk before anything is in it: a file
/// lasts no longer than the folders that lead to it. They are for whom `AccessBelow` says. One that does not reach the
/// disk is an Error as above; one that cannot be made is left to whoever then wants something in it.
void MakeLastingFolder(const std::filesystem::path& folder);

/// Makes the names in a folder durable; false leaves the reason in errno. A file system that knows
/// no such thing (EINVAL) keeps them in its own way.
bool SyncFolder(const std::string& folder);

} // namespace tavrel
