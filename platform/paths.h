#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace tavrel {

/// A path of the system as the program knows it, with the separator "\". Paths are turned where they
/// come in and where they go out, to the system or to a person's eye, nowhere else.
inline std::string InsidePath(std::string native) {
    std::replace(native.begin(), native.end(), '/', '\\');
    return native;
}

/// A path of the program as the system wants it.
inline std::string NativePath(std::string inside) {
    std::replace(inside.begin(), inside.end(), '\\', '/');
    return inside;
}

/// The folder part of a path of the program with its last "\\", or "." when there is none.
inline std::string FolderOf(std::string_view path) {
    const std::size_t separator = path.rfind('\\');
    if (separator == std::string_view::npos)
        return ".";
    const std::size_t start = path.find_first_not_of(' ');
    return std::string(path.substr(start, separator + 1 - start));
}

} // namespace tavrel
