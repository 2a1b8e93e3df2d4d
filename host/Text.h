#pragma once

#include "platform/clock.h"
#include "platform/datetime.h"
#include "platform/dicom.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The number in decimal, with leading zeros up to `width` digits.
std::string Padded(int number, std::size_t width);

/// "dd/mm/yyyy"; empty without a date.
std::string DateText(const DateTime& date);
/// "hh:mm:ss".
std::string TimeText(const DateTime& time);
/// "dd/mm/yyyy hh:mm:ss", without the time when it is exactly midnight; empty without a date.
std::string DateTimeText(const DateTime& dateTime);
/// "dd/mm/yyyy hh:mm:ss", midnight included.
std::string FullDateTimeText(const DateTime& dateTime);
/// The present local time as "yyyy.mm.dd.hh.MM.ss", leading zeros kept, from which UIDs are made.
std::string TimeStamp(const Clock& clock);
/// Reads "dd/mm/yyyy" or "yyyy-mm-dd", with or without a time; nothing when it is no date of the calendar.
std::optional<DateTime> ParseDate(std::string_view text);

/// The lines of a text behind one another.
std::string OneLine(std::string text);

/// The text of a value; nothing is empty text, a date-time as `DateTimeText`.
std::string TextOf(const Value& value);
/// The same of an element; one that is not there is empty text.
std::string TextOf(const DicomDataSet& dataSet, const Attribute& attribute);
/// The date-time of a value; the zero date-time when it is none.
DateTime DateTimeOf(const Value& value);

/// Typographic quotes, dashes, ellipsis, bullets, ligatures and blanks in their plain form, so that a
/// text pasted from a word processor can stand in a report whose character set is Latin-1. What
/// Latin-1 holds stays as it is, and so does every letter.
std::string PlainText(std::string_view text);

} // namespace tavrel
