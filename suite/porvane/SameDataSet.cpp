#include "suite/porvane/SameDataSet.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string_view>

namespace tavrel {
namespace {

/// Opens a file at its data set. The meta information starts with its own length: after 128 bytes and
/// "DICM" comes (0002,0000) UL (PS3.10, 7.1).
std::ifstream AtDataSet(const std::filesystem::path& path) {
    constexpr std::string_view lengthElement("\x02\0\0\0UL\x04\0", 8);
    constexpr std::size_t lengthAt = 132;
    std::array<char, lengthAt + 12> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), start.size());
    if (std::string_view(start.data() + lengthAt, lengthElement.size()) != lengthElement)
        file.setstate(std::ios::failbit);
    std::uint32_t length = 0;
    for (std::size_t at = start.size(); at-- > lengthAt + lengthElement.size();)
        length = (length << 8U) | static_cast<unsigned char>(start[at]);
    file.seekg(length, std::ios::cur);
    return file;
}

} // namespace

bool SameDataSet(const std::filesystem::path& one, const std::filesystem::path& other) {
    std::ifstream left = AtDataSet(one);
    std::ifstream right = AtDataSet(other);
    std::array<char, 65536> leftBytes;
    std::array<char, 65536> rightBytes;
    bool same = left.good() && right.good();
    while (same && left) {
        left.read(leftBytes.data(), leftBytes.size());
        right.read(rightBytes.data(), rightBytes.size());
        same = left.gcount() == right.gcount() &&
               std::equal(leftBytes.begin(), leftBytes.begin() + left.gcount(), rightBytes.begin());
    }
    return same;
}

} // namespace tavrel
