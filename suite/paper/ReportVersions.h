#pragma once

#include "platform/dicom.h"
#include "platform/printer.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The versions of one report, each of which can be printed. Paths are the system's.
class ReportVersions {
public:
    /// `files` are those of a report's series; what of them cannot be read is no version, and is said on the pages.
    ReportVersions(DicomLibrary& dicom, const std::vector<std::string>& files);

    int Count() const { return static_cast<int>(files_.size()); }
    /// Those that can be read, in the order in which they were written.
    const std::vector<std::string>& Files() const { return files_; }
    /// Of which nothing is known; one of them may be the newest version.
    std::vector<std::string> UnreadableFiles() const;
    /// Which version, from 1, one of the files is. An error says why it is none.
    int NumberOf(std::string_view file) const;
    /// The pages of a version. An error when there is none of that number, or it holds no structured report.
    PrintLayout Page(int number) const;

private:
    struct Unreadable {
        std::string file, why;
    };

    std::shared_ptr<DataSetList> versions_;
    std::vector<std::string> files_; ///< in the order in which they were written, as in `versions_`
    std::vector<Unreadable> unreadable_;
};

/// The files of a file's series that lie in its folder, itself among them.
std::vector<std::string> FilesOfItsSeries(DicomLibrary& dicom, const std::string& file);

} // namespace tavrel
