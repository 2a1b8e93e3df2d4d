#pragma once

#include "platform/dicom.h"

/// The data elements that the program names, after their keywords and with their VRs (DICOM PS3.6,
/// chapter 6). Where an element is read or written by another VR, it stands there: `{TextValue, "LO"}`.
namespace tavrel::attribute {

inline constexpr Attribute TransferSyntaxUid{{0x0002, 0x0010}, "UI"};

inline constexpr Attribute SpecificCharacterSet{{0x0008, 0x0005}, "CS"};
inline constexpr Attribute ImageType{{0x0008, 0x0008}, "CS"};
inline constexpr Attribute SopClassUid{{0x0008, 0x0016}, "UI"};
inline constexpr Attribute SopInstanceUid{{0x0008, 0x0018}, "UI"};
inline constexpr Attribute StudyDate{{0x0008, 0x0020}, "DA"};
inline constexpr Attribute ContentDate{{0x0008, 0x0023}, "DA"};
inline constexpr Attribute StudyTime{{0x0008, 0x0030}, "TM"};
inline constexpr Attribute ContentTime{{0x0008, 0x0033}, "TM"};
inline constexpr Attribute AccessionNumber{{0x0008, 0x0050}, "SH"};
inline constexpr Attribute Modality{{0x0008, 0x0060}, "CS"};
inline constexpr Attribute Manufacturer{{0x0008, 0x0070}, "LO"};
inline constexpr Attribute InstitutionName{{0x0008, 0x0080}, "LO"};
inline constexpr Attribute InstitutionCodeSequence{{0x0008, 0x0082}, "SQ"};
inline constexpr Attribute ReferringPhysicianName{{0x0008, 0x0090}, "PN"};
inline constexpr Attribute CodeValue{{0x0008, 0x0100}, "SH"};
inline constexpr Attribute CodingSchemeDesignator{{0x0008, 0x0102}, "SH"};
inline constexpr Attribute CodeMeaning{{0x0008, 0x0104}, "LO"};
inline constexpr Attribute MappingResource{{0x0008, 0x0105}, "CS"};
inline constexpr Attribute CodingSchemeIdentificationSequence{{0x0008, 0x0110}, "SQ"};
inline constexpr Attribute CodingSchemeResponsibleOrganization{{0x0008, 0x0116}, "ST"};
inline constexpr Attribute LongCodeValue{{0x0008, 0x0119}, "UC"};
inline constexpr Attribute StudyDescription{{0x0008, 0x1030}, "LO"};
inline constexpr Attribute ProcedureCodeSequence{{0x0008, 0x1032}, "SQ"};
inline constexpr Attribute SeriesDescription{{0x0008, 0x103E}, "LO"};
inline constexpr Attribute ManufacturerModelName{{0x0008, 0x1090}, "LO"};
inline constexpr Attribute ReferencedStudySequence{{0x0008, 0x1110}, "SQ"};
inline constexpr Attribute ReferencedPerformedProcedureStepSequence{{0x0008, 0x1111}, "SQ"};
inline constexpr Attribute ReferencedSeriesSequence{{0x0008, 0x1115}, "SQ"};
inline constexpr Attribute ReferencedImageSequence{{0x0008, 0x1140}, "SQ"};
inline constexpr Attribute ReferencedSopClassUid{{0x0008, 0x1150}, "UI"};
inline constexpr Attribute ReferencedSopInstanceUid{{0x0008, 0x1155}, "UI"};
inline constexpr Attribute ReferencedFrameNumber{{0x0008, 0x1160}, "IS"};
inline constexpr Attribute ReferencedSopSequence{{0x0008, 0x1199}, "SQ"};

inline constexpr Attribute PatientName{{0x0010, 0x0010}, "PN"};
inline constexpr Attribute PatientId{{0x0010, 0x0020}, "LO"};
inline constexpr Attribute IssuerOfPatientId{{0x0010, 0x0021}, "LO"};
inline constexpr Attribute PatientBirthDate{{0x0010, 0x0030}, "DA"};
inline constexpr Attribute PatientSex{{0x0010, 0x0040}, "CS"};

inline constexpr Attribute BodyPartExamined{{0x0018, 0x0015}, "CS"};
inline constexpr Attribute SoftwareVersions{{0x0018, 0x1020}, "LO"};
inline constexpr Attribute ImagerPixelSpacing{{0x0018, 0x1164}, "DS"};
inline constexpr Attribute NominalScannedPixelSpacing{{0x0018, 0x2010}, "DS"};

/// This very element, not the Study ID (0020,0010): reports have always taken it along.
inline constexpr Attribute FormerStudyElement{{0x0020, 0x0008}, "SH"};
inline constexpr Attribute StudyInstanceUid{{0x0020, 0x000D}, "UI"};
inline constexpr Attribute SeriesInstanceUid{{0x0020, 0x000E}, "UI"};
inline constexpr Attribute StudyId{{0x0020, 0x0010}, "SH"};
inline constexpr Attribute SeriesNumber{{0x0020, 0x0011}, "IS"};
inline constexpr Attribute InstanceNumber{{0x0020, 0x0013}, "IS"};
inline constexpr Attribute Laterality{{0x0020, 0x0060}, "CS"};
inline constexpr Attribute ImageLaterality{{0x0020, 0x0062}, "CS"};

inline constexpr Attribute PhotometricInterpretation{{0x0028, 0x0004}, "CS"};
inline constexpr Attribute NumberOfFrames{{0x0028, 0x0008}, "IS"};
inline constexpr Attribute Rows{{0x0028, 0x0010}, "US"};
inline constexpr Attribute Columns{{0x0028, 0x0011}, "US"};
inline constexpr Attribute PixelSpacing{{0x0028, 0x0030}, "DS"};
inline constexpr Attribute PixelAspectRatio{{0x0028, 0x0034}, "IS"};
inline constexpr Attribute PixelIntensityRelationship{{0x0028, 0x1040}, "CS"};
inline constexpr Attribute WindowCenter{{0x0028, 0x1050}, "DS"};
inline constexpr Attribute WindowWidth{{0x0028, 0x1051}, "DS"};
inline constexpr Attribute RescaleIntercept{{0x0028, 0x1052}, "DS"};
inline constexpr Attribute RescaleSlope{{0x0028, 0x1053}, "DS"};
inline constexpr Attribute RescaleType{{0x0028, 0x1054}, "LO"};
inline constexpr Attribute ModalityLutSequence{{0x0028, 0x3000}, "SQ"};
inline constexpr Attribute LutDescriptor{{0x0028, 0x3002}, "US"};
inline constexpr Attribute LutExplanation{{0x0028, 0x3003}, "LO"};
inline constexpr Attribute LutData{{0x0028, 0x3006}, "US"};
inline constexpr Attribute SoftcopyVoiLutSequence{{0x0028, 0x3110}, "SQ"};

inline constexpr Attribute RequestedProcedureDescription{{0x0032, 0x1060}, "LO"};
inline constexpr Attribute RequestedProcedureCodeSequence{{0x0032, 0x1064}, "SQ"};

inline constexpr Attribute RequestAttributesSequence{{0x0040, 0x0275}, "SQ"};
inline constexpr Attribute RequestedProcedureId{{0x0040, 0x1001}, "SH"};
inline constexpr Attribute PersonIdentificationCodeSequence{{0x0040, 0x1101}, "SQ"};
inline constexpr Attribute PlacerOrderNumber{{0x0040, 0x2016}, "LO"}; ///< of the imaging service request
inline constexpr Attribute FillerOrderNumber{{0x0040, 0x2017}, "LO"}; ///< of the imaging service request
inline constexpr Attribute MeasurementUnitsCodeSequence{{0x0040, 0x08EA}, "SQ"};
inline constexpr Attribute RelationshipType{{0x0040, 0xA010}, "CS"};
inline constexpr Attribute VerifyingOrganization{{0x0040, 0xA027}, "LO"};
inline constexpr Attribute VerificationDateTime{{0x0040, 0xA030}, "DT"};
inline constexpr Attribute ValueType{{0x0040, 0xA040}, "CS"};
inline constexpr Attribute ConceptNameCodeSequence{{0x0040, 0xA043}, "SQ"};
inline constexpr Attribute ContinuityOfContent{{0x0040, 0xA050}, "CS"};
inline constexpr Attribute VerifyingObserverSequence{{0x0040, 0xA073}, "SQ"};
inline constexpr Attribute VerifyingObserverName{{0x0040, 0xA075}, "PN"};
inline constexpr Attribute AuthorObserverSequence{{0x0040, 0xA078}, "SQ"};
inline constexpr Attribute ParticipantSequence{{0x0040, 0xA07A}, "SQ"};
inline constexpr Attribute ParticipationType{{0x0040, 0xA080}, "CS"};
inline constexpr Attribute ParticipationDateTime{{0x0040, 0xA082}, "DT"};
inline constexpr Attribute ObserverType{{0x0040, 0xA084}, "CS"};
inline constexpr Attribute VerifyingObserverIdentificationCodeSequence{{0x0040, 0xA088}, "SQ"};
inline constexpr Attribute ContentItemDateTime{{0x0040, 0xA120}, "DT"};
inline constexpr Attribute ContentItemDate{{0x0040, 0xA121}, "DA"};
inline constexpr Attribute ContentItemTime{{0x0040, 0xA122}, "TM"};
inline constexpr Attribute PersonName{{0x0040, 0xA123}, "PN"};
inline constexpr Attribute ContentItemUid{{0x0040, 0xA124}, "UI"};
inline constexpr Attribute TextValue{{0x0040, 0xA160}, "UT"};
inline constexpr Attribute ConceptCodeSequence{{0x0040, 0xA168}, "SQ"};
inline constexpr Attribute MeasuredValueSequence{{0x0040, 0xA300}, "SQ"};
inline constexpr Attribute NumericValue{{0x0040, 0xA30A}, "DS"};
inline constexpr Attribute PredecessorDocumentsSequence{{0x0040, 0xA360}, "SQ"};
inline constexpr Attribute ReferencedRequestSequence{{0x0040, 0xA370}, "SQ"};
inline constexpr Attribute PerformedProcedureCodeSequence{{0x0040, 0xA372}, "SQ"};
inline constexpr Attribute CurrentRequestedProcedureEvidenceSequence{{0x0040, 0xA375}, "SQ"};
inline constexpr Attribute CompletionFlag{{0x0040, 0xA491}, "CS"};
inline constexpr Attribute VerificationFlag{{0x0040, 0xA493}, "CS"};
inline constexpr Attribute ContentTemplateSequence{{0x0040, 0xA504}, "SQ"};
inline constexpr Attribute ContentSequence{{0x0040, 0xA730}, "SQ"};
inline constexpr Attribute TemplateIdentifier{{0x0040, 0xDB00}, "CS"};

inline constexpr Attribute ImageHorizontalFlip{{0x0070, 0x0041}, "CS"};
inline constexpr Attribute ImageRotation{{0x0070, 0x0042}, "US"};
inline constexpr Attribute DisplayedAreaTopLeft{{0x0070, 0x0052}, "SL"};
inline constexpr Attribute DisplayedAreaBottomRight{{0x0070, 0x0053}, "SL"};
inline constexpr Attribute DisplayedAreaSelectionSequence{{0x0070, 0x005A}, "SQ"};
inline constexpr Attribute ContentLabel{{0x0070, 0x0080}, "CS"};
inline constexpr Attribute ContentDescription{{0x0070, 0x0081}, "LO"};
inline constexpr Attribute PresentationCreationDate{{0x0070, 0x0082}, "DA"};
inline constexpr Attribute PresentationCreationTime{{0x0070, 0x0083}, "TM"};
inline constexpr Attribute ContentCreatorName{{0x0070, 0x0084}, "PN"};
inline constexpr Attribute PresentationSizeMode{{0x0070, 0x0100}, "CS"};
inline constexpr Attribute PresentationPixelSpacing{{0x0070, 0x0101}, "DS"};
inline constexpr Attribute PresentationPixelAspectRatio{{0x0070, 0x0102}, "IS"};

inline constexpr Attribute PresentationLutSequence{{0x2050, 0x0010}, "SQ"};
inline constexpr Attribute PresentationLutShape{{0x2050, 0x0020}, "CS"};

inline constexpr Attribute PixelData{{0x7FE0, 0x0010}, "OW"};

} // namespace tavrel::attribute
