#pragma once

namespace tavrel {

/// Lets assistive technologies know the windows of forms as windows and dialogs. To them a bare widget is a filler.
void TellWindowRoles();

} // namespace tavrel
