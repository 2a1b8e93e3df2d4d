#include "host/PlainForm.h"

#include "host/Text.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace tavrel {
namespace {

/// How a plain form is kept apart from what stands before it.
enum class Joint {
    None,
    Raised,  ///< "10⁴" must not become "104"
    Lowered, ///< nor "log2₁₀" "log210"
    Number,  ///< nor "2⅓" "21/3"
};

struct Plain {
    std::string_view character;
    std::string_view form;
    Joint joint = Joint::None;
};

constexpr std::array Plains = {
    Plain{"≥", ">="},
    Plain{"≤", "<="},
    Plain{"≧", ">="},
    Plain{"≦", "<="},
    Plain{"⩾", ">="},
    Plain{"⩽", "<="},
    Plain{"≠", "<>"},
    Plain{"≈", "~"},
    Plain{"≅", "~"},
    Plain{"≃", "~"},
    Plain{"∼", "~"},
    Plain{"≪", "<<"},
    Plain{"≫", ">>"},
    Plain{"∗", "*"},
    Plain{"∕", "/"},
    Plain{"∙", "·"},
    Plain{"⋅", "·"},
    Plain{"∓", "-/+"},
    Plain{"→", "->"},
    Plain{"←", "<-"},
    Plain{"↔", "<->"},
    Plain{"⇒", "=>"},
    Plain{"⇔", "<=>"},
    Plain{"⟶", "->"},
    Plain{"⟵", "<-"},
    Plain{"∞", "infinity"},
    Plain{"√", "sqrt"},
    Plain{"∑", "sum"},
    Plain{"\u2206", "Delta"},
    Plain{"⌀", "Ø"},
    Plain{"∅", "Ø"},
    Plain{"℃", "°C"},
    Plain{"℉", "°F"},
    Plain{"\u2126", "Ohm"},
    Plain{"ℓ", "l"},
    Plain{"№", "No."},
    Plain{"‰", " per mille"},
    Plain{"€", "EUR"},
    Plain{"™", "(TM)"},
    Plain{"†", "+"},
    Plain{"ˆ", "^"},
    Plain{"˜", "~"},
    Plain{"■", "-"},
    Plain{"□", "-"},
    Plain{"○", "-"},
    Plain{"．", "."},

    // μ is what many keyboards write for the micro of units, which Latin-1 has.
    Plain{"μ", "µ"},
    Plain{"α", "alpha"},
    Plain{"β", "beta"},
    Plain{"γ", "gamma"},
    Plain{"δ", "delta"},
    Plain{"ε", "epsilon"},
    Plain{"ϵ", "epsilon"},
    Plain{"ζ", "zeta"},
    Plain{"η", "eta"},
    Plain{"θ", "theta"},
    Plain{"ϑ", "theta"},
    Plain{"ι", "iota"},
    Plain{"κ", "kappa"},
    Plain{"λ", "lambda"},
    Plain{"ν", "nu"},
    Plain{"ξ", "xi"},
    Plain{"ο", "omicron"},
    Plain{"π", "pi"},
    Plain{"ρ", "rho"},
    Plain{"σ", "sigma"},
    Plain{"ς", "sigma"},
    Plain{"τ", "tau"},
    Plain{"υ", "upsilon"},
    Plain{"φ", "phi"},
    Plain{"ϕ", "phi"},
    Plain{"χ", "chi"},
    Plain{"ψ", "psi"},
    Plain{"ω", "omega"},
    Plain{"Α", "Alpha"},
    Plain{"Β", "Beta"},
    Plain{"Γ", "Gamma"},
    Plain{"Δ", "Delta"},
    Plain{"Ε", "Epsilon"},
    Plain{"Ζ", "Zeta"},
    Plain{"Η", "Eta"},
    Plain{"Θ", "Theta"},
    Plain{"Ι", "Iota"},
    Plain{"Κ", "Kappa"},
    Plain{"Λ", "Lambda"},
    Plain{"Μ", "Mu"},
    Plain{"Ν", "Nu"},
    Plain{"Ξ", "Xi"},
    Plain{"Ο", "Omicron"},
    Plain{"Π", "Pi"},
    Plain{"Ρ", "Rho"},
    Plain{"Σ", "Sigma"},
    Plain{"Τ", "Tau"},
    Plain{"Υ", "Upsilon"},
    Plain{"Φ", "Phi"},
    Plain{"Χ", "Chi"},
    Plain{"Ψ", "Psi"},
    Plain{"Ω", "Omega"},

    Plain{"Ĳ", "IJ"},
    Plain{"ĳ", "ij"},
    Plain{"Œ", "OE"},
    Plain{"œ", "oe"},
    Plain{"ŉ", "'n"},
    Plain{"Ǆ", "DZ"},
    Plain{"ǅ", "Dz"},
    Plain{"ǆ", "dz"},
    Plain{"Ǉ", "LJ"},
    Plain{"ǈ", "Lj"},
    Plain{"ǉ", "lj"},
    Plain{"Ǌ", "NJ"},
    Plain{"ǋ", "Nj"},
    Plain{"ǌ", "nj"},
    Plain{"Ǽ", "Æ"},
    Plain{"ǽ", "æ"},
    Plain{"Ǿ", "Ø"},
    Plain{"ǿ", "ø"},
    Plain{"ẞ", "SS"},

    Plain{"⁰", "0", Joint::Raised},
    Plain{"⁴", "4", Joint::Raised},
    Plain{"⁵", "5", Joint::Raised},
    Plain{"⁶", "6", Joint::Raised},
    Plain{"⁷", "7", Joint::Raised},
    Plain{"⁸", "8", Joint::Raised},
    Plain{"⁹", "9", Joint::Raised},
    Plain{"⁺", "+", Joint::Raised},
    Plain{"⁻", "-", Joint::Raised},
    Plain{"ⁿ", "n", Joint::Raised},
    Plain{"₀", "0", Joint::Lowered},
    Plain{"₁", "1", Joint::Lowered},
    Plain{"₂", "2", Joint::Lowered},
    Plain{"₃", "3", Joint::Lowered},
    Plain{"₄", "4", Joint::Lowered},
    Plain{"₅", "5", Joint::Lowered},
    Plain{"₆", "6", Joint::Lowered},
    Plain{"₇", "7", Joint::Lowered},
    Plain{"₈", "8", Joint::Lowered},
    Plain{"₉", "9", Joint::Lowered},

    Plain{"⅓", "1/3", Joint::Number},
    Plain{"⅔", "2/3", Joint::Number},
    Plain{"⅕", "1/5", Joint::Number},
    Plain{"⅖", "2/5", Joint::Number},
    Plain{"⅗", "3/5", Joint::Number},
    Plain{"⅘", "4/5", Joint::Number},
    Plain{"⅙", "1/6", Joint::Number},
    Plain{"⅚", "5/6", Joint::Number},
    Plain{"⅛", "1/8", Joint::Number},
    Plain{"⅜", "3/8", Joint::Number},
    Plain{"⅝", "5/8", Joint::Number},
    Plain{"⅞", "7/8", Joint::Number},

    Plain{"Ⅰ", "I"},
    Plain{"Ⅱ", "II"},
    Plain{"Ⅲ", "III"},
    Plain{"Ⅳ", "IV"},
    Plain{"Ⅴ", "V"},
    Plain{"Ⅵ", "VI"},
    Plain{"Ⅶ", "VII"},
    Plain{"Ⅷ", "VIII"},
    Plain{"Ⅸ", "IX"},
    Plain{"Ⅹ", "X"},
    Plain{"Ⅺ", "XI"},
    Plain{"Ⅻ", "XII"},
};

/// The letters without their marks, from one character on; "." where a block has others.
struct Block {
    char32_t first;
    std::string_view bases;
};

constexpr std::array Blocks = {
    Block{0x100, "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi..JjKkkLlLlLlL"
                 "lLlNnNnNnnNnOoOoOo..RrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs"
                 "bBBb...Cc.DDd....FfG...IKkl..Nn.Oo..Pp.....tTtTUu..YyZz........."
                 ".............AaIiOoUuUuUuUuUu.AaAa....GgKkOoOo..j...Gg..NnAa...."
                 "AaAaEeEeIiIiOoOoRrRrUuUuSsTt..Hh.d..ZzAaEeOoOoOoOoYylntj..ACcLTs"
                 "z..BU.EeJj..RrYy"},
    Block{0x1E00, "AaBbBbBbCcDdDdDdDdDdEeEeEeEeEeFfGgHhHhHhHhHhIiIiKkKkKkLlLlLlLlMm"
                  "MmMmNnNnNnNnOoOoOoOoPpPpRrRrRrRrSsSsSsSsSsTtTtTtTtUuUuUuUuUuVvVv"
                  "WwWwWwWwWwXxXxYyZzZzZzhtwy.s....AaAaAaAaAaAaAaAaAaAaAaAaEeEeEeEe"
                  "EeEeEeEeIiIiOoOoOoOoOoOoOoOoOoOoOoOoUuUuUuUuUuUuUuYyYyYyYy......"},
    // Full-width forms, from "!" on.
    Block{0xFF01, "!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"},
};

std::size_t LengthOfFirst(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && IsContinuation(text[length]))
        ++length;
    return length;
}

/// A character of two or three bytes; 0 for any other, for which there is no block.
char32_t Code(std::string_view character) {
    char32_t code = 0;
    if (character.size() < 2 || character.size() > 3)
        return 0;
    for (const char byte : character.substr(1))
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    const auto lead = static_cast<unsigned char>(character.front());
    return character.size() == 2 ? code | (lead & 0x1FU) << 6 : code | (lead & 0x0FU) << 12;
}

std::string_view LastCharacter(std::string_view text) {
    std::size_t from = text.empty() ? 0 : text.size() - 1;
    while (from > 0 && IsContinuation(text[from]))
        --from;
    return text.substr(from);
}

const Plain* FindPlain(std::string_view character) {
    const auto* const row = std::ranges::find(Plains, character, &Plain::character);
    return row == Plains.end() ? nullptr : row;
}

bool IsBaseLetter(std::string_view character) {
    if (character.size() == 1)
        return IsUpper(ToUpper(character.front()));
    const char32_t code = Code(character);
    return code >= 0xC0 && code <= 0xFF && code != 0xD7 && code != 0xF7;
}

/// An accent that a letter may lose. A stroke through the letter would change what it says: "=" with
/// one is "≠".
bool IsAccent(std::string_view mark) {
    const char32_t code = Code(mark);
    return code >= 0x300 && code <= 0x36F && (code < 0x334 || code > 0x338);
}

bool AreAccents(std::string_view marks) {
    while (!marks.empty()) {
        const auto length = LengthOfFirst(marks);
        if (!IsAccent(marks.substr(0, length)))
            return false;
        marks.remove_prefix(length);
    }
    return true;
}

std::string_view BaseLetter(std::string_view character) {
    const char32_t code = Code(character);
    for (const auto& [first, bases] : Blocks)
        if (code >= first && code < first + bases.size() && bases[code - first] != '.')
            return bases.substr(code - first, 1);
    return {};
}

bool EndsWithDigit(std::string_view text) {
    return !text.empty() && IsDigit(text.back());
}

/// What keeps the plain form apart from the text before it.
std::string_view JointAfter(std::string_view before, Joint joint) {
    const auto* const last = FindPlain(LastCharacter(before));
    switch (joint) {
    case Joint::Raised:
        return last != nullptr && last->joint == Joint::Raised ? "" : "^";
    case Joint::Lowered:
        return EndsWithDigit(before) ? "_" : "";
    case Joint::Number:
        return EndsWithDigit(before) ? " " : "";
    case Joint::None:
        break;
    }
    return {};
}

} // namespace

std::optional<std::string> PlainForm(std::string_view text, const LostCharacter& lost) {
    const std::string_view character{lost.text};
    if (character.size() == 1 && !IsContinuation(character.front()) &&
        static_cast<unsigned char>(character.front()) < 0x80)
        return character == "\v" ? " " : ""; // a control character: word processors break lines with this one
    const auto length = LengthOfFirst(character);
    const auto base = character.substr(0, length);
    if (const auto* const row = FindPlain(character))
        return std::string{JointAfter(text.substr(0, lost.offset), row->joint)} += row->form;
    if (auto folded = PlainText(character); folded != character)
        return folded;
    if (!AreAccents(character.substr(length)))
        return std::nullopt;
    if (const auto letter = BaseLetter(base); !letter.empty())
        return std::string{letter};
    if (length == character.size())
        return std::nullopt;
    if (IsBaseLetter(base))
        return std::string{base};
    return PlainForm(text, {std::string{base}, lost.offset});
}

std::string WrittenPlainly(std::string_view text, std::span<const LostCharacter> lost) {
    std::string plain;
    std::size_t written = 0;
    for (const auto& character : lost) {
        plain += text.substr(written, character.offset - written);
        plain += PlainForm(text, character).value_or(character.text);
        written = character.offset + character.text.size();
    }
    return plain += text.substr(written);
}

} // namespace tavrel
