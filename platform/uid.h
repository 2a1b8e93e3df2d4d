#pragma once

#include "platform/limits.h"
#include "platform/text.h"

#include <string_view>

namespace tavrel {

/// The SOP class of the reports (DICOM PS3.4, B.5).
inline constexpr std::string_view BasicTextSr = "1.2.840.10008.5.1.4.1.1.88.11";

inline bool IsUidCharacter(char c) {
    return IsDigit(c) || c == '.';
}

/// Whether `text` can stand as a UID (DICOM PS3.5, 9.1): digits and points that begin with a digit. Components that
/// the standard forbids pass: zero-padded ones stand in every report's own UIDs, and neither these nor an empty one
/// are a reason to lose another maker's object.
inline bool IsUid(std::string_view text) {
    return !text.empty() && text.size() <= longest::Uid && text.front() != '.' &&
           std::ranges::all_of(text, IsUidCharacter);
}

/// Whether `text` is a UID with each component as the standard has it: a number without a needless 0, the first of them
/// 0, 1 or 2, and others behind it.
inline bool IsStandardUid(std::string_view text) {
    if (!IsUid(text) || text.front() > '2' || !text.substr(1).starts_with('.'))
        return false;
    for (std::string_view rest = text;;) {
        const std::string_view component = rest.substr(0, rest.find('.'));
        if (component.empty() || (component.size() > 1 && component.front() == '0'))
            return false;
        if (component.size() == rest.size())
            return true;
        rest.remove_prefix(component.size() + 1);
    }
}

} // namespace tavrel
