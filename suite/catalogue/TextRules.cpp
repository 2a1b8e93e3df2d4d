#include "suite/catalogue/TextRules.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <regex>

namespace tavrel {

namespace {

bool IsUtf8(std::string_view text) {
    UErrorCode outcome = U_ZERO_ERROR;
    u_strFromUTF8(nullptr, 0, nullptr, text.data(), static_cast<int32_t>(text.size()), &outcome);
    return outcome != U_INVALID_CHAR_FOUND;
}

} // namespace

std::string TextFault(std::string_view text, std::size_t longest) {
    const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
    if (!IsUtf8(text))
        return "is not UTF-8";
    if (text.find_first_not_of(' ') == std::string_view::npos)
        return "is empty";
    if (std::ranges::any_of(text, [](unsigned char c) { return c < ' ' || c == 0x7F || c == '\\'; }))
        return "holds a control character or a backslash";
    if (text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isContinuation)) > longest)
        return "is longer than " + std::to_string(longest) + " characters";
    return {};
}

bool FitsReports(std::string_view text) {
    // U+00FF, the last character of ISO_IR 100, is C3 BF in UTF-8.
    return std::ranges::all_of(text, [](unsigned char c) { return c <= 0xC3; });
}

bool IsUid(std::string_view text) {
    static const std::regex uid("(0|[1-9][0-9]*)(\\.(0|[1-9][0-9]*))*");
    constexpr std::size_t longest = 64;
    return text.size() <= longest && std::regex_match(text.begin(), text.end(), uid);
}

std::string ForCatalogue(std::string text) {
    std::ranges::replace(text, '\'', '`');
    return text;
}

} // namespace tavrel
