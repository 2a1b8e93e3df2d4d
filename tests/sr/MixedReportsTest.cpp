#include "tests/sr/InterchangeFixture.h"

namespace tavrel::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Reports that hold versions of both forms: the site has changed its choice.
class MixedReports : public InterchangeFixture {
protected:
    void SaveIn(ReportForm form) {
        global.reportForm = form;
        SendAndRead();
    }
    void ApproveIn(ReportForm form) {
        global.userSignature = "Dr. Anna Bianchi";
        document.status(DcmSRDocument::Approved);
        SaveIn(form);
    }
    void Create(ReportForm form) {
        global.reportForm = form;
        CreateReport();
        document.SetTitle("99SS", "T1", "Radiograph", "Chest");
        document.Reading("Normal.");
        SaveIn(form);
    }
};

TEST_F(MixedReports, AnInterchangeVersionAfterAClassicOneInheritsItsHeaderAndSaversAlone) {
    Create(ReportForm::Classic);
    SaveIn(ReportForm::Interchange);

    EXPECT_EQ(LastText(attribute::PatientName), "ROSSI^MARIA");
    EXPECT_EQ(LastText(attribute::SeriesInstanceUid), Text(VersionAt(0), attribute::SeriesInstanceUid));
    EXPECT_EQ(LastText(attribute::SeriesNumber), "2");
    EXPECT_EQ(LastText(attribute::InstanceNumber), "2");
    EXPECT_EQ(LastVersion()->GetValue(attribute::FormerStudyElement), Value());
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 0);
    EXPECT_THAT(Savers(), ElementsAre("Dr. Mario Rossi", "Dr. Mario Rossi"));
    EXPECT_EQ(LastCount(attribute::ReferencedRequestSequence), 1);
}

TEST_F(MixedReports, AClassicVersionAfterAnInterchangeOneIsClassicThroughout) {
    Create(ReportForm::Interchange);
    document.PutCodedEntries(chest, {effusion}, {pneumonia});
    document.Images({image});
    SaveIn(ReportForm::Interchange);
    SaveIn(ReportForm::Classic);

    EXPECT_EQ(LastText(attribute::SpecificCharacterSet), "ISO_IR 100");
    EXPECT_EQ(LastText(attribute::InstanceNumber), "1");
    EXPECT_EQ(LastText(attribute::SoftwareVersions), "1.4");
    EXPECT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 3);
    for (const Tag sequence :
         {Tag{attribute::ParticipantSequence}, Tag{attribute::AuthorObserverSequence},
          Tag{attribute::ContentTemplateSequence}, Tag{attribute::CurrentRequestedProcedureEvidenceSequence}})
        EXPECT_EQ(LastCount(sequence), 0);
}

TEST_F(MixedReports, AClassicVersionLeavesTheCodedEntriesAloneAndHasNoImages) {
    Create(ReportForm::Interchange);
    document.PutCodedEntries(chest, {effusion}, {pneumonia});
    document.Images({image});
    SaveIn(ReportForm::Interchange);
    SaveIn(ReportForm::Classic);

    EXPECT_FALSE(document.HoldsCodedEntries());
    EXPECT_THAT(document.Findings(), ElementsAre(effusion));
    EXPECT_THAT(document.Images(), IsEmpty());
}

TEST_F(MixedReports, AreApprovedInEitherFormAfterTheOther) {
    for (const auto& [first, second] : {std::pair(ReportForm::Classic, ReportForm::Interchange),
                                        std::pair(ReportForm::Interchange, ReportForm::Classic)}) {
        global.userSignature = "Dr. Mario Rossi";
        Create(first);
        ApproveIn(second);
        const auto read = ReadAgain();
        EXPECT_EQ(read.Referring()->ObserverName, "Dr. Mario Rossi");
        EXPECT_EQ(read.Approver()->ObserverName, "Dr. Anna Bianchi");
        EXPECT_EQ(read.Reading(), "Normal.");
    }
}

TEST_F(MixedReports, NameVersionsOfBothFormsAsPredecessors) {
    Create(ReportForm::Classic);
    SaveIn(ReportForm::Interchange);
    SaveIn(ReportForm::Classic);
    SaveIn(ReportForm::Interchange);

    const auto series =
        LastOf(attribute::PredecessorDocumentsSequence)->GetSequenceItem(attribute::ReferencedSeriesSequence, 0);
    ASSERT_EQ(series->GetSequenceItemCount(attribute::ReferencedSopSequence), 3);
    for (const int index : {0, 1, 2})
        EXPECT_EQ(
            Text(series->GetSequenceItem(attribute::ReferencedSopSequence, index), attribute::ReferencedSopInstanceUid),
            Text(VersionAt(index), attribute::SopInstanceUid));
}

TEST_F(MixedReports, AreReadFromTheirFolderInTheirOrder) {
    int files = 0;
    std::filesystem::create_directories(station.NativePath("mixed"));
    station.store.answer = [&](const SentVersion& sent) {
        sent.dataSet->SaveToFile(station.Path("mixed\\" + std::to_string(9 - ++files) + ".dcm"));
    };
    Create(ReportForm::Classic);
    SaveIn(ReportForm::Interchange);
    SaveIn(ReportForm::Classic);

    document.LoadSeries(station.Path("mixed"));

    EXPECT_THAT(Labels(), ElementsAre("15/11/2026 08:05:09", "15/11/2026 08:05:10", "15/11/2026 08:05:11"));
    EXPECT_FALSE(document.HoldsMore());
    document.GotoVersion(1);
    EXPECT_TRUE(document.HoldsCodedEntries());
}

TEST_F(MixedReports, OfANameThatLatinOneLacksAreRefusedInTheClassicForm) {
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::PatientName, "Люкceмбypг");
    global.reportForm = ReportForm::Interchange;
    document.CreateFromDDO(*images, 0);
    SaveIn(ReportForm::Interchange);
    EXPECT_EQ(document.UnwritablePatient(), "");

    SaveIn(ReportForm::Classic);

    EXPECT_THAT(document.UnwritablePatient(), HasSubstr("Patient Name"));
    EXPECT_THAT(Shown(), ElementsAre(AllOf(HasSubstr("its file cannot hold these characters"), HasSubstr("Л"))));
    EXPECT_EQ(document.NumVersions(), 1);
}

TEST_F(MixedReports, OfAPhysicianWhomLatinOneLacksAreRefusedInTheClassicForm) {
    global.userSignature = "Αθηνά";
    Create(ReportForm::Interchange);
    global.userSignature = "Dr. Mario Rossi";

    SaveIn(ReportForm::Classic);

    EXPECT_THAT(Shown(), ElementsAre(HasSubstr("the physician's signature: Α")));
}

TEST_F(MixedReports, OfAReportThatWasCreatedInTheOtherFormAreWhole) {
    global.reportForm = ReportForm::Classic;
    CreateReport();
    SaveIn(ReportForm::Interchange);

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(LastText(attribute::InstanceNumber), "1");
    EXPECT_EQ(LastText(attribute::PatientId), "P1");
    EXPECT_THAT(Shown(), IsEmpty());
}

} // namespace
} // namespace tavrel::test
