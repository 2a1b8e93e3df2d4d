#pragma once

#include "platform/controls.h"
#include "sr/content/ContentNode.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

class DcmSRDocument;

/// What a version says in codes beside its heading.
struct ReportCodes {
    std::string bodyPart{}; ///< its meaning, or what was typed freely
    std::vector<ContentNode> findings{}, diagnoses{};
    bool operator==(const ReportCodes&) const = default;
};

/// Those of the version that was read last; none when it holds none.
ReportCodes CodesOf(const DcmSRDocument& document);

/// The entries of a coded list. A row: text the code value, tag the scheme, sub-item 0 the meaning, sub-item 1 the
/// annotation.
std::vector<ContentNode> EntriesOf(const ListView& list);
void ShowEntries(ListView& list, const std::vector<ContentNode>& entries);

/// Why a code cannot be in a report's file, in words that show it; empty when it can.
std::string CodeFault(std::string_view code, std::string_view scheme, std::string_view meaning);

} // namespace tavrel
