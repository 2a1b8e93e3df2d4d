"""Prints what pydicom reads in reports, one value a line. A warning ends it."""

import sys
import warnings

import pydicom


def show_content(items):
    for item in items:
        words = [item.RelationshipType, item.ValueType]
        words += [concept.CodeValue for concept in item.get("ConceptNameCodeSequence", [])]
        words += [repr(item.TextValue)] if "TextValue" in item else []
        words += [str(item.PersonName)] if "PersonName" in item else []
        for code in item.get("ConceptCodeSequence", []):
            words += [code.get("CodeValue") or code.LongCodeValue, code.CodeMeaning]
        words += [image.ReferencedSOPInstanceUID for image in item.get("ReferencedSOPSequence", [])]
        print(*words)
        show_content(item.get("ContentSequence", []))


def show(report):
    print(report.file_meta.TransferSyntaxUID)
    print(report.SOPClassUID)
    print(report.SOPInstanceUID)
    print(report.SpecificCharacterSet)
    print(report.PatientName)
    print(report.PatientBirthDate)
    print(report.CompletionFlag, report.VerificationFlag)
    for observer in report.get("VerifyingObserverSequence", []):
        print(observer.VerifyingObserverName, observer.VerificationDateTime)
    for study in report.get("PredecessorDocumentsSequence", []):
        for series in study.ReferencedSeriesSequence:
            for document in series.ReferencedSOPSequence:
                print(document.ReferencedSOPInstanceUID)
    show_content(report.ContentSequence)


files = sys.argv[1:]
warnings.simplefilter("error")
if files[0] == "--padded-uids":
    warnings.filterwarnings("ignore", message="Invalid value for VR UI")
    del files[0]
for file in files:
    show(pydicom.dcmread(file))
