#pragma once

#include "platform/datetime.h"
#include "platform/dicom.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The text forms of values (PS3.5, 6.2). What is no valid date or time reads as none.
std::optional<DateTime> ParseDicomDate(std::string_view text);     ///< DA, "20261115"; also "2026.11.15"
std::optional<DateTime> ParseDicomTime(std::string_view text);     ///< TM, "080512.123"; parts may be left out
std::optional<DateTime> ParseDicomDateTime(std::string_view text); ///< DT; an offset is turned into local time

/// Whether the VR's value is a date-time.
bool IsDateTimeVr(std::string_view vr);

/// `text` as a date-time of this VR, nothing when it is none.
std::optional<DateTime> ParseDicomMoment(std::string_view text, std::string_view vr);

/// `value` as the text of an element. Values that are no valid IS, UI, DA, TM or DT are errors. Text keeps
/// its words; its line ends become CR LF.
std::string DicomText(const Value& value, const Attribute& attribute);

/// Every line end as CR LF.
std::string WithCrLf(std::string_view text);

/// "(0010,0010)".
std::string TagNumber(Tag tag);
/// "Patient Name".
std::string AttributeWords(Tag tag);
/// "Patient Name (0010,0010)".
std::string AttributeName(Tag tag);

} // namespace tavrel
