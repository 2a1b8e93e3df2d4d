#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/edits.h>

namespace tavrel {

/// Conversion of text between two encodings of the C library's iconv, by their names there.
/// Converters are opened once a thread and kept.
std::optional<std::string> ConvertText(std::string_view bytes, const char* from, const char* to);

/// As ConvertText to UTF-8, with U+FFFD for what `from` does not know.
std::string ConvertTextToUtf8(std::string_view bytes, const char* from);

/// The composed form (NFC) of a UTF-8 text: one character for a letter with its accents where
/// there is one, as the older character sets know it.
class ComposedText {
public:
    explicit ComposedText(std::string_view utf8);
    const std::string& Text() const { return text_; }
    /// Where in the text that was given the characters stand that begin here, in rising order, in the
    /// composed one: those that were composed together, at the first of them.
    std::vector<std::size_t> SourceOffsets(std::vector<std::size_t> offsets) const;

private:
    std::string text_;
    icu::Edits changes_;
};

/// Whether this character is drawn on the one before it: an accent, a vowel sign.
bool IsMark(char32_t character);

/// The next character of a UTF-8 text, taken from its front; U+FFFD for a malformed byte.
char32_t TakeCharacter(std::string_view& utf8);

} // namespace tavrel
