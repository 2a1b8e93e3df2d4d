#pragma once

#include "suite/porvane/ObjectCatalogue.h"

#include <filesystem>
#include <string>

/// What is done to the files and folders of the study tree. Paths are native. Failures are StoreRefusals.
namespace tavrel {

[[noreturn]] void Refuse(const std::string& what, int number);

std::filesystem::path NativeFolder(const ObjectPlace& place);
std::filesystem::path NativeFile(const ObjectPlace& place);

/// The name in a series' folder of what was received under the name `incoming`: no other object of any service has it.
std::string UniqueName(const std::filesystem::path& incoming);
/// The name of a report's version, by which all workstations know the order of a report's versions.
std::string VersionName(int number);

/// Makes the folders of a place which are missing. They need not be durable yet.
void MakeFolders(const ObjectPlace& place);
/// Makes durable what lies in a series' folder, with the names of that folder and of its study's. Folders that have
/// gone are passed over: then that is durable.
void SyncFolders(const std::filesystem::path& seriesFolder);
/// Removes a series' folder and its study's where nothing is in them any more.
void RemoveEmptyFolders(const std::filesystem::path& seriesFolder);
/// Makes the names in `folder` durable.
void KeepNames(const std::filesystem::path& folder);

enum class Linked { Done, NameTaken, FolderGone, OtherDisk };
/// Gives the file `from` the name `to`, too. Never replaces anything.
Linked Link(const std::filesystem::path& from, const std::filesystem::path& to);
/// Copies the file `from` to `to`, durably but for its name; what was there is replaced.
void Copy(const std::filesystem::path& from, const std::filesystem::path& to);
/// Whether two names are those of one file.
bool AreOneFile(const std::filesystem::path& one, const std::filesystem::path& other);
bool AreOnOneDisk(const std::filesystem::path& one, const std::filesystem::path& other);
/// Whether a file has no other name.
bool HasOneName(const std::filesystem::path& file);

/// A note tells where an object is about to go: a symbolic link, whose text is that place.
void LeaveNote(const std::filesystem::path& note, const ObjectPlace& place);
ObjectPlace ReadNote(const std::filesystem::path& note);

} // namespace tavrel
