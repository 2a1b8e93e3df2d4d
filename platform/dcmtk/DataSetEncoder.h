#pragma once

#include "platform/dicom.h"

#include <memory>
#include <string>
#include <vector>

class DcmDataset;
class DcmTagKey;

namespace tavrel {

class DcmtkDataSet;

/// The data set as the toolkit writes it, its text in the character sets that it and its items
/// declare. A value that cannot be written as it stands is an error that names the attribute: a
/// character that the set lacks, a control character, a UID over 64 characters, a text too long for
/// its VR. Elements of group 0002 are left out.
std::unique_ptr<DcmDataset> EncodeDataSet(const DcmtkDataSet& source);

/// Every element for which EncodeDataSet or EncodeFile would refuse the data set, in its order.
std::vector<Unwritable> FindRefusals(const DcmtkDataSet& source);

/// Empty when there is none.
std::string UidOf(DcmDataset& dataSet, const DcmTagKey& tag);

/// The bytes of a DICOM file (PS3.10): explicit VR little endian, explicit lengths.
std::string EncodeFile(std::unique_ptr<DcmDataset> dataSet);

} // namespace tavrel
