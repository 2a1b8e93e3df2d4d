#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// What stands before a data set in its file (DICOM PS3.10, 7.1): the preamble and the meta information.
/// Who sent it stands there unless `sourceAe` is empty.
std::string FileMeta(std::string_view sopClassUid, std::string_view sopInstanceUid, std::string_view transferSyntax,
                     std::string_view sourceAe = {});

} // namespace tavrel
