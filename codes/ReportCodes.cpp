#include "codes/ReportCodes.h"

#include "platform/limits.h"
#include "platform/single_value.h"
#include "sr/DcmSRDocument.h"

namespace tavrel {
ReportCodes CodesOf(const DcmSRDocument& document) {
    if (!document.HoldsCodedEntries())
        return {};
    return {document.BodyPartNode().CodeMeaning, document.Findings(), document.Diagnoses()};
}

std::vector<ContentNode> EntriesOf(const ListView& list) {
    std::vector<ContentNode> entries;
    for (const ListItem& row : list.Items())
        entries.push_back({row.tag, row.text, row.subItems[0], row.subItems[1]});
    return entries;
}

void ShowEntries(ListView& list, const std::vector<ContentNode>& entries) {
    list.Fill([&](std::vector<ListItem>& rows) {
        rows.clear();
        for (const auto& [scheme, code, meaning, annotation] : entries)
            rows.push_back({code, scheme, {meaning, annotation}});
    });
}

std::string CodeFault(std::string_view code, std::string_view scheme, std::string_view meaning) {
    struct Checked {
        std::string_view name, text;
        std::size_t most;
    };
    for (const auto& [name, text, most] :
         {Checked{"The code", code, longest::CodeValue}, Checked{"The coding scheme", scheme, longest::CodeScheme},
          Checked{"The description", meaning, longest::CodeMeaning}})
        if (const auto fault = ValueFault(text, most); !fault.empty())
            return std::string(name) + " " + fault + ": " + std::string(text);
    return {};
}

} // namespace tavrel
