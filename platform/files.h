#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// Text files and folders. Inside the program the separator is "\", as the catalogue stores paths;
/// this port alone turns it into the system's own. What it makes is readable by its owner only.
class Files {
public:
    virtual ~Files() = default;

    virtual bool Exists(std::string_view path) const = 0;
    /// The names (no folder) in `folder` that end in `extension` (".dcm"), in any letter case, in
    /// ascending byte order. A folder that cannot be read is an error.
    virtual std::vector<std::string> List(std::string_view folder, std::string_view extension) const = 0;

    /// Makes an empty file in `folder` that nobody else has, `name` and `extension`, or `name`-2 and on
    /// where that exists, and answers its path. A missing folder is made.
    virtual std::string CreateNew(std::string_view folder, std::string_view name, std::string_view extension) = 0;
    /// Removes a file; one that is not there, or cannot go, is no error.
    virtual void Remove(std::string_view path) = 0;

    /// A file of more than 64 MB is an error.
    virtual std::string ReadText(std::string_view path) const = 0;
    /// Replaces the contents, whole or not at all.
    virtual void WriteText(std::string_view path, std::string_view text) = 0;
    /// Appends `text` in one piece, so that writers in other processes interleave whole lines only.
    virtual void AppendText(std::string_view path, std::string_view text) = 0;
};

} // namespace tavrel
