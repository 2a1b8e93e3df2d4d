#include "host/ErrorReport.h"
#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

class Accessors : public ReportFixture {
protected:
    ContentNode CurrentTitle() const {
        ContentNode title;
        document.GetTitle(title.CodeScheme, title.Code, title.CodeMeaning, title.Annotation);
        return title;
    }
    ContentNode CurrentBodyPart() const {
        ContentNode part;
        document.GetBodyPart(part.CodeScheme, part.Code, part.CodeMeaning);
        return part;
    }
};

TEST_F(Accessors, AnswerPatientAndStudyOfTheCurrentVersion) {
    CreateReport();

    EXPECT_EQ(document.PatientName(), "ROSSI^MARIA");
    EXPECT_EQ(document.PatientSex(), "F");
    EXPECT_EQ(document.PatientBirthday(), (DateTime{1960, 5, 20}));
    EXPECT_EQ(document.PatientID(), "P1");
    EXPECT_EQ(document.StudyDate(), (DateTime{2026, 11, 14}));
    EXPECT_EQ(document.StudyDescription(), "Chest");
    EXPECT_EQ(document.ReferringPhysician(), "BIANCHI^ANNA");
}

TEST_F(Accessors, FollowTheVersionIndex) {
    LoadReport({.versions = 2});
    VersionAt(0)->SetValue(attribute::PatientName, 0, "FORMER^NAME");

    document.VersionIndex(0);

    EXPECT_EQ(document.PatientName(), "FORMER^NAME");
}

TEST_F(Accessors, OfAClearedDocumentAreEmpty) {
    CreateReport();

    document.Clear();

    EXPECT_EQ(document.PatientName(), "");
    EXPECT_EQ(document.PatientSex(), "");
    EXPECT_EQ(document.PatientBirthday(), DateTime{});
    EXPECT_EQ(document.PatientID(), "");
    EXPECT_EQ(document.StudyDate(), DateTime{});
    EXPECT_EQ(document.StudyDescription(), "");
    EXPECT_EQ(document.ReferringPhysician(), "");
}

class Title : public Accessors {
protected:
    Title() {
        document.SetTitle("99SS", "T1", "Radiograph", "Chest");
        document.Updated(false);
    }
};

TEST_F(Title, TakesAllFourFields) {
    EXPECT_EQ(CurrentTitle(), (ContentNode{"99SS", "T1", "Radiograph", "Chest"}));
}

TEST_F(Title, StaysWhenOnlyItsMeaningDiffers) {
    document.SetTitle("99SS", "T1", "X-ray", "Chest");

    EXPECT_EQ(CurrentTitle().CodeMeaning, "Radiograph");
    EXPECT_FALSE(document.Updated());
}

struct TitleChange {
    std::string_view name;
    ContentNode title;
    friend void PrintTo(const TitleChange& titleChange, std::ostream* out) { *out << titleChange.name; }
};

class TitleChanges : public Title, public testing::WithParamInterface<TitleChange> {};

TEST_P(TitleChanges, SetAllFieldsAndMarkTheDocument) {
    const ContentNode& changed = GetParam().title;

    document.SetTitle(changed.CodeScheme, changed.Code, changed.CodeMeaning, changed.Annotation);

    EXPECT_EQ(CurrentTitle(), changed);
    EXPECT_TRUE(document.Updated());
}

INSTANTIATE_TEST_SUITE_P(, TitleChanges,
                         testing::Values(TitleChange{"Scheme", {"DCM", "T1", "new", "Chest"}},
                                         TitleChange{"Code", {"99SS", "T2", "new", "Chest"}},
                                         TitleChange{"Text", {"99SS", "T1", "new", "Abdomen"}},
                                         TitleChange{"Everything", {}}),
                         testing::PrintToStringParamName());

class BodyPart : public Accessors {
protected:
    BodyPart() {
        document.SetBodyPart("99SS", "B1", "Chest");
        document.Updated(false);
    }
};

TEST_F(BodyPart, TakesItsConcept) {
    EXPECT_EQ(CurrentBodyPart(), (ContentNode{"99SS", "B1", "Chest", ""}));
    EXPECT_EQ(document.BodyPartNode(), (ContentNode{"99SS", "B1", "Chest", ""}));
}

TEST_F(BodyPart, StaysWhenOnlyItsMeaningDiffers) {
    document.SetBodyPart("99SS", "B1", "Thorax");

    EXPECT_EQ(CurrentBodyPart().CodeMeaning, "Chest");
    EXPECT_FALSE(document.Updated());
}

TEST_F(BodyPart, ChangesWithItsCodeOrItsScheme) {
    document.SetBodyPart("99SS", "B2", "Abdomen");
    EXPECT_TRUE(document.Updated());
    document.Updated(false);

    document.SetBodyPart("SRT", "B2", "Abdomen again");

    EXPECT_TRUE(document.Updated());
    EXPECT_EQ(document.BodyPartNode(), (ContentNode{"SRT", "B2", "Abdomen again", ""}));
}

TEST_F(Accessors, MarkTheDocumentOnlyWhenTheReadingChanges) {
    document.Reading("Normal.");
    EXPECT_TRUE(document.Updated());
    document.Updated(false);

    document.Reading("Normal.");

    EXPECT_FALSE(document.Updated());
    EXPECT_EQ(document.Reading(), "Normal.");
}

/// Findings and diagnoses behave alike; the tests run on both.
struct EntryList {
    std::string_view name;
    std::int16_t (DcmSRDocument::*count)() const;
    void (DcmSRDocument::*remove)(std::int16_t);
    void (DcmSRDocument::*get)(std::int16_t, std::string&, std::string&, std::string&, std::string&) const;
    void (DcmSRDocument::*set)(std::int16_t, std::string_view, std::string_view, std::string_view, std::string_view);

    friend void PrintTo(const EntryList& list, std::ostream* out) { *out << list.name; }
};

class Entries : public Accessors, public testing::WithParamInterface<EntryList> {
protected:
    void Set(std::int16_t index, const ContentNode& node) {
        (document.*GetParam().set)(index, node.CodeScheme, node.Code, node.CodeMeaning, node.Annotation);
    }
    ContentNode Get(std::int16_t index) const {
        ContentNode node;
        (document.*GetParam().get)(index, node.CodeScheme, node.Code, node.CodeMeaning, node.Annotation);
        return node;
    }
    std::int16_t Count() const { return (document.*GetParam().count)(); }
    void Delete(std::int16_t index) { (document.*GetParam().remove)(index); }
    void FillWithThree() {
        for (const char* code : {"A", "B", "C"})
            Set(-1, {"99SS", code, "meaning", "note"});
        document.Updated(false);
    }
};

INSTANTIATE_TEST_SUITE_P(
    , Entries,
    testing::Values(EntryList{"Findings", &DcmSRDocument::GetFindingCount, &DcmSRDocument::DeleteFinding,
                              &DcmSRDocument::GetFinding, &DcmSRDocument::SetFinding},
                    EntryList{"Diagnoses", &DcmSRDocument::GetDiagnosisCount, &DcmSRDocument::DeleteDiagnosis,
                              &DcmSRDocument::GetDiagnosis, &DcmSRDocument::SetDiagnosis}),
    testing::PrintToStringParamName());

TEST_P(Entries, BelowZeroAreAppended) {
    Set(-1, {"99SS", "A", "meaning", "note"});

    EXPECT_EQ(Count(), 1);
    EXPECT_EQ(Get(1), (ContentNode{"99SS", "A", "meaning", "note"}));
    EXPECT_TRUE(document.Updated());
}

TEST_P(Entries, BeyondTheEndAreAppended) {
    FillWithThree();

    Set(9, {"99SS", "D", "meaning", "note"});

    EXPECT_EQ(Count(), 4);
    EXPECT_EQ(Get(4).Code, "D");
}

TEST_P(Entries, ThatAreEmptyAreAppendedTooAndMarkTheDocument) {
    Set(-1, {});

    EXPECT_EQ(Count(), 1);
    EXPECT_TRUE(document.Updated());
}

TEST_P(Entries, AreNumberedFromOne) {
    FillWithThree();

    EXPECT_EQ(Get(1).Code, "A");
    EXPECT_EQ(Get(3).Code, "C");
}

TEST_P(Entries, AtZeroOrBeyondTheEndCannotBeRead) {
    FillWithThree();

    TrapNumbered(station.windows, "", [&] { Get(0); });
    TrapNumbered(station.windows, "", [&] { Get(4); });
    TrapNumbered(station.windows, "", [&] { Get(-1); });

    EXPECT_THAT(Shown(), testing::ElementsAre("9-No entry 0 in a list of 3", "9-No entry 4 in a list of 3",
                                              "9-No entry -1 in a list of 3"));
}

TEST_P(Entries, AtZeroCannotBeSet) {
    FillWithThree();

    EXPECT_THROW(Set(0, {"99SS", "X", "meaning", "note"}), Error);

    EXPECT_EQ(Count(), 3);
    EXPECT_FALSE(document.Updated());
}

TEST_P(Entries, SetToWhatTheyAreDoNotMarkTheDocument) {
    FillWithThree();

    Set(2, {"99SS", "B", "meaning", "note"});

    EXPECT_FALSE(document.Updated());
}

TEST_P(Entries, ChangeWithAnyOfTheirFields) {
    for (const ContentNode& changed : {ContentNode{"DCM", "A", "meaning", "note"},
                                       {"DCM", "Z", "meaning", "note"},
                                       {"DCM", "Z", "other", "note"},
                                       {"DCM", "Z", "other", "longer note"}}) {
        if (Count() == 0)
            FillWithThree();
        document.Updated(false);

        Set(1, changed);

        EXPECT_EQ(Get(1), changed);
        EXPECT_TRUE(document.Updated());
        EXPECT_EQ(Count(), 3);
    }
}

TEST_P(Entries, AreDeletedByTheirNumber) {
    FillWithThree();

    Delete(2);

    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(Get(2).Code, "C");
    EXPECT_TRUE(document.Updated());
}

TEST_P(Entries, AreDeletedAtTheEndToo) {
    FillWithThree();

    Delete(3);

    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(Get(2).Code, "B");
}

TEST_P(Entries, BeyondTheEndAreNotDeleted) {
    FillWithThree();

    Delete(5);

    EXPECT_EQ(Count(), 3);
    EXPECT_FALSE(document.Updated());
}

TEST_P(Entries, BelowOneCannotBeDeleted) {
    FillWithThree();

    EXPECT_THROW(Delete(0), Error);
    EXPECT_THROW(Delete(-1), Error);

    EXPECT_EQ(Count(), 3);
    EXPECT_FALSE(document.Updated());
}

TEST_P(Entries, AreNotMixedWithTheOtherList) {
    FillWithThree();

    EXPECT_EQ(document.GetFindingCount() + document.GetDiagnosisCount(), 3);
}

} // namespace
} // namespace tavrel::test
