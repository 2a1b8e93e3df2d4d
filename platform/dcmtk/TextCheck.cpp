#include "platform/dcmtk/TextCheck.h"

#include "platform/dcmtk/TextConverter.h"
#include "platform/text.h"

#include <algorithm>

namespace tavrel {
namespace {

bool IsControl(char32_t character) {
    return character < 0x20 || character == 0x7F;
}

/// The control characters that no DICOM text may hold (PS3.5, 6.1.3).
std::vector<Misfit> FindControls(std::string_view utf8) {
    std::vector<Misfit> controls;
    std::size_t position = 0;
    for (std::string_view rest = utf8; !rest.empty();) {
        const std::size_t offset = utf8.size() - rest.size();
        const char32_t character = TakeCharacter(rest);
        ++position;
        const bool allowed = character == U'\t' || character == U'\n' || character == U'\f' || character == U'\r';
        if (IsControl(character) && !allowed)
            controls.push_back({character, position, offset});
    }
    return controls;
}

char32_t CharacterAt(std::string_view utf8, std::size_t offset) {
    utf8.remove_prefix(offset);
    return TakeCharacter(utf8);
}

/// Back from a mark to what it is drawn on, but not beyond `bound`.
std::size_t ClusterBegin(std::string_view utf8, std::size_t offset, std::size_t bound) {
    while (offset > bound && IsMark(CharacterAt(utf8, offset))) {
        std::size_t before = offset - 1;
        while (before > bound && IsContinuation(utf8[before]))
            --before;
        if (IsControl(CharacterAt(utf8, before)))
            return offset;
        offset = before;
    }
    return offset;
}

std::size_t ClusterEnd(std::string_view utf8, std::size_t offset) {
    std::string_view rest = utf8.substr(offset);
    TakeCharacter(rest);
    for (std::string_view next = rest; !next.empty() && IsMark(TakeCharacter(next)); rest = next) {
    }
    return utf8.size() - rest.size();
}

} // namespace

TextCheck CheckText(std::string_view utf8, const CharacterSet& set, TextKind kind) {
    TextCheck check;
    check.controls = FindControls(utf8);
    check.misfits = set.Encode(utf8, kind, check.bytes);
    return check;
}

std::vector<LostCharacter> LostCharacters(std::string_view utf8, const TextCheck& check) {
    std::vector<LostCharacter> lost;
    for (const Misfit& control : check.controls)
        lost.push_back({std::string{utf8.substr(control.offset, 1)}, control.offset});
    std::vector<std::size_t> offsets;
    std::ranges::transform(check.misfits, std::back_inserter(offsets), &Misfit::offset);
    std::size_t told = 0;
    for (const std::size_t offset : offsets.empty() ? offsets : ComposedText{utf8}.SourceOffsets(offsets)) {
        if (offset < told)
            continue;
        const std::size_t begin = ClusterBegin(utf8, offset, told);
        told = ClusterEnd(utf8, offset);
        lost.push_back({std::string{utf8.substr(begin, told - begin)}, begin});
    }
    std::ranges::sort(lost, {}, &LostCharacter::offset);
    return lost;
}

} // namespace tavrel
