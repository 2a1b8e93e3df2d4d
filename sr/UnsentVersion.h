#pragma once

#include "host/Global.h"
#include "platform/dicom.h"

#include <set>
#include <string>
#include <string_view>

namespace tavrel {

/// What became of a version that was to be stored.
struct Delivery {
    enum class Fate {
        Stored,    ///< the storage service has it
        Kept,      ///< it waits for the storage service as a file
        NotStored, ///< it is nowhere
        Overtaken, ///< it is nowhere: the service says that the report has another version meanwhile
    };
    Fate fate = Fate::NotStored;
    std::string why; ///< unless it was stored, in words for the physician
};

/// Sends a version to the workstation's storage service. A version that the service did not take is kept
/// as a file of its own in "unsent" of the state folder, and the answer says so and names the file: a
/// physician's work is never only in memory. A version that was refused before it was sent is not kept.
Delivery StoreOrKeep(const Ports& ports, DicomDataSet& version, std::string_view port, std::string_view aeTitle);

/// The same with the service that the catalogue names. On a workstation without any the version is kept in silence.
Delivery StoreOrKeep(const Global& global, DicomDataSet& version);

/// Keeps a version as such a file; `why` says why it could not be sent.
Delivery KeepUnsent(const Ports& ports, const DicomDataSet& version, std::string why);

/// How many versions of a report series wait, other than those of which the service has told that it has them. Cost
/// grows with the number of files that wait, of which each is read.
int WaitingVersions(const Ports& ports, std::string_view seriesUid, const std::set<std::string>& stored);

} // namespace tavrel
