#pragma once

#include "platform/database.h"

namespace tavrel {

/// How a site's versions are written. Either form is read, whichever the site writes.
enum class ReportForm {
    Classic,     ///< as archives of many years have them
    Interchange, ///< as any archive, viewer and alphabet accept them
};

struct Global;

/// The form that the row of the table `SiteData` names: the classic one where the column or its value is missing.
/// An `Error` for any other word than "classic" and "interchange".
ReportForm ReportFormOf(const ResultSet& site);

/// Asks the catalogue anew: a new report is made in the form in which it will be written.
void ReadReportForm(Global& global);

} // namespace tavrel
