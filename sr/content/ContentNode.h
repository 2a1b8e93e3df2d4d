#pragma once

#include "platform/dicom.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

/// The coding scheme of codes that no published scheme has: the program's own, and those that a site has defined.
inline constexpr std::string_view PrivateScheme = "99SS";

/// Writes a coded concept (DICOM PS3.3, 8.8) into a code sequence. A negative `itemIndex` appends
/// and becomes the new item's index; an existing item at that index is replaced.
void AppendCodeItem(DicomLibrary& dicom, DicomDataSet& dataSet, Tag sequence, std::string_view codeScheme,
                    std::string_view codeValue, std::string_view codeMeaning, std::int16_t& itemIndex);

/// One coded content item: a coded concept (DICOM PS3.3, 8.8) and the free text that goes with it.
class ContentNode {
public:
    std::string CodeScheme;  ///< coding scheme designator (0008,0102)
    std::string Code;        ///< code value (0008,0100)
    std::string CodeMeaning; ///< code meaning (0008,0104)
    std::string Annotation;  ///< free text; in a content item its Text Value (0040,A160)

    /// Fills the concept from an item of a code sequence; no object empties it. `Annotation` stays.
    void DicomObject(const DataSetHandle& codeItem);
    /// A new TEXT content item holding the concept and the annotation.
    DataSetHandle DicomObject(DicomLibrary& dicom) const;
    /// Writes the concept as an item of the Concept Name Code Sequence (0040,A043) of `dataSet`; a
    /// negative `position` appends and becomes the item's index.
    void ConceptMacroAppend(DicomLibrary& dicom, DicomDataSet& dataSet, std::int16_t& position) const;

    bool operator==(const ContentNode&) const = default;
};

} // namespace tavrel
