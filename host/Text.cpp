#include "host/Text.h"

#include <algorithm>
#include <array>

namespace tavrel {

std::string Padded(int number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string DateText(const DateTime& date) {
    if (!date.HasDate())
        return {};
    return Padded(date.day, 2) + "/" + Padded(date.month, 2) + "/" + Padded(date.year, 4);
}

std::string TimeText(const DateTime& time) {
    return Padded(time.hour, 2) + ":" + Padded(time.minute, 2) + ":" + Padded(time.second, 2);
}

std::string DateTimeText(const DateTime& dateTime) {
    const bool midnight = dateTime.hour == 0 && dateTime.minute == 0 && dateTime.second == 0;
    return midnight ? DateText(dateTime) : FullDateTimeText(dateTime);
}

std::string FullDateTimeText(const DateTime& dateTime) {
    if (!dateTime.HasDate())
        return {};
    return DateText(dateTime) + " " + TimeText(dateTime);
}

std::string TimeStamp(const Clock& clock) {
    const DateTime now = clock.Now();
    return Padded(now.year, 4) + "." + Padded(now.month, 2) + "." + Padded(now.day, 2) + "." + Padded(now.hour, 2) +
           "." + Padded(now.minute, 2) + "." + Padded(now.second, 2);
}

namespace {

/// In a shape a "0" stands for any digit, every other character for itself.
bool HasShape(std::string_view text, std::string_view shape) {
    const auto fits = [](char character, char wanted) {
        return wanted == '0' ? character >= '0' && character <= '9' : character == wanted;
    };
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(), fits);
}

template <typename Integer> Integer NumberAt(std::string_view text, std::size_t position, std::size_t length) {
    int number = 0;
    for (const char digit : text.substr(position, length))
        number = number * 10 + (digit - '0');
    return static_cast<Integer>(number);
}

} // namespace

std::optional<DateTime> ParseDate(std::string_view text) {
    constexpr std::size_t dateLength = 10;
    const auto day = text.substr(0, dateLength), time = text.substr(day.size());
    const bool yearFirst = HasShape(day, "0000-00-00"), withTime = HasShape(time, " 00:00:00");
    if (!(yearFirst || HasShape(day, "00/00/0000")) || !(withTime || time.empty()))
        return std::nullopt;
    DateTime date;
    date.day = NumberAt<std::int8_t>(text, yearFirst ? 8 : 0, 2);
    date.month = NumberAt<std::int8_t>(text, yearFirst ? 5 : 3, 2);
    date.year = NumberAt<std::int16_t>(text, yearFirst ? 0 : 6, 4);
    if (withTime) {
        date.hour = NumberAt<std::int8_t>(text, 11, 2);
        date.minute = NumberAt<std::int8_t>(text, 14, 2);
        date.second = NumberAt<std::int8_t>(text, 17, 2);
    }
    return IsCalendarDate(date) && IsTimeOfDay(date) ? std::optional(date) : std::nullopt;
}

std::string OneLine(std::string text) {
    std::erase(text, '\r');
    std::ranges::replace(text, '\n', ' ');
    return text;
}

std::string TextOf(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return *text;
    if (const auto* dateTime = std::get_if<DateTime>(&value))
        return DateTimeText(*dateTime);
    if (const auto* number = std::get_if<std::int16_t>(&value))
        return std::to_string(*number);
    return {};
}

std::string TextOf(const DicomDataSet& dataSet, const Attribute& attribute) {
    return TextOf(dataSet.GetValue(attribute));
}

DateTime DateTimeOf(const Value& value) {
    const auto* dateTime = std::get_if<DateTime>(&value);
    return dateTime ? *dateTime : DateTime{};
}

namespace {

/// Characters of three bytes in UTF-8, from the first to the last, or one of them, and what stands for each.
struct Folding {
    constexpr Folding(std::string_view from, std::string_view to, std::string_view form)
        : first(from), last(to), plain(form) {}
    constexpr Folding(std::string_view one, std::string_view form) : Folding(one, one, form) {}

    std::string_view first;
    std::string_view last;
    std::string_view plain;
};

constexpr std::array Foldings = {
    Folding{"\u2000", "\u200A", " "},    // quads, em and en space, thin and hair space
    Folding{"\u200B", "\u200F", ""},     // zero-width space, joiners, direction marks
    Folding{"\u2010", "\u2015", "-"},    // hyphens, figure, en and em dash, bar
    Folding{"\u2018", "\u201B", "'"},    // single quotes
    Folding{"\u201C", "\u201F", "\""},   // double quotes
    Folding{"\u2022", "\u2023", "-"},    // bullets
    Folding{"\u2024", "."},              // one dot leader
    Folding{"\u2025", ".."},             // two dot leader
    Folding{"\u2026", "..."},            // ellipsis
    Folding{"\u2028", "\u2029", "\r\n"}, // line and paragraph separator
    Folding{"\u202A", "\u202E", ""},     // direction embeddings
    Folding{"\u202F", " "},              // narrow no-break space
    Folding{"\u2032", "'"},              // prime
    Folding{"\u2033", "\""},             // double prime
    Folding{"\u2039", "<"},              // single left angle quote
    Folding{"\u203A", ">"},              // single right angle quote
    Folding{"\u2043", "-"},              // hyphen bullet
    Folding{"\u2044", "/"},              // fraction slash
    Folding{"\u205F", " "},              // mathematical space
    Folding{"\u2060", ""},               // word joiner
    Folding{"\u2212", "-"},              // minus
    Folding{"\u25AA", "-"},              // square bullet
    Folding{"\u25CF", "-"},              // round bullet
    Folding{"\u25E6", "-"},              // white bullet
    Folding{"\u3000", " "},              // ideographic space
    Folding{"\uFB00", "ff"},             // ligature ff
    Folding{"\uFB01", "fi"},             // ligature fi
    Folding{"\uFB02", "fl"},             // ligature fl
    Folding{"\uFB03", "ffi"},            // ligature ffi
    Folding{"\uFB04", "ffl"},            // ligature ffl
    Folding{"\uFEFF", ""},               // byte order mark
};

} // namespace

std::string PlainText(std::string_view text) {
    const auto startsThreeBytes = [](char c) { return (static_cast<unsigned char>(c) & 0xF0) == 0xE0; };
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const auto run = static_cast<std::size_t>(std::ranges::find_if(text, startsThreeBytes) - text.begin());
        plain += text.substr(0, run); // no row of the table: nearly every text, whole
        text.remove_prefix(run);
        const std::string_view character = text.substr(0, 3);
        // UTF-8 sorts as its code points do.
        const auto folding = std::ranges::find_if(
            Foldings, [character](const Folding& row) { return row.first <= character && character <= row.last; });
        plain += folding == Foldings.end() ? character : folding->plain;
        text.remove_prefix(character.size());
    }
    return plain;
}

} // namespace tavrel
