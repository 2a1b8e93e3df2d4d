#pragma once

#include "host/Global.h"

#include <array>
#include <cstddef>
#include <string>

namespace tavrel {

/// The characters that the print table takes of a reading; line ends count as two.
inline constexpr std::size_t LongestPrintedReading = 1024;

/// The one row of the print table `Report`, in the order of its columns (PrintTable.cpp).
using PrintRow = std::array<std::string, 15>;

/// Where in it the columns stand that are asked for by themselves.
namespace printed {
inline constexpr std::size_t PatientName = 0, BirthDate = 1, PatientId = 4, StudyDate = 5, StudyDescription = 6;
}

/// A text that is a date as "dd/mm/yyyy"; any other text as it is.
std::string PrintedDate(const std::string& text);

/// Makes `row` the only row of table `Report`, in one transaction. A failure is shown and the answer
/// is false; the program issues no rollback.
bool FillPrintTable(Global& global, const PrintRow& row);

/// Takes the row away again: the table is for printing, and no place for a patient afterwards. Another workstation's
/// row stays. A failure is the caller's.
void EmptyPrintTable(Global& global, const PrintRow& row);

/// An error unless `rows` stand on `row`: workstations share the table, and another one may have
/// printed in the meantime. Nobody must be handed another patient's report.
void RequirePrintRow(const ResultSet& rows, const PrintRow& row);

} // namespace tavrel
