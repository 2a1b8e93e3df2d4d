#pragma once

#include <algorithm>
#include <string>

namespace tavrel {

/// A path of the system as the program knows it, with the separator "\". For adapters: paths are
/// turned where they come in and where they go out, nowhere else.
inline std::string InsidePath(std::string native) {
    std::replace(native.begin(), native.end(), '/', '\\');
    return native;
}

/// A path of the program as the system wants it.
inline std::string NativePath(std::string inside) {
    std::replace(inside.begin(), inside.end(), '\\', '/');
    return inside;
}

} // namespace tavrel
