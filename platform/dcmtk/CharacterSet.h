#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// How a text value is divided: the code extensions of ISO 2022 start anew at each delimiter.
enum class TextKind {
    Plain,      ///< ST, LT, UT: one value
    Values,     ///< SH, LO, UC: values divided by "\"
    PersonName, ///< PN: values, component groups "=", components "^"
};

/// A character that cannot stand in a text.
struct Misfit {
    char32_t character;
    std::size_t position; ///< 1-based, counted in characters
    std::size_t offset;   ///< bytes before it
};

struct CodedSet;

/// A Specific Character Set (0008,0005): PS3.3, C.12.1.1.2, PS3.5, 6.1.
class CharacterSet {
public:
    /// `declared` is the element's value, several terms divided by "\"; empty is the default
    /// repertoire (ASCII). Old and sloppy spellings of the terms are understood.
    explicit CharacterSet(std::string_view declared);

    /// The text in UTF-8. Bytes without meaning read as U+FFFD; bytes beyond ASCII in a data set that
    /// declares no set, or one that is not known, as ISO 8859-1, which most of them are.
    std::string Decode(std::string_view bytes, TextKind kind) const;

    /// Whether text beyond ASCII can be encoded. Sets with code extensions (ISO 2022), and the Japanese
    /// ones, are only read.
    bool IsWritable() const;

    /// Encodes a UTF-8 text into `bytes`, composed for the older sets. Answers every character that cannot be, where
    /// it stands in the composed text; with any, `bytes` means nothing. The ideographic and phonetic
    /// forms of a person name that cannot be held are left out when the alphabetic one can.
    std::vector<Misfit> Encode(std::string_view utf8, TextKind kind, std::string& bytes) const;

private:
    std::vector<Misfit> EncodeRun(std::string_view utf8, std::string& bytes) const;
    std::vector<Misfit> EncodeName(std::string_view utf8, std::string& bytes) const;

    std::vector<const CodedSet*> sets_; ///< empty: the default repertoire
};

} // namespace tavrel
