#pragma once

#include "platform/dicom.h"
#include "sr/content/ContentNode.h"

#include <string>
#include <string_view>

namespace tavrel {

/// A coded concept that the program itself writes (DICOM PS3.16, annex D, unless said otherwise).
struct Concept {
    std::string_view scheme;
    std::string_view code;
    std::string_view meaning;

    ContentNode Node(std::string_view annotation = {}) const {
        return {std::string(scheme), std::string(code), std::string(meaning), std::string(annotation)};
    }
    bool Is(const ContentNode& node) const { return node.CodeScheme == scheme && node.Code == code; }
};

/// "Basic Diagnostic Imaging Report" (DICOM PS3.16).
inline constexpr std::string_view DiagnosticReportTemplate = "2000";

namespace concepts {

inline constexpr Concept Title{PrivateScheme, "SR.TITLE", "Title"};
inline constexpr Concept Impression{"DCM", "121073", "Impression"};

/// The title, where other people's programs must know the concept.
inline constexpr Concept DocumentTitle{"DCM", "121144", "Document Title"};
/// LOINC's; the first of the document titles of TID 2000.
inline constexpr Concept DiagnosticImagingReport{"LN", "18748-4", "Diagnostic Imaging Report"};
inline constexpr Concept EquivalentMeaning{"DCM", "121050", "Equivalent Meaning of Concept Name"};
inline constexpr Concept Language{"DCM", "121049", "Language of Content Item and Descendants"};
inline constexpr Concept ObserverType{"DCM", "121005", "Observer Type"};
inline constexpr Concept Person{"DCM", "121006", "Person"};
inline constexpr Concept PersonObserverName{"DCM", "121008", "Person Observer Name"};
inline constexpr Concept ObserverOrganization{"DCM", "121009", "Person Observer's Organization Name"};
inline constexpr Concept TargetRegion{"DCM", "123014", "Target Region"};
inline constexpr Concept Findings{"DCM", "121070", "Findings"};
inline constexpr Concept Finding{"DCM", "121071", "Finding"};
inline constexpr Concept Conclusions{"DCM", "121076", "Conclusions"};
inline constexpr Concept Conclusion{"DCM", "121077", "Conclusion"};
inline constexpr Concept Comment{"DCM", "121106", "Comment"};

} // namespace concepts

} // namespace tavrel
