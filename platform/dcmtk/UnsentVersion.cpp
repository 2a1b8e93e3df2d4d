#include "platform/dcmtk/UnsentVersion.h"

#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkStore.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/WholeFile.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>

#include <algorithm>

namespace tavrel {

Error KeepUnsent(const std::string& folder, const std::string& sopInstanceUid, std::unique_ptr<DcmDataset> version,
                 const StoreTarget& target, const std::exception& failure) {
    std::string text =
        "The version could not be stored by the storage service " + target.Name() + ": " + failure.what() + ". ";
    try {
        std::string name = sopInstanceUid;
        std::ranges::replace(name, '/', '_'); // a UID out of a foreign file may hold anything
        text += "It is kept in the file " + WriteNewFile(folder, name, EncodeFile(std::move(version))) + ".";
    } catch (const std::exception& second) {
        text += std::string{"It could not be kept as a file either: "} + second.what();
    }
    return DicomFailure(DicomFault::NotStored, std::move(text));
}

} // namespace tavrel
