#include "suite/porvane/ServiceLog.h"

#include "platform/text.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace tavrel {
namespace {

constexpr std::size_t LongestMessage = 1000;

/// Control characters, those of the upper half too, ends of lines and turns of the writing direction.
bool MovesTheCursor(std::string_view character) {
    constexpr std::array turns = {std::pair("\u200E", "\u200F"), std::pair("\u2028", "\u202E"),
                                  std::pair("\u2066", "\u2069")};
    return character < " " || character == "\x7F" || (character >= "\u0080" && character < "\u00A0") ||
           std::ranges::any_of(
               turns, [character](const auto& range) { return character >= range.first && character <= range.second; });
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const auto character = text.substr(0, std::max<std::size_t>(length, 1));
        if (length > 0 && !MovesTheCursor(character))
            escaped += character;
        else
            for (const char byte : character) {
                std::array<char, 8> code{};
                std::snprintf(code.data(), code.size(), "\\x%02X",
                              static_cast<unsigned>(static_cast<unsigned char>(byte)));
                escaped += code.data();
            }
        text.remove_prefix(character.size());
    }
    return escaped;
}

void Write(std::string_view message) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> stamp{};
    const auto length = std::strftime(stamp.data(), stamp.size(), "%d/%m/%Y %H:%M:%S", &local);
    std::string text = Escaped(message);
    if (text.size() > LongestMessage)
        text = text.substr(0, LongestMessage) + "...";
    const std::string line = std::string(stamp.data(), length) + " porvane: " + text + "\n";
    // One write keeps lines whole; a log that cannot be written must not stop the storing.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

/// Senders can make the service speak as often as they like.
class Flood {
public:
    void Say(std::string_view message) {
        const std::lock_guard guard(mutex_);
        if (const auto now = std::chrono::steady_clock::now(); now - begun_ >= Span) {
            if (leftOut_ > 0)
                Write(std::to_string(leftOut_) + " lines were left out here");
            begun_ = now;
            said_ = leftOut_ = 0;
        }
        if (++said_ <= MostLines)
            Write(message);
        else
            ++leftOut_;
    }

private:
    static constexpr std::chrono::seconds Span{10};
    static constexpr int MostLines = 200;

    std::mutex mutex_;
    std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
    int said_ = 0;
    int leftOut_ = 0;
};

} // namespace

void LogLine(std::string_view message) {
    static Flood flood;
    flood.Say(message);
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

} // namespace tavrel
