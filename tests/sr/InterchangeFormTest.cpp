#include "platform/uid.h"
#include "tests/sr/InterchangeFixture.h"

namespace tavrel::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InterchangeForm : public InterchangeFixture {};

TEST_F(InterchangeForm, MakesUidsThatAreValidToTheLetter) {
    CreateReport();

    document.Send();

    EXPECT_TRUE(IsStandardUid(LastText(attribute::SopInstanceUid)));
    EXPECT_TRUE(IsStandardUid(LastText(attribute::SeriesInstanceUid)));
}

TEST_F(InterchangeForm, GivesTwoVersionsOfASecondTwoUids) {
    CreateReport();
    document.Send();
    document.GotoVersion(0);

    document.Send();

    EXPECT_NE(Text(VersionAt(0), attribute::SopInstanceUid), Text(VersionAt(1), attribute::SopInstanceUid));
    EXPECT_EQ(Text(VersionAt(0), attribute::SeriesInstanceUid), Text(VersionAt(1), attribute::SeriesInstanceUid));
}

TEST_F(InterchangeForm, TakesTheStudyIdAndLeavesTheElementThatNoStandardKnows) {
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::StudyId, "S1");
    images->SetElementString(0, attribute::FormerStudyElement, "odd");

    document.CreateFromDDO(*images, 0);
    document.Send();

    EXPECT_EQ(LastText(attribute::StudyId), "S1");
    EXPECT_EQ(LastVersion()->GetValue(attribute::FormerStudyElement), Value());
}

TEST_F(InterchangeForm, CountsItsVersions) {
    CreateReport();
    SendAndRead();
    SendAndRead();

    EXPECT_EQ(Text(VersionAt(0), attribute::InstanceNumber), "1");
    EXPECT_EQ(Text(VersionAt(1), attribute::InstanceNumber), "2");
}

TEST_F(InterchangeForm, NamesItsPredecessorsWithStudyAndSeries) {
    CreateReport();
    SendAndRead();
    SendAndRead();

    const auto study = LastOf(attribute::PredecessorDocumentsSequence);
    const auto series = study->GetSequenceItem(attribute::ReferencedSeriesSequence, 0);
    EXPECT_EQ(Text(study, attribute::StudyInstanceUid), "1.2.3");
    EXPECT_EQ(Text(series, attribute::SeriesInstanceUid), document.SeriesUid());
    EXPECT_EQ(Text(series->GetSequenceItem(attribute::ReferencedSopSequence, 0), attribute::ReferencedSopInstanceUid),
              Text(VersionAt(0), attribute::SopInstanceUid));
}

TEST_F(InterchangeForm, OfAPendingVersionHasAnAuthorAndNoVerifier) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 0);
    EXPECT_THAT(NamesIn(attribute::AuthorObserverSequence, attribute::PersonName), ElementsAre("Dr. Mario Rossi^"));
    EXPECT_EQ(Text(LastOf(attribute::AuthorObserverSequence), attribute::ObserverType), "PSN");
}

TEST_F(InterchangeForm, OfAnApprovedVersionHasTheApproverAsItsVerifierAlone) {
    CreateReport();
    SendAndRead();
    global.userSignature = "Dr. Anna Bianchi";
    document.status(DcmSRDocument::Approved);

    document.Send();

    ASSERT_THAT(NamesIn(attribute::VerifyingObserverSequence, attribute::VerifyingObserverName),
                ElementsAre("Dr. Anna Bianchi^"));
    const auto verifier = LastOf(attribute::VerifyingObserverSequence);
    EXPECT_EQ(Text(verifier, attribute::VerifyingOrganization), "Orbenta General Hospital");
    EXPECT_EQ(Text(verifier, attribute::VerificationDateTime), "15/11/2026 08:05:10");
    EXPECT_THAT(NamesIn(attribute::AuthorObserverSequence, attribute::PersonName), ElementsAre("Dr. Mario Rossi^"));
}

TEST_F(InterchangeForm, ApprovedAtOnceHasTheApproverAsItsAuthor) {
    CreateReport();
    document.status(DcmSRDocument::Approved);

    document.Send();

    EXPECT_THAT(NamesIn(attribute::AuthorObserverSequence, attribute::PersonName), ElementsAre("Dr. Mario Rossi^"));
    EXPECT_THAT(NamesIn(attribute::ParticipantSequence, attribute::ParticipationType), ElementsAre("ENT"));
}

TEST_F(InterchangeForm, RecordsWhoSavedEachVersion) {
    CreateReport();
    SendAndRead();
    global.userSignature = "Dr. Anna Bianchi";
    SendAndRead();

    EXPECT_THAT(NamesIn(attribute::ParticipantSequence, attribute::PersonName),
                ElementsAre("Dr. Mario Rossi^", "Dr. Anna Bianchi^"));
    EXPECT_EQ(Text(LastOf(attribute::ParticipantSequence, 1), attribute::ParticipationDateTime), "15/11/2026 08:05:10");
    EXPECT_EQ(Text(LastOf(attribute::ParticipantSequence, 1), attribute::InstitutionName), "Orbenta General Hospital");
}

TEST_F(InterchangeForm, OfANewReportSentTwiceIsOneVersionThatWasSavedTwice) {
    CreateReport();

    document.Send();
    document.Send();

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(LastText(attribute::InstanceNumber), "1");
    EXPECT_EQ(LastCount(attribute::ParticipantSequence), 2);
    EXPECT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 0);
}

TEST_F(InterchangeForm, AfterARefusalIsAsIfItHadNotBeenTried) {
    CreateReport();
    SendAndRead();
    station.store.answer = [](const SentVersion&) { throw Error(static_cast<int>(DicomFault::NotSendable), "", "No"); };
    document.status(DcmSRDocument::Approved);
    document.Send();
    document.status(DcmSRDocument::Pending);
    station.store.answer = {};

    SendAndRead();

    EXPECT_EQ(LastText(attribute::InstanceNumber), "2");
    EXPECT_THAT(Savers(), ElementsAre("Dr. Mario Rossi", "Dr. Mario Rossi"));
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 0);
}

TEST_F(InterchangeForm, OfAUserWithoutASignatureNamesTheUser) {
    global.userSignature = "";
    global.currentUserName = "mrossi";
    CreateReport();

    document.Send();

    EXPECT_THAT(NamesIn(attribute::ParticipantSequence, attribute::PersonName), ElementsAre("mrossi^"));
}

TEST_F(InterchangeForm, WithoutAnyNameOrOrganizationHasWordsWhereTheyAreRequired) {
    global.userSignature = global.organization = "";
    CreateReport();
    document.status(DcmSRDocument::Approved);

    document.Send();

    const auto verifier = LastOf(attribute::VerifyingObserverSequence);
    EXPECT_EQ(Text(verifier, attribute::VerifyingObserverName), "Unknown^");
    EXPECT_EQ(Text(verifier, attribute::VerifyingOrganization), "Unknown organization");
}

TEST_F(InterchangeForm, TakesABlankSignatureForNone) {
    for (const char* signature : {"  ", "^", "="}) {
        global.userSignature = signature;
        CreateReport();
        document.Send();
        EXPECT_THAT(NamesIn(attribute::ParticipantSequence, attribute::PersonName), ElementsAre("Unknown^"));
    }
}

TEST_F(InterchangeForm, WritesAnOrganizationOfSeveralLinesInOne) {
    global.organization = "Orbenta\r\nA\\B " + std::string(64, 'x');
    CreateReport();

    document.Send();

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_EQ(LastText(attribute::InstitutionName), "Orbenta  A/B " + std::string(51, 'x'));
}

TEST_F(InterchangeForm, LeavesOutAnImageThatNamesNoInstance) {
    CreateReport();
    document.Images({{}});

    document.Send();

    EXPECT_EQ(LastCount(attribute::CurrentRequestedProcedureEvidenceSequence), 0);
    EXPECT_THAT(ReadAgain().Images(), IsEmpty());
}

TEST_F(InterchangeForm, KeepsTheWritingsOfASignature) {
    global.userSignature = "Yamada^Tarou=山田^太郎=やまだ^たろう";
    CreateReport();

    SendAndRead();

    EXPECT_THAT(Savers(), ElementsAre("Yamada^Tarou=山田^太郎=やまだ^たろう"));
}

class OddSignatures : public InterchangeForm, public testing::WithParamInterface<std::string> {};

TEST_P(OddSignatures, AreRefusedByName) {
    global.userSignature = GetParam();
    CreateReport();

    document.Send();

    EXPECT_THAT(Shown(),
                ElementsAre(AllOf(HasSubstr("The report cannot be stored: the signature"), HasSubstr(GetParam()))));
}

INSTANTIATE_TEST_SUITE_P(, OddSignatures,
                         testing::Values("a\\b", "a=b=c=d", "a^b^c^d^e^f", "a=" + std::string(64, 'x')));

TEST_F(InterchangeForm, OfACodedHeadingHasItsCode) {
    CreateReport();
    document.SetTitle("LN", "11502-2", "Laboratory report", "Chest");

    SendAndRead();

    EXPECT_EQ(Heading(), (ContentNode{"LN", "11502-2", "Laboratory report", "Chest"}));
    EXPECT_THAT(ItemsNamed("121050"), IsEmpty());
}

TEST_F(InterchangeForm, OfAFreeHeadingHasAStandardCodeAndTheWords) {
    CreateReport();
    document.SetTitle("", "", "Seen on the ward", "Chest");
    document.FreeHeading("Seen on the ward");

    SendAndRead();

    EXPECT_EQ(CodeOf(LastVersion(), attribute::ConceptNameCodeSequence).Code, "18748-4");
    EXPECT_EQ(Heading(), (ContentNode{"", "", "Seen on the ward", "Chest"}));
}

TEST_F(InterchangeForm, TellsNoHeadingFromTheStandardOne) {
    CreateReport();
    SendAndRead();
    EXPECT_EQ(Heading(), ContentNode());

    document.SetTitle("LN", "18748-4", "Diagnostic Imaging Report", "");
    SendAndRead();
    EXPECT_EQ(Heading().Code, "18748-4");
}

TEST_F(InterchangeForm, HasABlankWhereThereIsNoTextAndReadsNone) {
    CreateReport();
    document.Reading(" \r\n ");

    SendAndRead();

    EXPECT_EQ(Text(LastItem(0), attribute::TextValue), "\u00A0");
    EXPECT_EQ(Text(LastItem(1), attribute::TextValue), "\u00A0");
    EXPECT_EQ(document.Reading(), "");
    EXPECT_EQ(Heading().Annotation, "");
}

TEST_F(InterchangeForm, ShortensTheSeriesDescriptionAndNotTheTitle) {
    const std::string title = "C:\\" + std::string(80, 'x');
    CreateReport();
    document.SetTitle("", "", "", title);

    SendAndRead();

    EXPECT_EQ(LastText(attribute::SeriesDescription), "C:/" + std::string(61, 'x'));
    EXPECT_EQ(Heading().Annotation, title);
}

TEST_F(InterchangeForm, HasTheLanguageOfTheDesktop) {
    station.process.language = "el";
    CreateReport();

    document.Send();

    ASSERT_EQ(ItemsNamed("121049").size(), 1U);
    EXPECT_EQ(CodeOf(ItemsNamed("121049")[0], attribute::ConceptCodeSequence),
              (ContentNode{"RFC5646", "el", "Greek", ""}));
}

TEST_F(InterchangeForm, HasNoLanguageWhereTheDesktopNamesNone) {
    CreateReport();

    document.Send();

    EXPECT_THAT(ItemsNamed("121049"), IsEmpty());
}

TEST_F(InterchangeForm, ReadsBodyPartFindingsAndDiagnosesBack) {
    CreateReport();
    document.PutCodedEntries(chest, {effusion, mass}, {pneumonia});

    SendAndRead();

    const auto read = ReadAgain();
    EXPECT_TRUE(read.HoldsCodedEntries());
    EXPECT_FALSE(read.HoldsMore());
    EXPECT_EQ(read.BodyPartNode(), chest);
    EXPECT_THAT(read.Findings(), ElementsAre(effusion, mass));
    EXPECT_THAT(read.Diagnoses(), ElementsAre(pneumonia));
}

TEST_F(InterchangeForm, DeclaresThePrivateSchemesThatAppear) {
    CreateReport();
    document.PutCodedEntries(chest, {effusion, mass}, {pneumonia, mass});

    document.Send();

    EXPECT_THAT(NamesIn(attribute::CodingSchemeIdentificationSequence, attribute::CodingSchemeDesignator),
                ElementsAre("99OGH"));
}

TEST_F(InterchangeForm, KeepsAnEntryThatHasNoCodeAndOneWhoseCodeIsLong) {
    const ContentNode words{"", "", "Chest", ""}, longCode{"99OGH", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "Mass", "new"};
    CreateReport();
    document.PutCodedEntries(words, {longCode}, {});

    SendAndRead();

    EXPECT_EQ(document.BodyPartNode(), words);
    EXPECT_THAT(document.Findings(), ElementsAre(longCode));
    const auto code = ItemsNamed("121070")[0]
                          ->GetSequenceItem(attribute::ContentSequence, 0)
                          ->GetSequenceItem(attribute::ConceptCodeSequence, 0);
    EXPECT_EQ(code->GetValue(attribute::CodeValue), Value());
}

TEST_F(InterchangeForm, MakesUpForAMissingSchemeAndMeaning) {
    CreateReport();
    document.PutCodedEntries({}, {{"", "F1", "", ""}}, {});

    SendAndRead();

    EXPECT_THAT(document.Findings(), ElementsAre(ContentNode{"99SS", "F1", "F1", ""}));
}

TEST_F(InterchangeForm, ReadsTheImagesBackWithTheirPresentationStates) {
    ReferencedImage frame = image, colour = image;
    frame.sopInstanceUid = "1.2.3.1.2";
    frame.frame = 7;
    frame.presentationSopInstanceUid = "1.2.826.0.1.3680043.9.7777.3.2";
    colour.sopInstanceUid = "1.2.3.1.3";
    colour.presentationSeriesUid = colour.presentationSopClassUid = colour.presentationSopInstanceUid = "";
    CreateReport();
    document.Images({image, frame, colour});

    SendAndRead();

    EXPECT_THAT(ReadAgain().Images(), ElementsAre(image, frame, colour));
}

TEST_F(InterchangeForm, ListsEachReferencedInstanceOnceAsEvidence) {
    ReferencedImage second = image, frame = image;
    second.sopInstanceUid = "1.2.3.1.2";
    second.presentationSopInstanceUid = "1.2.826.0.1.3680043.9.7777.3.2";
    frame.frame = 2;
    CreateReport();
    document.Images({image, second, frame});

    document.Send();

    ASSERT_EQ(LastCount(attribute::CurrentRequestedProcedureEvidenceSequence), 1);
    const auto study = LastOf(attribute::CurrentRequestedProcedureEvidenceSequence);
    ASSERT_EQ(study->GetSequenceItemCount(attribute::ReferencedSeriesSequence), 2);
    for (const int index : {0, 1})
        EXPECT_EQ(study->GetSequenceItem(attribute::ReferencedSeriesSequence, index)
                      ->GetSequenceItemCount(attribute::ReferencedSopSequence),
                  2);
}

TEST_F(InterchangeForm, TellsOfTheRequestWhatTheImageTells) {
    const auto images = station.ImageSeries();
    const auto request = station.dicom->NewDataSet();
    request->SetValue(attribute::RequestedProcedureId, 0, "RP1");
    images->Item(0)->SetSequenceItem(attribute::RequestAttributesSequence, 0, request);
    std::int16_t appended = -1;
    AppendCodeItem(*station.dicom, *images->Item(0), attribute::ProcedureCodeSequence, "99OGH", "P1", "CT chest",
                   appended);
    document.CreateFromDDO(*images, 0);
    SendAndRead();

    SendAndRead();

    ASSERT_EQ(LastCount(attribute::ReferencedRequestSequence), 1);
    EXPECT_EQ(Text(LastOf(attribute::ReferencedRequestSequence), attribute::RequestedProcedureId), "RP1");
    EXPECT_EQ(Text(LastOf(attribute::ReferencedRequestSequence), attribute::AccessionNumber), "A1");
    EXPECT_EQ(CodeOf(LastVersion(), attribute::PerformedProcedureCodeSequence),
              (ContentNode{"99OGH", "P1", "CT chest", ""}));
}

TEST_F(InterchangeForm, OfAnImageWithNothingHasTheRequiredElementsEmpty) {
    const auto images = station.dicom->NewDataSetList();
    images->AddDataSet(-1);
    images->SetElementString(0, attribute::StudyInstanceUid, "1.2.3");

    document.CreateFromDDO(*images, 0);
    document.Send();

    EXPECT_THAT(Shown(), IsEmpty());
    const auto file = ReadAgain();
    EXPECT_EQ(file.PatientBirthday(), DateTime());
    EXPECT_EQ(file.PatientID(), "");
    EXPECT_EQ(LastCount(attribute::ReferencedRequestSequence), 0);
}

TEST_F(InterchangeForm, RefusesNothingThatUnicodeHolds) {
    CreateReport();
    document.SetTitle("", "", "Ακτινογραφία", "胸部");
    document.Reading("“Ω” – שלום\r\nمرحبا \U0001FAC1");

    SendAndRead();

    EXPECT_THAT(Shown(), IsEmpty());
    const auto read = ReadAgain();
    EXPECT_EQ(read.Reading(), "“Ω” – שלום\r\nمرحبا \U0001FAC1");
    EXPECT_EQ(read.UnwritablePatient(), "");
}

TEST_F(InterchangeForm, KnowsWhoSavedAndApprovedFromOneFileAlone) {
    CreateReport();
    SendAndRead();
    global.userSignature = "Dr. Anna Bianchi";
    document.status(DcmSRDocument::Approved);
    SendAndRead();

    const auto read = ReadAgain();

    EXPECT_EQ(read.NumVersions(), 1);
    EXPECT_EQ(read.Referring()->ObserverName, "Dr. Mario Rossi");
    EXPECT_EQ(read.Referring()->ObservationDateTime, (DateTime{2026, 11, 15, 8, 5, 9}));
    EXPECT_EQ(read.Approver()->ObserverName, "Dr. Anna Bianchi");
}

TEST_F(InterchangeForm, OfAVersionWithoutEntriesHoldsNone) {
    CreateReport();
    document.PutCodedEntries(chest, {effusion}, {});
    SendAndRead();
    document.PutCodedEntries({}, {}, {});
    SendAndRead();

    EXPECT_TRUE(document.HoldsCodedEntries());
    EXPECT_EQ(document.BodyPartNode(), ContentNode());
    document.GotoVersion(0);
    EXPECT_THAT(document.Findings(), ElementsAre(effusion));
}

TEST_F(InterchangeForm, WithAnItemThatOnlyItsMakerKnowsIsReadOnly) {
    CreateReport();
    SendAndRead();
    const auto more = station.dicom->NewDataSet();
    more->SetValue(attribute::RelationshipType, 0, "CONTAINS");
    more->SetValue(attribute::ValueType, 0, "TEXT");
    LastVersion()->SetSequenceItem(attribute::ContentSequence, LastCount(attribute::ContentSequence), more);

    document.GotoVersion(0);

    EXPECT_TRUE(document.HoldsMore());
    EXPECT_TRUE(document.ReadOnly());
}

TEST_F(InterchangeForm, WithAnImageOfWhichMoreIsSaidIsReadOnly) {
    CreateReport();
    document.Images({image});
    SendAndRead();
    const auto item = LastItem(LastCount(attribute::ContentSequence) - 1);
    const auto reference = item->GetSequenceItem(attribute::ReferencedSopSequence, 0);
    reference->SetValue(attribute::ReferencedFrameNumber, 0, R"(1\2)");
    document.GotoVersion(0);
    EXPECT_TRUE(document.HoldsMore());

    reference->SetValue(attribute::ReferencedFrameNumber, 0, "1");
    document.GotoVersion(0);
    EXPECT_FALSE(document.HoldsMore());

    std::int16_t appended = -1;
    effusion.ConceptMacroAppend(*station.dicom, *item, appended);
    document.GotoVersion(0);
    EXPECT_TRUE(document.HoldsMore());
}

TEST_F(InterchangeForm, TakesNoFrameForOneThatIsNone) {
    CreateReport();
    document.Images({image});
    SendAndRead();
    LastItem(LastCount(attribute::ContentSequence) - 1)
        ->GetSequenceItem(attribute::ReferencedSopSequence, 0)
        ->SetValue(attribute::ReferencedFrameNumber, 0, "-2147483648");
    document.GotoVersion(0);
    EXPECT_EQ(document.Images().at(0).frame, 0);
}

TEST_F(InterchangeForm, WithOtherWordsForAHeadingOfItsMakersCodeIsReadOnly) {
    CreateReport();
    document.SetTitle("", "", "Any words", "Title");
    SendAndRead();
    LastOf(attribute::ConceptNameCodeSequence)->SetValue(attribute::CodeValue, 0, "11528-7");
    document.GotoVersion(0);
    EXPECT_TRUE(document.HoldsMore());
}

TEST_F(InterchangeForm, NamesNoEvidenceWithoutItsStudyAndSeries) {
    ReferencedImage lost = image;
    lost.studyUid = lost.seriesUid = "";
    CreateReport();
    document.Images({lost});
    document.Send();
    EXPECT_EQ(LastCount(attribute::CurrentRequestedProcedureEvidenceSequence), 0);
}

TEST_F(InterchangeForm, OfAnotherMakerIsApprovedByItsVerifier) {
    CreateReport();
    document.status(DcmSRDocument::Approved);
    SendAndRead();
    LastVersion()->SetEmptySequence(attribute::ParticipantSequence);
    document.GotoVersion(0);
    ASSERT_NE(document.Approver(), nullptr);
    EXPECT_EQ(document.Approver()->ObserverName, "Dr. Mario Rossi");
}

TEST_F(InterchangeForm, WithAFindingThatHoldsMoreThanAnAnnotationIsReadOnly) {
    CreateReport();
    document.PutCodedEntries({}, {effusion}, {});
    SendAndRead();
    const auto finding = ItemsNamed("121070")[0]->GetSequenceItem(attribute::ContentSequence, 0);
    finding->GetSequenceItem(attribute::ContentSequence, 0)->SetValue(attribute::RelationshipType, 0, "CONTAINS");

    document.GotoVersion(0);

    EXPECT_TRUE(document.HoldsMore());
}

TEST_F(InterchangeForm, RefusesACodeThatWouldBeReadAsTwo) {
    CreateReport();
    document.PutCodedEntries({}, {{"99OGH", "a\\b", "Mass", ""}}, {});

    document.Send();

    EXPECT_THAT(Shown(), ElementsAre(HasSubstr("holds a backslash")));
    EXPECT_THAT(station.store.sent, IsEmpty());
}

TEST_F(InterchangeForm, AsksTheClockOnce) {
    CreateReport();
    document.status(DcmSRDocument::Approved);

    document.Send();

    EXPECT_EQ(DateTimeOf(LastOf(attribute::VerifyingObserverSequence)->GetValue(attribute::VerificationDateTime)),
              DateTimeOf(LastOf(attribute::ParticipantSequence)->GetValue(attribute::ParticipationDateTime)));
}

} // namespace
} // namespace tavrel::test
