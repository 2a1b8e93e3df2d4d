#include "platform/dcmtk/CharacterSet.h"

#include "platform/dcmtk/TextConverter.h"
#include "platform/text.h"

#include <algorithm>
#include <array>

namespace tavrel {

/// One set of PS3.3, table C.12-2 to C.12-5.
struct CodedSet {
    enum class Form {
        Whole,      ///< an encoding of its own, without code extensions
        HighSingle, ///< one byte from 0xA0 on (G1)
        HighDouble, ///< two bytes from 0xA1 on (G1)
        LowDouble,  ///< two bytes from 0x21 on (G0)
    };
    std::string_view term; ///< without "ISO_IR " or "ISO 2022 IR "
    Form form;
    const char* encoding;    ///< iconv's name
    std::string_view escape; ///< designates the set (PS3.3, table C.12-3 and C.12-4)
    std::string_view prefix; ///< stands before each character in `encoding`, nowhere in DICOM
};

namespace {

using Form = CodedSet::Form;

constexpr std::array<CodedSet, 19> CodedSets{{
    {"100", Form::HighSingle, "ISO-8859-1", "\x1B-A", ""},
    {"101", Form::HighSingle, "ISO-8859-2", "\x1B-B", ""},
    {"109", Form::HighSingle, "ISO-8859-3", "\x1B-C", ""},
    {"110", Form::HighSingle, "ISO-8859-4", "\x1B-D", ""},
    {"144", Form::HighSingle, "ISO-8859-5", "\x1B-L", ""},
    {"127", Form::HighSingle, "ISO-8859-6", "\x1B-G", ""},
    {"126", Form::HighSingle, "ISO-8859-7", "\x1B-F", ""},
    {"138", Form::HighSingle, "ISO-8859-8", "\x1B-H", ""},
    {"148", Form::HighSingle, "ISO-8859-9", "\x1B-M", ""},
    {"203", Form::HighSingle, "ISO-8859-15", "\x1B-b", ""},
    {"166", Form::HighSingle, "TIS-620", "\x1B-T", ""},
    {"13", Form::HighSingle, "EUC-JP", "\x1B)I", "\x8E"},
    {"87", Form::LowDouble, "EUC-JP", "\x1B$B", ""},
    {"159", Form::LowDouble, "EUC-JP", "\x1B$(D", "\x8F"},
    {"149", Form::HighDouble, "EUC-KR", "\x1B$)C", ""},
    {"58", Form::HighDouble, "EUC-CN", "\x1B$)A", ""},
    {"192", Form::Whole, "UTF-8", "", ""},
    {"GB18030", Form::Whole, "GB18030", "", ""},
    {"GBK", Form::Whole, "GBK", "", ""},
}};

constexpr char Escape = '\x1B';             // in a text of its own right it would change what follows
constexpr std::string_view Mark = "\uFFFD"; // of what cannot be read
constexpr std::string_view AsciiEscape = "\x1B(B";
constexpr std::string_view RomajiEscape = "\x1B(J"; // read as ASCII: DICOM's delimiters keep their meaning

bool IsHigh(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}
bool IsAscii(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return IsHigh(c) || c == Escape; });
}

/// "ISO 2022 IR 100", "ISO_IR 100", "iso-ir 100" are all "100".
const CodedSet* FindSet(std::string_view term) {
    std::string plain;
    for (const char c : term)
        if (IsDigit(c) || IsUpper(ToUpper(c)))
            plain += ToUpper(c);
    for (const std::string_view prefix : {"ISO2022IR", "ISOIR"})
        if (plain.starts_with(prefix))
            plain.erase(0, prefix.size());
    const auto* found = std::ranges::find(CodedSets, std::string_view{plain}, &CodedSet::term);
    return found == CodedSets.end() ? nullptr : found;
}

bool IsDelimiter(char c, TextKind kind) {
    if (static_cast<unsigned char>(c) < 0x20 && c != Escape)
        return true;
    return (kind != TextKind::Plain && c == '\\') || (kind == TextKind::PersonName && (c == '^' || c == '='));
}

/// What the two halves of the code table hold at a place of a text.
struct Designation {
    const CodedSet* low = nullptr; ///< none: ASCII
    const CodedSet* high = nullptr;
};

/// The designation at the start of a value: the first declared set's.
Designation Initial(const std::vector<const CodedSet*>& sets) {
    const CodedSet* first = sets.empty() ? nullptr : sets.front();
    return {nullptr, first != nullptr && first->form == Form::HighSingle ? first : nullptr};
}

/// Takes an escape sequence from the front of `bytes`; false when it is none that DICOM knows.
bool TakeEscape(std::string_view& bytes, Designation& now) {
    for (const std::string_view escape : {AsciiEscape, RomajiEscape}) {
        if (bytes.starts_with(escape)) {
            bytes.remove_prefix(escape.size());
            now.low = nullptr;
            return true;
        }
    }
    for (const CodedSet& set : CodedSets) {
        if (!set.escape.empty() && bytes.starts_with(set.escape)) {
            bytes.remove_prefix(set.escape.size());
            (set.form == Form::LowDouble ? now.low : now.high) = &set;
            return true;
        }
    }
    return false;
}

/// One character of `set`, taken from the front of `bytes`, in UTF-8.
std::string TakeCoded(std::string_view& bytes, const CodedSet& set) {
    const std::size_t length = std::min<std::size_t>(set.form == Form::HighSingle ? 1 : 2, bytes.size());
    std::string coded{set.prefix};
    for (const char c : bytes.substr(0, length))
        coded += static_cast<char>(static_cast<unsigned char>(c) | 0x80U);
    bytes.remove_prefix(length);
    return ConvertText(coded, set.encoding, "UTF-8").value_or(std::string(Mark));
}

/// The bytes of one character, which is `utf8` too; `set` is none for ASCII.
std::optional<std::string> Coded(char32_t character, std::string_view utf8, const CodedSet* set) {
    if (character == static_cast<char32_t>(Escape))
        return std::nullopt;
    if (character < 0x80)
        return std::string{utf8};
    if (set == nullptr || character == U'\uFFFD')
        return std::nullopt;
    return ConvertText(utf8, "UTF-8", set->encoding);
}

} // namespace

CharacterSet::CharacterSet(std::string_view declared) {
    for (;;) {
        const auto end = declared.find('\\');
        const auto term = declared.substr(0, end);
        const auto* set = FindSet(term);
        if (set != nullptr || sets_.empty())
            sets_.push_back(set); // the first place counts even when it is the default repertoire
        if (end == std::string_view::npos)
            break;
        declared.remove_prefix(end + 1);
    }
}

std::string CharacterSet::Decode(std::string_view bytes, TextKind kind) const {
    if (IsAscii(bytes))
        return std::string{bytes};
    if (sets_.front() != nullptr && sets_.front()->form == Form::Whole)
        return ConvertTextToUtf8(bytes, sets_.front()->encoding);
    if (sets_.size() == 1 && sets_.front() == nullptr && bytes.find(Escape) == std::string_view::npos)
        return ConvertTextToUtf8(bytes, "ISO-8859-1");

    Designation now = Initial(sets_);
    std::string text;
    while (!bytes.empty()) {
        if (bytes.front() == Escape && TakeEscape(bytes, now))
            continue;
        if (bytes.front() == Escape || (IsHigh(bytes.front()) && now.high == nullptr)) {
            text += Mark;
            bytes.remove_prefix(1);
        } else if (IsHigh(bytes.front())) {
            text += TakeCoded(bytes, *now.high);
        } else if (static_cast<unsigned char>(bytes.front()) >= 0x20 && now.low != nullptr) {
            text += TakeCoded(bytes, *now.low);
        } else {
            if (IsDelimiter(bytes.front(), kind))
                now = Initial(sets_);
            text += bytes.front();
            bytes.remove_prefix(1);
        }
    }
    return text;
}

bool CharacterSet::IsWritable() const {
    const auto* set = sets_.front();
    return sets_.size() == 1 &&
           (set == nullptr || set->form == Form::Whole || (set->form == Form::HighSingle && set->prefix.empty()));
}

std::vector<Misfit> CharacterSet::Encode(std::string_view utf8, TextKind kind, std::string& bytes) const {
    if (IsAscii(utf8)) {
        bytes = utf8;
        return {};
    }
    const ComposedText composed{utf8};
    bytes.clear();
    // Nothing is left out of a name for a set that might hold it.
    auto lost = kind == TextKind::PersonName && IsWritable() ? EncodeName(composed.Text(), bytes)
                                                             : EncodeRun(composed.Text(), bytes);
    // To compose a text is to change it, down to other letters in some names: Unicode needs none of it.
    if (sets_.front() != nullptr && sets_.front()->encoding == std::string_view("UTF-8") && bytes == composed.Text())
        bytes = utf8;
    return lost;
}

std::vector<Misfit> CharacterSet::EncodeName(std::string_view utf8, std::string& bytes) const {
    std::vector<Misfit> lost;
    std::size_t group = 0;
    std::size_t passed = 0;
    bool leftOut = false;
    for (std::string_view rest = utf8;;) {
        const auto end = rest.find_first_of("\\=");
        const auto part = rest.substr(0, end);
        std::string coded;
        const auto lostHere = EncodeRun(part, coded);
        if (group == 0)
            for (const auto& [character, position, offset] : lostHere)
                lost.push_back({character, position + passed, offset + (utf8.size() - rest.size())});
        if (lostHere.empty())
            bytes += coded;
        leftOut = leftOut || !lostHere.empty();
        passed += CountCharacters(part) + 1;
        const bool valueEnds = end == std::string_view::npos || rest[end] == '\\';
        if (valueEnds && leftOut)
            bytes.erase(bytes.find_last_not_of('=') + 1);
        if (end == std::string_view::npos)
            return lost;
        bytes += rest[end];
        group = valueEnds ? 0 : group + 1;
        rest.remove_prefix(end + 1);
    }
}

std::vector<Misfit> CharacterSet::EncodeRun(std::string_view utf8, std::string& bytes) const {
    const auto* set = IsWritable() ? sets_.front() : nullptr;
    std::vector<Misfit> lost;
    std::size_t position = 1;
    for (std::string_view rest = utf8; !rest.empty(); ++position) {
        const std::size_t offset = utf8.size() - rest.size();
        const char32_t character = TakeCharacter(rest);
        if (const auto coded = Coded(character, utf8.substr(offset, utf8.size() - rest.size() - offset), set))
            bytes += *coded;
        else
            lost.push_back({character, position, offset});
    }
    return lost;
}

} // namespace tavrel
