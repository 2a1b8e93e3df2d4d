#pragma once

#include <string>
#include <string_view>

namespace tavrel::test {

/// The data set of a DICOM file (PS3.10) in explicit VR little endian with explicit lengths, one element a line:
/// tag, VR and value, indented by its depth. The file's meta information is left out. Bytes that are no printable
/// ASCII, and "\", stand as "\xNN".
std::string DumpElements(std::string_view file);

} // namespace tavrel::test
