#include "suite/catalogue/TextRules.h"

#include "platform/limits.h"
#include "platform/single_value.h"
#include "platform/uid.h"

#include <unicode/ustring.h>

#include <algorithm>

namespace tavrel {

namespace {

bool IsUtf8(std::string_view text) {
    UErrorCode outcome = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.data(), static_cast<int32_t>(text.size()), &outcome);
    return outcome != U_INVALID_CHAR_FOUND;
}

} // namespace

std::string TextFault(std::string_view text, std::size_t longest) {
    if (!IsUtf8(text))
        return "is not UTF-8";
    if (Trimmed(text).empty())
        return "is empty";
    return ValueFault(text, longest);
}

std::string BaseUidFault(const std::string& text) {
    if (!IsStandardUid(text))
        return "\"" + text + "\" is no UID";
    if (text.size() > longest::BaseUid)
        return "\"" + text + "\" has more than " + std::to_string(longest::BaseUid) +
               " characters, so the UIDs of reports would have more than " + std::to_string(longest::Uid);
    return {};
}

bool FitsReports(std::string_view text, ReportForm form) {
    // U+00FF, the last character of ISO_IR 100, is C3 BF in UTF-8.
    return form == ReportForm::Interchange || std::ranges::all_of(text, [](unsigned char c) { return c <= 0xC3; });
}

std::string ForCatalogue(std::string text) {
    std::ranges::replace(text, '\'', '`');
    return text;
}

} // namespace tavrel
