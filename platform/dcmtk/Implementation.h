#pragma once

#include <string_view>

namespace tavrel {

/// What the programs call themselves in the meta information of their files (DICOM PS3.10, 7.1) and in their
/// associations (PS3.7, D.3.3.2). The UID is made from a UUID (PS3.5, B.2) and never changes; the name, of at most 16
/// characters, holds the version.
inline constexpr std::string_view ImplementationClassUid = "2.25.212149006270406854485362438059227932363";
std::string_view ImplementationVersionName();

} // namespace tavrel
