#pragma once

#include "platform/viewer.h"

#include <QString>

namespace tavrel {

/// An image as a report refers to it.
struct ReportImage {
    QString filename;
    ViewParametersHandle view; ///< none: as the file says
    QString lutName;
};

} // namespace tavrel
