#pragma once

#include <array>
#include <string_view>

/// The catalogue's tables of codes.
namespace tavrel::code_table {

inline constexpr std::string_view Titles = "StdTitles";
inline constexpr std::string_view BodyParts = "StdBodyPart";
inline constexpr std::string_view Findings = "StdFinding";
inline constexpr std::string_view Diagnoses = "StdDiagnosis";

inline constexpr std::array All{Titles, BodyParts, Findings, Diagnoses};

} // namespace tavrel::code_table
