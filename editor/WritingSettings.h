#pragma once

#include "platform/database.h"

#include <string>
#include <string_view>

namespace tavrel {

/// What the site, or a physician for themselves, has set of the help in writing (table `Writing`).
struct WritingSettings {
    std::string spelling;  ///< languages with commas between, "locale" for the desktop's; empty: nothing is checked
    std::string dictation; ///< the command; empty: none

    /// Those of a user, where they have set some, before the site's. An error when they cannot be read.
    static WritingSettings Read(Connection& catalogue, std::string_view userName);
};

} // namespace tavrel
