#pragma once

#include "host/Global.h"

namespace tavrel {

/// Process entry. A stand-alone start runs `Init`; an automation start leaves it to each creation.
void Main(Global& global);

/// Start-up: logs, opens the catalogue unless it is open, reads the site's data, takes a fresh
/// user-information object. A failure is shown and ends the process with the status of one. Runs once
/// for each creation.
void Init(Global& global);

} // namespace tavrel
