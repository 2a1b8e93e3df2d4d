#include "host/ReportForm.h"

#include "host/Catalogue.h"
#include "host/ErrorReport.h"
#include "host/Global.h"

namespace tavrel {

ReportForm ReportFormOf(const ResultSet& site) {
    const std::string form(site.HasField("ReportForm") ? site.Field("ReportForm").value_or("") : "");
    if (form.empty() || form == "classic")
        return ReportForm::Classic;
    if (form == "interchange")
        return ReportForm::Interchange;
    throw Error(Fault::TypeMismatch, "ReportForm",
                "The site's reports are to be written in a form that this program does not know: \"" + form +
                    "\" (SiteData, ReportForm)");
}

void ReadReportForm(Global& global) {
    const auto site = Catalogue(global).OpenResultSet("SELECT * FROM SiteData");
    global.reportForm = site->AtEnd() ? ReportForm::Classic : ReportFormOf(*site);
    site->Close();
}

} // namespace tavrel
