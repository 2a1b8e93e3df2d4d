#pragma once

#include "suite/catalogue/UnsentFiles.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/StudyTree.h"

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tavrel {

/// The versions that wait in the report editor's folder because the service did not take them. They are stored
/// as if they were sent, those of a series in the order of their making, and a file goes away once its version
/// is committed. One service at a time works in the folder. From any thread.
class UnsentVersions {
public:
    /// Told of each version before its file goes away; told again when that was interrupted.
    using Told = std::function<void(const StudyTree::Stored&)>;

    UnsentVersions(std::filesystem::path folder, DicomLibrary& library, StudyTree& tree, Told told);
    ~UnsentVersions();
    UnsentVersions(const UnsentVersions&) = delete;
    UnsentVersions& operator=(const UnsentVersions&) = delete;

    struct Outcome {
        bool progress = false; ///< something was stored
        bool left = false;     ///< something waits that may be stored later
    };
    /// Takes in what waits. What cannot be taken in holds up its own series alone. `ended` is asked between two.
    Outcome TakeIn(const std::function<bool()>& ended);

    /// Takes in what waits of a series, of which a later version has come. Throws a StoreRefusal when something
    /// of it still waits afterwards.
    void TakeInBefore(const std::string& seriesUid);

private:
    struct Version {
        UnsentFile file;
        UnsentHeader header;
    };
    using Reason = std::optional<StoreRefusal>;

    std::vector<Version> Waiting();
    Reason Deliver(const Version& version);
    Reason Store(const Version& version);
    void Copy(const Version& version, IncomingFile& copy) const;
    bool IsThere(const Version& version) const;
    bool HoldFolder();
    void Say(const Version& version, const std::string& words);

    std::filesystem::path folder_;
    DicomLibrary& library_;
    StudyTree& tree_;
    Told told_;

    std::mutex listing_; ///< guards the next ones
    std::map<std::filesystem::path, Version> known_;
    std::string folderFault_;

    std::mutex delivering_; ///< guards what follows
    int heldFolder_ = -1;
    bool heldElsewhere_ = false;
    std::map<std::filesystem::path, std::string> said_;
    /// Files that stay as they are: of no use, or stored but not to be removed.
    std::map<std::filesystem::path, std::pair<decltype(UnsentFile::identity), Reason>> settled_;
    std::set<std::string> failedSeries_; ///< the catalogue's last failures; tried after the others
};

} // namespace tavrel
