#include "platform/dcmtk/DicomValues.h"

#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/Toolkit.h"
#include "platform/text.h"
#include "platform/uid.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace tavrel {
namespace {

/// Takes `digits` digits from the front of `text`.
std::optional<int> TakeNumber(std::string_view& text, std::size_t digits) {
    if (text.size() < digits || !std::ranges::all_of(text.substr(0, digits), IsDigit))
        return std::nullopt;
    int number = 0;
    std::from_chars(text.data(), text.data() + digits, number);
    text.remove_prefix(digits);
    return number;
}

bool SetDate(DateTime& moment, int year, int month, int day) {
    moment.year = static_cast<std::int16_t>(year);
    moment.month = static_cast<std::int8_t>(month);
    moment.day = static_cast<std::int8_t>(day);
    return IsCalendarDate(moment);
}

/// A leap second is the one before it.
bool SetTime(DateTime& moment, int hour, int minute, int second) {
    moment.hour = static_cast<std::int8_t>(hour);
    moment.minute = static_cast<std::int8_t>(minute);
    moment.second = static_cast<std::int8_t>(second == 60 ? 59 : second);
    return IsTimeOfDay(moment);
}

/// Reads HH[MM[SS[.FFFFFF]]] from the front of `text` into `moment`.
bool TakeTime(std::string_view& text, DateTime& moment) {
    const auto hour = TakeNumber(text, 2);
    const auto minute = hour ? TakeNumber(text, 2) : std::nullopt;
    const auto second = minute ? TakeNumber(text, 2) : std::nullopt;
    if (second && text.starts_with('.')) {
        const auto end = text.find_first_not_of("0123456789", 1);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end);
    }
    return hour && SetTime(moment, *hour, minute.value_or(0), second.value_or(0));
}

std::string Without(std::string_view text, char separator) {
    std::string plain{text};
    std::erase(plain, separator);
    return plain;
}

/// The local time of a moment that was given `offsetMinutes` east of Greenwich.
std::optional<DateTime> Local(const DateTime& moment, int offsetMinutes) {
    std::tm there{};
    there.tm_year = moment.year - 1900;
    there.tm_mon = moment.month - 1;
    there.tm_mday = moment.day;
    there.tm_hour = moment.hour;
    there.tm_min = moment.minute;
    there.tm_sec = moment.second;
    const std::time_t instant = timegm(&there) - offsetMinutes * 60L;
    std::tm here{};
    if (localtime_r(&instant, &here) == nullptr)
        return std::nullopt;
    DateTime local;
    if (!SetDate(local, here.tm_year + 1900, here.tm_mon + 1, here.tm_mday) ||
        !SetTime(local, here.tm_hour, here.tm_min, here.tm_sec))
        return std::nullopt;
    return local;
}

bool IsValid(const DateTime& moment) {
    const bool dateFits = moment.HasDate() ? IsCalendarDate(moment) : moment.month == 0 && moment.day == 0;
    return dateFits && IsTimeOfDay(moment);
}

Error BadValue(std::string_view text, const Attribute& attribute) {
    std::string description{text};
    description.append(" is no value of VR ")
        .append(attribute.vr)
        .append(" for ")
        .append(AttributeName(attribute))
        .append(".");
    return DicomFailure(DicomFault::BadValue, std::move(description));
}

/// The last digits of a number, with leading zeros.
std::string Digits(int number, std::size_t count) {
    std::string digits(count, '0');
    for (; count > 0; number /= 10)
        digits[--count] = static_cast<char>('0' + number % 10);
    return digits;
}

std::string MomentText(const DateTime& moment, const Attribute& attribute) {
    const auto vr = attribute.vr;
    if (!IsValid(moment))
        throw BadValue("A date that the calendar does not have", attribute);
    if (vr != "TM" && !moment.HasDate())
        return {};
    std::string text;
    if (vr != "TM")
        text += Digits(moment.year, 4) + Digits(moment.month, 2) + Digits(moment.day, 2);
    if (vr != "DA")
        text += Digits(moment.hour, 2) + Digits(moment.minute, 2) + Digits(moment.second, 2);
    return text;
}

/// Runs `fits` over each value of a multi-valued text.
template <typename Check> bool EachValue(std::string_view text, Check fits) {
    for (;;) {
        const auto end = text.find('\\');
        if (!fits(Trimmed(text.substr(0, end))))
            return false;
        if (end == std::string_view::npos)
            return true;
        text.remove_prefix(end + 1);
    }
}

bool IsIntegerString(std::string_view text) {
    if (text.starts_with('+'))
        text.remove_prefix(1);
    std::int32_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc{} && end == text.data() + text.size() && text.size() <= 12;
}

/// Its length is judged with that of all values, when they are saved or sent; the UIDs of a site that has no
/// root begin with a point.
bool HasUidCharacters(std::string_view text) {
    return std::ranges::all_of(text, IsUidCharacter);
}

bool FitsVr(std::string_view text, std::string_view vr) {
    if (vr == "IS")
        return EachValue(text, IsIntegerString);
    if (vr == "UI")
        return EachValue(text, HasUidCharacters);
    if (IsDateTimeVr(vr))
        return EachValue(text, [vr](std::string_view value) { return ParseDicomMoment(value, vr).has_value(); });
    return true;
}

/// A message that names an element must not fail for want of its name.
std::string Keyword(Tag tag) {
    try {
        return TheToolkit().Keyword(tag);
    } catch (const std::exception&) {
        return "Element";
    }
}

} // namespace

std::optional<DateTime> ParseDicomDate(std::string_view text) {
    const std::string plain = Without(Trimmed(text), '.');
    std::string_view rest = plain;
    DateTime moment;
    const auto year = TakeNumber(rest, 4);
    const auto month = TakeNumber(rest, 2);
    const auto day = TakeNumber(rest, 2);
    if (!year || !month || !day || !rest.empty() || !SetDate(moment, *year, *month, *day))
        return std::nullopt;
    return moment;
}

std::optional<DateTime> ParseDicomTime(std::string_view text) {
    const std::string plain = Without(Trimmed(text), ':');
    std::string_view rest = plain;
    DateTime moment;
    if (!TakeTime(rest, moment) || !rest.empty())
        return std::nullopt;
    return moment;
}

std::optional<DateTime> ParseDicomDateTime(std::string_view text) {
    std::string_view rest = Trimmed(text);
    DateTime moment;
    const auto year = TakeNumber(rest, 4);
    const auto month = TakeNumber(rest, 2);
    const auto day = month ? TakeNumber(rest, 2) : std::nullopt;
    if (!year || !SetDate(moment, *year, month.value_or(1), day.value_or(1)))
        return std::nullopt;
    if (day && !rest.empty() && IsDigit(rest.front()) && !TakeTime(rest, moment))
        return std::nullopt;
    if (rest.empty())
        return moment;
    const bool west = rest.front() == '-';
    if (!west && rest.front() != '+')
        return std::nullopt;
    rest.remove_prefix(1);
    const auto hours = TakeNumber(rest, 2);
    const auto minutes = TakeNumber(rest, 2);
    if (!hours || !minutes || *hours > 14 || *minutes > 59 || !rest.empty())
        return std::nullopt;
    const int offset = *hours * 60 + *minutes;
    return Local(moment, west ? -offset : offset);
}

bool IsDateTimeVr(std::string_view vr) {
    return vr == "DA" || vr == "TM" || vr == "DT";
}

std::optional<DateTime> ParseDicomMoment(std::string_view text, std::string_view vr) {
    if (vr == "DA")
        return ParseDicomDate(text);
    return vr == "TM" ? ParseDicomTime(text) : ParseDicomDateTime(text);
}

std::string DicomText(const Value& value, const Attribute& attribute) {
    const auto vr = attribute.vr;
    if (const auto* moment = std::get_if<DateTime>(&value)) {
        if (!IsDateTimeVr(vr))
            throw BadValue("A date", attribute);
        return MomentText(*moment, attribute);
    }
    if (const auto* number = std::get_if<std::int16_t>(&value)) {
        std::string text = std::to_string(*number);
        if (!FitsVr(text, vr))
            throw BadValue(text, attribute);
        return text;
    }
    if (const auto* text = std::get_if<std::string>(&value); text != nullptr && !text->empty()) {
        if (!FitsVr(*text, vr))
            throw BadValue(*text, attribute);
        return WithCrLf(*text);
    }
    return {};
}

std::string WithCrLf(std::string_view text) {
    if (text.find('\r') == std::string_view::npos && text.find('\n') == std::string_view::npos)
        return std::string{text};
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\r' && text[at] != '\n') {
            result += text[at];
            continue;
        }
        if (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n')
            ++at;
        result += "\r\n";
    }
    return result;
}

std::string AttributeWords(Tag tag) {
    const std::string keyword = Keyword(tag);
    std::string name;
    for (std::size_t at = 0; at < keyword.size(); ++at) {
        const bool wordStarts = at > 0 && IsUpper(keyword[at]) &&
                                (IsLower(keyword[at - 1]) || (at + 1 < keyword.size() && IsLower(keyword[at + 1])));
        if (wordStarts && name.back() != ' ')
            name += ' ';
        name += keyword[at];
    }
    return name;
}

std::string TagNumber(Tag tag) {
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), "(%04X,%04X)", tag.group, tag.element);
    return number.data();
}

std::string AttributeName(Tag tag) {
    return AttributeWords(tag) + " " + TagNumber(tag);
}

} // namespace tavrel
