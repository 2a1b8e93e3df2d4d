#pragma once

#include "host/Global.h"

namespace tavrel {

/// Process entry. A stand-alone start runs `Init`; an automation start leaves it to each creation.
void Main(Global& global);

/// Start-up: logs, opens the catalogue unless it is open, reads the site's data, takes a fresh
/// user-information object. A failure is shown and ends the process. Runs once for each creation.
void Init(Global& global);

/// Text that every connection to the catalogue is opened with.
inline constexpr std::string_view CatalogueConnectionText = "DSN=DicomFDB";

} // namespace tavrel
