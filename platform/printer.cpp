#include "platform/printer.h"

#include "platform/error.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tavrel {
namespace {

constexpr std::string_view Between = " - ", Unknown = "Report";
// In bytes: with the other parts, the extension and what is added while the file is written no name has more than 255.
constexpr std::size_t LongestPart = 70;

std::string DayOf(const DateTime& date) {
    if (!date.HasDate())
        return {};
    std::array<char, 32> text{};
    return {text.data(), static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", date.year,
                                                                date.month, date.day))};
}

/// Marks that turn or hide a part of the line, so that a name can be read as another: U+200B to U+200F, U+2028 to
/// U+202E, U+2060 to U+206F, U+FEFF.
bool IsInvisible(std::string_view character) {
    return (character >= "\u200B" && character <= "\u200F") || (character >= "\u2028" && character <= "\u202E") ||
           (character >= "\u2060" && character <= "\u206F") || character == "\uFEFF";
}

/// A part of a file's name: what a file system or a shell takes for something else is a hyphen, blanks are single.
std::string Safe(std::string_view text) {
    constexpr std::string_view meaning = "/\\:*?\"<>|";
    std::string safe;
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(CharacterLength(text), 1);
        const std::string_view character = text.substr(0, length);
        text.remove_prefix(length);
        const auto first = static_cast<unsigned char>(character.front());
        if (length == 1 && (first <= ' ' || first == 0x7F))
            safe += safe.ends_with(' ') ? "" : " ";
        else if (length == 1 && (first >= 0x80 || meaning.find(character.front()) != std::string_view::npos))
            safe += '-';
        else if (!IsInvisible(character))
            safe += character;
    }
    return safe;
}

/// Whole characters of at most so many bytes.
std::string_view Cut(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes)
        return text;
    while (bytes > 0 && IsContinuation(text[bytes]))
        --bytes;
    return text.substr(0, bytes);
}

std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        if (!part.empty())
            text.append(text.empty() ? "" : Between).append(part);
    return text.empty() ? std::string(Unknown) : text;
}

} // namespace

std::string PrintedDocument::Title() const {
    std::string title = Joined({patient, study, DayOf(date), note});
    std::ranges::replace_if(
        title, [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return title;
}

std::string PrintedDocument::FileName() const {
    // No name begins with what hides a file or looks like an option.
    const auto part = [](const std::string& text) {
        return std::string(Trimmed(Cut(Trimmed(Safe(text), " .-"), LongestPart), " .-"));
    };
    return Joined({part(patient), part(study), DayOf(date), part(note)}) + ".pdf";
}

PrintControl& PrintLayout::Control(std::string_view controlName) {
    for (auto& section : sections)
        for (auto& control : section.controls)
            if (control.name == controlName)
                return control;
    throw Error(Fault::NoSuchControl, name, name + " has no control " + std::string(controlName));
}

} // namespace tavrel
