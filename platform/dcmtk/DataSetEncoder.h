#pragma once

#include "platform/dicom.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

class DcmtkDataSet;

/// A data set in explicit VR little endian with explicit lengths, and the UIDs that name it outside.
struct EncodedDataSet {
    std::string sopClassUid;
    std::string sopInstanceUid;
    std::string bytes;
};

/// Its text is in the character sets that it and its items declare. A value that cannot be written as it stands is an
/// error that names the attribute: a character that the set lacks, a control character, a UID over 64 characters, a
/// text too long for its VR, compressed images. Elements of group 0002 are left out.
EncodedDataSet EncodeDataSet(const DcmtkDataSet& source);

/// Every element for which EncodeDataSet would refuse the data set, in its order.
std::vector<Unwritable> FindRefusals(const DcmtkDataSet& source);

/// The same elements in implicit VR little endian.
std::string InImplicitVr(std::string_view explicitVr);

/// The bytes of a DICOM file (PS3.10).
std::string EncodeFile(const EncodedDataSet& dataSet);

} // namespace tavrel
