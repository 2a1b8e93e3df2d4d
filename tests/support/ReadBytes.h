#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tavrel {

/// What a file holds; nothing where there is none.
inline std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace tavrel
