#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// What a UID names; the number stands in it after the site's root.
enum class UidKind { Version = 1, ReportSeries = 2, PresentationState = 3, PresentationSeries = 4 };

/// A UID that nobody else has made, not even in the same second or on another workstation (DICOM PS3.5, 9.1): the
/// site's root, the kind and a random number of as many digits as fit into 64 characters, at most 39.
std::string NewUid(std::string_view baseUid, UidKind kind);

} // namespace tavrel
