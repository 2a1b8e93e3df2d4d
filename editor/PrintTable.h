#pragma once

#include "host/Global.h"

#include <array>
#include <string>

namespace tavrel {

/// The one row of the print table `Report`, in the order of its columns (PrintTable.cpp).
using PrintRow = std::array<std::string, 15>;

/// Makes `row` the only row of table `Report`, in one transaction; its dates become "dd/mm/yyyy". A
/// failure is shown and the answer is false; the program issues no rollback.
bool FillPrintTable(Global& global, const PrintRow& row);

} // namespace tavrel
