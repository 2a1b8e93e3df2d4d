#include "tests/suite/paper/PaperDesk.h"
#include "tests/support/Failure.h"

#include <gmock/gmock.h>

namespace tavrel::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class VersionPages : public PaperDesk {};

TEST_F(VersionPages, OfAnApprovedReportSayWhoWroteAndApprovedItAndWhen) {
    const PrintLayout page = Page(Report({.versions = 2, .approved = true}), 2);
    EXPECT_EQ(Below(page, "Written by"), "Dr. Mario Rossi, 14/11/2026 08:00:00\r\nOrbenta General Hospital");
    EXPECT_EQ(Below(page, "Approved by"), "Dr. Mario Rossi, 14/11/2026 08:01:00\r\nOrbenta General Hospital");
    EXPECT_EQ(OnEveryPage(page, "Marks"), "");
}

TEST_F(VersionPages, OfWhatIsNotApprovedSaySo) {
    const PrintLayout page = Page(Report(), 1);
    EXPECT_EQ(OnEveryPage(page, "Marks"), "NOT APPROVED");
    EXPECT_EQ(Below(page, "Approved by"), "Not yet approved");
    EXPECT_THAT(page.document.FileName(), HasSubstr("not approved.pdf"));
}

TEST_F(VersionPages, OfAnOlderVersionSayThatItIsNotTheNewest) {
    const auto files = Report({.versions = 3, .approved = true});
    EXPECT_EQ(OnEveryPage(Page(files, 2), "Marks"), "NOT APPROVED\r\nThis is version 2 of 3, not the newest version.");
    EXPECT_EQ(OnEveryPage(Page(files, 3), "Marks"), "");
}

TEST_F(VersionPages, SayThatAFileOfTheReportCannotBeRead) {
    const auto files = Report({.versions = 2, .approved = true});
    std::ofstream(files.front()) << "damaged";
    EXPECT_EQ(OnEveryPage(Page(files, 1), "Marks"),
              "There may be a newer version: 1 file of this report cannot be read.");
}

TEST_F(VersionPages, CountAFileThatWasTakenOutOfItsFolder) {
    const auto files = Report({.versions = 3});
    EXPECT_EQ(Page(files.back()).document.note, "version 3 of 3, not approved");
}

TEST_F(VersionPages, DrawNamesAsPeopleWriteThem) {
    const PrintLayout page = Page(Report({.patientName = "Doe^Peter", .observer = "Rossi^Mario"}), 1);
    EXPECT_EQ(OnEveryPage(page, "Patient"), "Doe, Peter");
    EXPECT_THAT(Below(page, "Written by"), StartsWith("Rossi, Mario, "));
    EXPECT_THAT(page.document.Title(), StartsWith("Doe, Peter - "));
}

TEST_F(VersionPages, NameThePatientBeyondDoubt) {
    EXPECT_EQ(OnEveryPage(Page(Report(), 1), "Identity").find("ID P1"), 0U);
}

TEST_F(VersionPages, SayThatNobodyIsNamed) {
    const auto nameless = Changed(Report().front(), [](DicomDataSet& version) {
        version.SetValue(attribute::PatientName, 0, std::string());
        version.SetValue(attribute::PatientId, 0, std::string());
    });
    EXPECT_THAT(OnEveryPage(Page(nameless), "Marks"), StartsWith("NO PATIENT IS NAMED\r\nNOT APPROVED"));
}

TEST_F(VersionPages, HoldHeadingTitleReadingAndCodedEntries) {
    const PrintLayout page = Page(Interchange([](DcmSRDocument& document) {
        document.Reading("First.\r\nSecond.");
        document.SetBodyPart("SCT", "51185008", "Chest");
        document.SetFinding(-1, "SCT", "27925004", "Nodule", "left\r\nupper lobe");
        document.SetFinding(-1, "SCT", "1", "Effusion", "");
        document.SetDiagnosis(-1, "SCT", "254637007", "Cancer", "suspected");
    }));
    EXPECT_EQ(OnEveryPage(page, "Heading"), "CT Chest");
    EXPECT_EQ(Below(page, "Title"), "Chest");
    EXPECT_EQ(Below(page, "Reading"), "First.\r\nSecond.");
    EXPECT_EQ(Below(page, "Body part"), "Chest");
    EXPECT_EQ(Below(page, "Findings"), "Nodule: left upper lobe\r\nEffusion");
    EXPECT_EQ(Below(page, "Diagnoses"), "Cancer: suspected");
}

TEST_F(VersionPages, LeaveOutWhatThereIsNot) {
    const PrintLayout page = Page(WithReading("Normal."));
    for (const char* caption : {"Body part", "Findings", "Diagnoses"})
        EXPECT_EQ(Below(page, caption), "") << caption;
}

TEST_F(VersionPages, OfADamagedNameLeaveRoomForTheReport) {
    const auto file = Changed(Report().front(), [](DicomDataSet& version) {
        version.SetValue(attribute::PatientName, 0, std::string(5000, 'x'));
    });
    EXPECT_EQ(OnEveryPage(Page(file), "Patient").size(), 203U);
}

TEST_F(VersionPages, OfAVersionThatIsNotThereAreAnError) {
    const auto files = Report({.versions = 2});
    EXPECT_EQ(FailureOf([&] { Page(files, 3); }), "There is no version 3 of this report, which has 2 versions");
    EXPECT_EQ(FailureOf([&] { Page(files, 0); }), "There is no version 0 of this report, which has 2 versions");
}

TEST_F(VersionPages, OfWhatIsNoReportAreAnError) {
    const auto file = Changed(Report().front(),
                              [](DicomDataSet& version) { version.SetValue(attribute::ValueType, 0, std::string()); });
    EXPECT_EQ(FailureOf([&] { Page(file); }), file + " is no structured report");
    EXPECT_THAT(FailureOf([&] { Page("/no/such/file"); }), HasSubstr("No such file"));
}

TEST_F(VersionPages, FindTheOtherVersionsInTheFolder) {
    const auto files = Report({.versions = 3});
    std::filesystem::copy_file(Report({.seriesUid = "1.2.3.9", .seriesDir = "second"}).front(),
                               station.NativePath("study/report1/another-series.dcm"));
    std::ofstream(station.NativePath("study/report1/notes.txt")) << "no DICOM";
    EXPECT_EQ(FilesOfItsSeries(*station.dicom, files[1]), files);
}

/// Another maker's document, with an item of each kind that says something.
class ForeignPages : public PaperDesk {
protected:
    std::string Document() {
        return Changed(Report({.approved = true}).front(), [&](DicomDataSet& document) {
            document.SetValue(attribute::SopClassUid, 0, std::string("1.2.840.10008.5.1.4.1.1.88.33"));
            Add(document, "CONTAINER", "Measurements", [&](DicomDataSet& list) {
                Add(list, "NUM", "Diameter", [&](DicomDataSet& number) {
                    const auto value = Item(number, attribute::MeasuredValueSequence);
                    value->SetValue(attribute::NumericValue, 0, std::string("4.5"));
                    Item(*value, attribute::MeasurementUnitsCodeSequence)
                        ->SetValue(attribute::CodeMeaning, 0, std::string("mm"));
                });
                Add(list, "CODE", "Side", [&](DicomDataSet& code) {
                    Item(code, attribute::ConceptCodeSequence)
                        ->SetValue(attribute::CodeMeaning, 0, std::string("left"));
                });
                Add(list, "PNAME", "Measured by",
                    [](DicomDataSet& person) { person.SetValue(attribute::PersonName, 0, std::string("Roe^Jane")); });
                Add(list, "IMAGE", "", [](DicomDataSet&) {});
            });
        });
    }
    DataSetHandle Item(DicomDataSet& holder, Tag sequence) const {
        DataSetHandle item = station.dicom->NewDataSet();
        holder.SetSequenceItem(sequence, holder.GetSequenceItemCount(sequence), item);
        return item;
    }
    void Add(DicomDataSet& holder, const std::string& type, const std::string& name,
             const std::function<void(DicomDataSet&)>& fill) const {
        const DataSetHandle item = Item(holder, attribute::ContentSequence);
        item->SetValue(attribute::RelationshipType, 0, std::string("CONTAINS"));
        item->SetValue(attribute::ValueType, 0, type);
        if (!name.empty())
            Item(*item, attribute::ConceptNameCodeSequence)->SetValue(attribute::CodeMeaning, 0, name);
        fill(*item);
    }
};

TEST_F(ForeignPages, HoldTheWholeTree) {
    const PrintLayout page = Page(Document());
    EXPECT_EQ(Below(page, "Measurements"), "Diameter: 4.5 mm\r\nSide: left\r\nMeasured by: Roe, Jane\r\nan image");
}

TEST_F(ForeignPages, AreApprovedWhenTheyAreVerified) {
    const auto verified = Document();
    EXPECT_EQ(OnEveryPage(Page(verified), "Marks"), "");
    const auto complete = Changed(verified, [](DicomDataSet& document) {
        document.SetValue(attribute::VerificationFlag, 0, std::string("UNVERIFIED"));
    });
    EXPECT_EQ(OnEveryPage(Page(complete), "Marks"), "NOT APPROVED");
}

TEST_F(ForeignPages, OfDocumentsThatDoNotFollowEachOtherCountNoVersions) {
    const auto first = Document(), second = station.NativePath("second.dcm").string();
    std::filesystem::copy_file(first, second);
    EXPECT_EQ(Page({first, second}, 1).document.note, "");
}

} // namespace
} // namespace tavrel::test
