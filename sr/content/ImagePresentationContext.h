#pragma once

#include "platform/viewer.h"

#include <string>

namespace tavrel {

/// One image that a report refers to, with the way the viewer showed it.
struct ImagePresentationContext {
    std::string Filename;
    ViewParametersHandle ViewPars; ///< the viewer's own object, not a copy
    std::string LUTName;
};

} // namespace tavrel
