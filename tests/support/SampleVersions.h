#pragma once

#include "sr/DcmSRDocument.h"
#include "tests/support/Workstation.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tavrel::test {

/// A version as the program writes it, in a file of its own.
struct SampleVersion {
    std::string state; ///< what is special about it
    std::filesystem::path file;
    std::string uid; ///< SOP Instance UID
};

/// Reports of a form, for a site whose root of UIDs is no example's, each version in a file below the workstation's
/// folder.
class SampleReports {
public:
    SampleReports(Workstation& station, ReportForm form);

    /// A version in each state that the form knows: of images that tell nothing and much, new and later, with every
    /// entry and with none, approved after others and at once, after one of the other form.
    std::vector<SampleVersion> InEveryState();
    /// The first version of a report of that patient.
    SampleVersion Of(const std::string& patientName, const std::string& reading);

private:
    class Report;

    std::shared_ptr<DataSetList> Images(const std::string& patientName) const;
    std::shared_ptr<DataSetList> TellingImages() const;

    Workstation& station_;
    ReportForm form_;
    std::vector<SampleVersion> versions_;
};

} // namespace tavrel::test
