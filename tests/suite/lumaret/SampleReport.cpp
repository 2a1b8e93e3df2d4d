#include "tests/suite/lumaret/SampleReport.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmsr/dsrdoc.h>

#include <QFile>

#include <stdexcept>

namespace tavrel::test {
namespace {

void Check(const OFCondition& outcome) {
    if (outcome.bad())
        throw std::runtime_error(outcome.text());
}

void AddText(DSRDocumentTree& tree, const char* name, const char* text, DSRTypes::E_AddMode mode) {
    tree.addContentItem(DSRTypes::RT_contains, DSRTypes::VT_Text, mode);
    Check(tree.getCurrentContentItem().setConceptName(DSRCodedEntryValue("1", "99_TEST", name)));
    Check(tree.getCurrentContentItem().setStringValue(text, false));
}

void AddMeasurement(DSRDocumentTree& tree) {
    tree.addContentItem(DSRTypes::RT_contains, DSRTypes::VT_Num, DSRTypes::AM_afterCurrent);
    auto& item = tree.getCurrentContentItem();
    Check(item.setConceptName(DSRCodedEntryValue("2", "99_TEST", "Diameter")));
    Check(item.setNumericValue(DSRNumericMeasurementValue("4", DSRCodedEntryValue("mm", "UCUM", "millimeter"))));
    tree.addContentItem(DSRTypes::RT_contains, DSRTypes::VT_Image, DSRTypes::AM_afterCurrent);
    Check(tree.getCurrentContentItem().setImageReference(DSRImageReferenceValue(UID_CTImageStorage, "1.2.3.9")));
}

} // namespace

void WriteReport(const QString& path, const SampleReport& report) {
    DSRDocument document(report.comprehensive ? DSRTypes::DT_ComprehensiveSR : DSRTypes::DT_BasicTextSR);
    auto& tree = document.getTree();
    tree.addContentItem(DSRTypes::RT_isRoot, DSRTypes::VT_Container);
    Check(tree.getCurrentContentItem().setConceptName(DSRCodedEntryValue("0", "99_TEST", "Report")));
    AddText(tree, "Title", report.title, DSRTypes::AM_belowCurrent);
    AddText(tree, "Reading", report.reading, DSRTypes::AM_afterCurrent);
    if (report.comprehensive)
        AddMeasurement(tree);
    if (*report.predecessor)
        Check(
            document.getPredecessorDocuments().addItem("1.2.3", "1.2.3.3", UID_BasicTextSRStorage, report.predecessor));
    DcmFileFormat file;
    Check(document.write(*file.getDataset()));
    DcmDataset& dataSet = *file.getDataset();
    dataSet.putAndInsertString(DCM_SpecificCharacterSet, report.characterSet);
    dataSet.putAndInsertString(DCM_PatientName, report.patientName);
    dataSet.putAndInsertString(DCM_PatientID, report.patientId);
    for (const auto& [tag, value] :
         {std::pair(DCM_IssuerOfPatientID, report.issuer), std::pair(DCM_SOPInstanceUID, report.uid),
          std::pair(DCM_StudyInstanceUID, report.studyUid)})
        if (*value)
            dataSet.putAndInsertString(tag, value);
    dataSet.putAndInsertString(DCM_ContentDate, report.date);
    dataSet.putAndInsertString(DCM_ContentTime, report.time);
    Check(file.saveFile(QFile::encodeName(path).constData(), EXS_LittleEndianExplicit));
}

} // namespace tavrel::test
