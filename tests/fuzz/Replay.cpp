// Feeds an entry with the files of a folder and with seeded changes of each.

#include "tests/fuzz/Entry.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <vector>

namespace {

using namespace std::string_view_literals;

constexpr int ChangesOfEach = 500;

/// What readers stumble over: lengths, delimiters, quotes, escapes, numbers.
constexpr std::array Pieces{"\xFF\xFF\xFF\xFF"sv,
                            "\0\0\0\0"sv,
                            "\0\0\0\x80"sv,
                            "\x7F\xFF"sv,
                            "\xFE\xFF\0\xE0"sv,
                            "\xFE\xFF\xDD\xE0"sv,
                            "\xFE\xFF\x0D\xE0"sv,
                            "SQ"sv,
                            "UN\0\0"sv,
                            "OB"sv,
                            "\xE0\x7F\x10"sv,
                            "\x1B$)C"sv,
                            R"(")"sv,
                            R"("")"sv,
                            ","sv,
                            "\r\n"sv,
                            "#NULL#"sv,
                            "-"sv,
                            "1e99"sv,
                            "nan"sv};

std::string Changed(std::string bytes, std::mt19937& random) {
    const auto below = [&](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
    for (std::size_t change = below(4) + 1; change > 0; --change) {
        const std::size_t at = below(bytes.size());
        const std::string_view piece = Pieces[below(Pieces.size())];
        switch (below(6)) {
        case 0:
            if (!bytes.empty())
                bytes[at] = static_cast<char>(random());
            break;
        case 1:
            bytes.replace(at, std::min(piece.size(), bytes.size() - at), piece);
            break;
        case 2:
            bytes.insert(at, piece);
            break;
        case 3:
            bytes.erase(at, below(40));
            break;
        case 4:
            bytes.resize(at);
            break;
        default:
            bytes.insert(at, bytes.substr(below(bytes.size()), below(200)));
        }
    }
    return bytes;
}

void Feed(const std::string& bytes) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argumentCount, char** arguments) {
    std::mt19937 random{20261115};
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argumentCount > 1 ? arguments[1] : "")) {
        std::cout << entry.path().filename().string() << std::endl; // the last one is the one at fault
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        Feed(bytes);
        for (int change = 0; change < ChangesOfEach; ++change)
            Feed(Changed(bytes, random));
        ++files;
    }
    return files > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
