#pragma once

#include "platform/dicom.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// Decides whose turn it is in a report that several workstations write. The versions of a report are numbered files of
/// one folder, and a version goes to the number right behind all that lie there, by a link, which never replaces: the
/// file system decides between two services which of their versions is first. Whoever finds the number taken asks
/// again, and then meets a version that its own does not follow.
///
/// A file without its row may be another service's that is at work, or one that will be taken back. It is whole, and
/// counts as what it says: if it goes, whoever sent it has the version kept.
///
/// Cost: the folder's names, and what is read of the versions that were not met before. One thread at a time.
class VersionTurn {
public:
    enum class From {
        Editor,    ///< the report editor, which asks the person when it is refused
        KeptFile,  ///< the folder of kept versions: nobody could be asked, and the version must not be lost
        Elsewhere, ///< another program, an archive or a backup: in whatever order, but not after an approved version
    };

    /// Of the files of the report from that name on, the SOP Instance UIDs by their names.
    using Rows = std::function<std::map<std::string, std::string>(const std::string& fromName)>;

    /// What is known of a file is remembered once it is as old as `settled`: no transaction is open then that could
    /// still take it back.
    explicit VersionTurn(DicomLibrary& library, std::chrono::seconds settled = std::chrono::seconds(30));

    /// The number of the file for a version with these predecessors (SOP Instance UIDs). `taken` is the number that was
    /// answered before and was no longer free. Throws a StoreRefusal (`ReportApproved`, `ReportHasOthers`) when the
    /// version must not be stored.
    int NumberFor(const std::filesystem::path& folder, const std::vector<std::string>& predecessors, From from,
                  const Rows& rows, int taken = 0);

private:
    struct Met {
        std::string uid;
        std::optional<bool> approved{}; ///< once it has been asked for
    };
    using Report = std::map<std::string, Met>; ///< by file name

    Report Meet(Report& known, const std::filesystem::path& folder, const std::vector<std::string>& names,
                const Rows& rows) const;
    bool Approved(Met& met, const std::filesystem::path& file) const;

    DicomLibrary& library_;
    std::chrono::seconds settled_;
    std::map<std::filesystem::path, Report> reports_;
};

} // namespace tavrel
