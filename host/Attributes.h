#pragma once

#include "platform/dicom.h"

/// The data elements that the program names, after their keywords (DICOM PS3.6, chapter 6).
namespace tavrel::attribute {

inline constexpr Tag TransferSyntaxUid{0x0002, 0x0010};

inline constexpr Tag SpecificCharacterSet{0x0008, 0x0005};
inline constexpr Tag SopClassUid{0x0008, 0x0016};
inline constexpr Tag SopInstanceUid{0x0008, 0x0018};
inline constexpr Tag StudyDate{0x0008, 0x0020};
inline constexpr Tag ContentDate{0x0008, 0x0023};
inline constexpr Tag StudyTime{0x0008, 0x0030};
inline constexpr Tag ContentTime{0x0008, 0x0033};
inline constexpr Tag AccessionNumber{0x0008, 0x0050};
inline constexpr Tag Modality{0x0008, 0x0060};
inline constexpr Tag Manufacturer{0x0008, 0x0070};
inline constexpr Tag InstitutionName{0x0008, 0x0080};
inline constexpr Tag ReferringPhysicianName{0x0008, 0x0090};
inline constexpr Tag CodeValue{0x0008, 0x0100};
inline constexpr Tag CodingSchemeDesignator{0x0008, 0x0102};
inline constexpr Tag CodeMeaning{0x0008, 0x0104};
inline constexpr Tag StudyDescription{0x0008, 0x1030};
inline constexpr Tag SeriesDescription{0x0008, 0x103E};
inline constexpr Tag ManufacturerModelName{0x0008, 0x1090};
inline constexpr Tag ReferencedSeriesSequence{0x0008, 0x1115};
inline constexpr Tag ReferencedSopClassUid{0x0008, 0x1150};
inline constexpr Tag ReferencedSopInstanceUid{0x0008, 0x1155};
inline constexpr Tag ReferencedSopSequence{0x0008, 0x1199};

inline constexpr Tag PatientName{0x0010, 0x0010};
inline constexpr Tag PatientId{0x0010, 0x0020};
inline constexpr Tag PatientBirthDate{0x0010, 0x0030};
inline constexpr Tag PatientSex{0x0010, 0x0040};

inline constexpr Tag SoftwareVersions{0x0018, 0x1020};

inline constexpr Tag StudyInstanceUid{0x0020, 0x000D};
inline constexpr Tag SeriesInstanceUid{0x0020, 0x000E};
inline constexpr Tag SeriesNumber{0x0020, 0x0011};
inline constexpr Tag InstanceNumber{0x0020, 0x0013};

inline constexpr Tag RelationshipType{0x0040, 0xA010};
inline constexpr Tag VerifyingOrganization{0x0040, 0xA027};
inline constexpr Tag VerificationDateTime{0x0040, 0xA030};
inline constexpr Tag ValueType{0x0040, 0xA040};
inline constexpr Tag ConceptNameCodeSequence{0x0040, 0xA043};
inline constexpr Tag ContinuityOfContent{0x0040, 0xA050};
inline constexpr Tag VerifyingObserverSequence{0x0040, 0xA073};
inline constexpr Tag VerifyingObserverName{0x0040, 0xA075};
inline constexpr Tag TextValue{0x0040, 0xA160};
inline constexpr Tag PredecessorDocumentsSequence{0x0040, 0xA360};
inline constexpr Tag CompletionFlag{0x0040, 0xA491};
inline constexpr Tag VerificationFlag{0x0040, 0xA493};
inline constexpr Tag ContentSequence{0x0040, 0xA730};

} // namespace tavrel::attribute
