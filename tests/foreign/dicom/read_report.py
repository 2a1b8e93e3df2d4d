"""Prints what pydicom reads in a report, one value a line, warnings included."""

import sys
import warnings

import pydicom

warnings.simplefilter("error")
warnings.filterwarnings("ignore", message="Invalid value for VR UI")  # zero-padded components
report = pydicom.dcmread(sys.argv[1])
print(report.file_meta.TransferSyntaxUID)
print(report.SOPClassUID)
print(report.SOPInstanceUID)
print(report.SpecificCharacterSet)
print(report.PatientName)
print(report.PatientBirthDate)
print(report.CompletionFlag, report.VerificationFlag)
for observer in report.VerifyingObserverSequence:
    print(observer.VerifyingObserverName, observer.VerificationDateTime)
for series in report.PredecessorDocumentsSequence[0].ReferencedSeriesSequence:
    for document in series.ReferencedSOPSequence:
        print(document.ReferencedSOPInstanceUID)
for item in report.ContentSequence:
    concept = item.ConceptNameCodeSequence[0]
    print(item.RelationshipType, item.ValueType, concept.CodeValue, repr(item.TextValue))
