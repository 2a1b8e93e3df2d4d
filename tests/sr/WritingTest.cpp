#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// What `Send` writes into a version; nothing leaves the workstation.
class Writing : public ReportFixture {
protected:
    static std::vector<std::string> Concept(const DataSetHandle& dataSet) {
        EXPECT_EQ(dataSet->GetSequenceItemCount(attribute::ConceptNameCodeSequence), 1);
        ContentNode node;
        node.DicomObject(dataSet->GetSequenceItem(attribute::ConceptNameCodeSequence, 0));
        return {node.CodeScheme, node.Code, node.CodeMeaning};
    }
    int LastCount(Tag sequence) const { return LastVersion()->GetSequenceItemCount(sequence); }
};

TEST_F(Writing, MakesABasicTextDocument) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastText({0x0008, 0x0016}, "UI"), "1.2.840.10008.5.1.4.1.1.88.11");
    EXPECT_EQ(LastText({0x0002, 0x0010}, "UI"), "1.2.840.10008.1.2.1");
    EXPECT_EQ(LastText({0x0008, 0x0070}, "LO"), "Mervanti");
    EXPECT_EQ(LastText({0x0008, 0x0005}, "CS"), "ISO_IR 100");
    EXPECT_EQ(LastText({0x0040, 0xA040}, "CS"), "CONTAINER");
    EXPECT_EQ(LastText({0x0040, 0xA050}, "CS"), "SEPARATE");
}

TEST_F(Writing, NamesTheInstanceByTheTimeStamp) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastText({0x0008, 0x0018}, "UI"), "1.2.999.1.2026.11.15.08.05.09");
}

TEST_F(Writing, TwiceInASecondGivesOneUid) {
    LoadReport({});

    document.Send();
    document.Send();

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(Text(VersionAt(1), attribute::SopInstanceUid, "UI"), Text(VersionAt(2), attribute::SopInstanceUid, "UI"));
}

TEST_F(Writing, DatesTheContent) {
    CreateReport();

    document.Send();

    EXPECT_EQ(DateTimeOf(LastVersion()->GetValue({0x0008, 0x0023}, "DA")), (DateTime{2026, 11, 15}));
    EXPECT_EQ(TimeText(DateTimeOf(LastVersion()->GetValue({0x0008, 0x0033}, "TM"))), "08:05:09");
}

TEST_F(Writing, NumbersEveryVersionWithOne) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(LastText(attribute::InstanceNumber, "IS"), "1");
}

TEST_F(Writing, DescribesTheSeriesByTheTitle) {
    CreateReport();
    document.SetTitle("99SS", "T1", "Radiograph", "Chest, two views");

    document.Send();

    EXPECT_EQ(LastText({0x0008, 0x103E}, "LO"), "Chest, two views");
    EXPECT_THAT(Concept(LastVersion()), ElementsAre("99SS", "T1", "Radiograph"));
}

TEST_F(Writing, ReplacesTheInheritedHeading) {
    LoadReport({});
    document.SetTitle("99SS", "T2", "Ultrasound", "Abdomen");

    document.Send();

    EXPECT_THAT(Concept(LastVersion()), ElementsAre("99SS", "T2", "Ultrasound"));
    EXPECT_THAT(Concept(VersionAt(0)), ElementsAre("99SS", "T1", "Heading"));
}

TEST_F(Writing, PutsTitleAndReadingIntoTheContent) {
    CreateReport();
    document.SetTitle("99SS", "T1", "Radiograph", "Chest");
    document.Reading("Normal.\r\nNo effusion.");

    document.Send();

    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    const DataSetHandle title = LastVersion()->GetSequenceItem({0x0040, 0xA730}, 0);
    EXPECT_THAT(Concept(title), ElementsAre("99SS", "SR.TITLE", "Title"));
    EXPECT_EQ(Text(title, {0x0040, 0xA160}, "UT"), "Chest");
    const DataSetHandle reading = LastVersion()->GetSequenceItem({0x0040, 0xA730}, 1);
    EXPECT_THAT(Concept(reading), ElementsAre("DCM", "121073", "Impression"));
    EXPECT_EQ(Text(reading, {0x0040, 0xA160}, "UT"), "Normal.\r\nNo effusion.");
    for (const DataSetHandle& item : {title, reading}) {
        EXPECT_EQ(Text(item, {0x0040, 0xA010}, "CS"), "CONTAINS");
        EXPECT_EQ(Text(item, {0x0040, 0xA040}, "CS"), "TEXT");
    }
}

TEST_F(Writing, ReplacesTheInheritedContent) {
    LoadReport({.reading = "first", .versions = 2});
    document.Reading("second");

    document.Send();

    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(Text(LastVersion()->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue, "UT"),
              "second");
    EXPECT_EQ(Text(VersionAt(1)->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue, "UT"), "first");
}

TEST_F(Writing, WithoutHeadingAndTextsWritesThemEmpty) {
    CreateReport();

    document.Send();

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_THAT(Concept(LastVersion()), ElementsAre("", "", ""));
    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(Text(LastVersion()->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue, "UT"), "");
}

TEST_F(Writing, LeavesBodyPartFindingsAndDiagnosesOut) {
    CreateReport();
    document.SetBodyPart("99SS", "B1", "Chest");
    document.SetFinding(-1, "99SS", "F1", "Effusion", "");
    document.SetDiagnosis(-1, "99SS", "D1", "Pneumonia", "");

    document.Send();

    EXPECT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(document.GetFindingCount(), 1);
}

struct Flags {
    int status;
    std::string_view completion;
    std::string_view verification;
};

class StatusFlags : public Writing, public testing::WithParamInterface<Flags> {};

TEST_P(StatusFlags, SayWhetherTheReportIsApproved) {
    CreateReport();
    document.status(GetParam().status);

    document.Send();

    EXPECT_EQ(LastText({0x0040, 0xA491}, "CS"), GetParam().completion);
    EXPECT_EQ(LastText({0x0040, 0xA493}, "CS"), GetParam().verification);
}

INSTANTIATE_TEST_SUITE_P(, StatusFlags,
                         testing::Values(Flags{0, "COMPLETE", "VERIFIED"}, Flags{1, "PARTIAL", "UNVERIFIED"},
                                         Flags{-1, "PARTIAL", "UNVERIFIED"}, Flags{2, "PARTIAL", "UNVERIFIED"}));

TEST_F(Writing, RecordsWhoSavedWhereAndWhen) {
    CreateReport();

    document.Send();

    ASSERT_EQ(LastCount({0x0040, 0xA073}), 1);
    const DataSetHandle observer = LastVersion()->GetSequenceItem({0x0040, 0xA073}, 0);
    EXPECT_EQ(Text(observer, {0x0040, 0xA075}, "PN"), "Dr. Mario Rossi");
    EXPECT_EQ(Text(observer, {0x0040, 0xA027}, "LO"), "Orbenta General Hospital");
    EXPECT_EQ(Text(observer, {0x0040, 0xA030}, "DT"), "15/11/2026 08:05:09");
}

TEST_F(Writing, AddsAnObserverToThoseOfTheFormerVersion) {
    LoadReport({.observer = "Dr. Anna Bianchi", .versions = 2});

    document.Send();

    ASSERT_EQ(LastCount(attribute::VerifyingObserverSequence), 3);
    EXPECT_EQ(Text(LastVersion()->GetSequenceItem(attribute::VerifyingObserverSequence, 0),
                   attribute::VerifyingObserverName, "PN"),
              "Dr. Anna Bianchi");
    EXPECT_EQ(VersionAt(1)->GetSequenceItemCount(attribute::VerifyingObserverSequence), 2);
    EXPECT_EQ(document.Observers().size(), 2U);
}

TEST_F(Writing, OfTheFirstVersionNamesNoPredecessor) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 0);
}

TEST_F(Writing, NamesAllEarlierVersionsAsPredecessorsUnderOneSeries) {
    LoadReport({.versions = 2});

    document.Send();

    ASSERT_EQ(LastCount({0x0040, 0xA360}), 1);
    const DataSetHandle study = LastVersion()->GetSequenceItem({0x0040, 0xA360}, 0);
    EXPECT_EQ(Text(study, {0x0020, 0x000D}, "UI"), "1.2.3");
    ASSERT_EQ(study->GetSequenceItemCount({0x0008, 0x1115}), 1);
    const DataSetHandle series = study->GetSequenceItem({0x0008, 0x1115}, 0);
    EXPECT_EQ(Text(series, {0x0020, 0x000E}, "UI"), "1.2.3.2.1");
    ASSERT_EQ(series->GetSequenceItemCount({0x0008, 0x1199}), 2);
    for (const int index : {0, 1}) {
        const DataSetHandle version = series->GetSequenceItem({0x0008, 0x1199}, index);
        EXPECT_EQ(Text(version, {0x0008, 0x1150}, "UI"), "1.2.840.10008.5.1.4.1.1.88.11");
        EXPECT_EQ(Text(version, {0x0008, 0x1155}, "UI"), Text(VersionAt(index), attribute::SopInstanceUid, "UI"));
    }
}

TEST_F(Writing, ReplacesTheInheritedPredecessors) {
    LoadReport({.versions = 3});

    document.Send();

    EXPECT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 1);
}

TEST_F(Writing, KeepsTheSeriesAndTheStudy) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(LastText(attribute::SeriesInstanceUid, "UI"), "1.2.3.2.1");
    EXPECT_EQ(LastText(attribute::StudyInstanceUid, "UI"), "1.2.3");
    EXPECT_EQ(LastText(attribute::PatientName, "PN"), "ROSSI^MARIA");
}

TEST_F(Writing, ANewReportTwiceKeepsOneVersionWithANewUidAndTwoObservers) {
    CreateReport();
    document.Send();
    station.clock.now.second = 10;

    document.Send();

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(LastText(attribute::SopInstanceUid, "UI"), "1.2.999.1.2026.11.15.08.05.10");
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 2);
    EXPECT_THAT(Labels(), ElementsAre("15/11/2026 08:05:10"));
}

TEST_F(Writing, ALoadedReportAppendsAVersionAndLabelsItButStaysWhereItIs) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(document.VersionIndex(), 1);
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00", "15/11/2026 08:05:09"));
}

TEST_F(Writing, FromAnOlderVersionStillCopiesTheLastOne) {
    LoadReport({.versions = 3});
    document.GotoVersion(0);

    document.Send();

    EXPECT_EQ(document.NumVersions(), 4);
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 4);
}

TEST_F(Writing, ReadsTheClockOnceForContentAndObserver) {
    struct Ticking : Clock {
        mutable DateTime now{2026, 11, 15, 23, 59, 58};
        DateTime Now() const override {
            const DateTime answer = now;
            now = now.second == 58 ? DateTime{2026, 11, 15, 23, 59, 59} : DateTime{2026, 11, 16, 0, 0, 0};
            return answer;
        }
    } clock;
    Global ticking(Ports{station.store, *station.database, station.windows, *station.files, station.process,
                         station.users, clock});
    ticking.catalogue = std::move(global.catalogue);
    DcmSRDocument ticked(ticking);
    ticked.Series()->AddDataSet(-1);

    ticked.Send();

    const DataSetHandle version = ticked.Series()->Item(0);
    EXPECT_EQ(DateTimeOf(version->GetValue(attribute::ContentDate, "DA")), (DateTime{2026, 11, 15}));
    EXPECT_EQ(TimeText(DateTimeOf(version->GetValue(attribute::ContentTime, "TM"))), "23:59:58");
    EXPECT_EQ(
        Text(version->GetSequenceItem(attribute::VerifyingObserverSequence, 0), attribute::VerificationDateTime, "DT"),
        "15/11/2026 23:59:58");
}

/// Writes down, or refuses, what is set on a version.
struct WatchedDataSet : ForwardingDataSet {
    WatchedDataSet(const DataSetHandle& target, std::vector<Tag>& tags, Tag refusedTag)
        : ForwardingDataSet(target), written(tags), refused(refusedTag) {}
    void Note(Tag tag) {
        if (tag == refused)
            throw Error(7, "DICOM", "Refused");
        written.push_back(tag);
    }
    void SetValue(Tag tag, std::string_view vr, int valueIndex, const Value& value) override {
        Note(tag);
        ForwardingDataSet::SetValue(tag, vr, valueIndex, value);
    }
    void SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) override {
        if (written.empty() || written.back() != sequence)
            Note(sequence);
        ForwardingDataSet::SetSequenceItem(sequence, index, item);
    }
    std::vector<Tag>& written;
    Tag refused;
};

struct WatchedList : ForwardingDataSetList {
    WatchedList(std::shared_ptr<DataSetList> target, std::vector<Tag>& tags, Tag refusedTag = {0, 0})
        : ForwardingDataSetList(std::move(target)), written(tags), refused(refusedTag) {}
    DataSetHandle Item(int index) const override {
        return std::make_shared<WatchedDataSet>(ForwardingDataSetList::Item(index), written, refused);
    }
    std::vector<Tag>& written;
    Tag refused;
};

TEST_F(Writing, WritesItsAttributesInOrder) {
    LoadReport({});
    std::vector<Tag> written;
    document.Series(std::make_shared<WatchedList>(document.Series(), written));

    document.Send();

    EXPECT_THAT(written, ElementsAre(Tag{0x0002, 0x0010}, Tag{0x0008, 0x0016}, Tag{0x0008, 0x0018}, Tag{0x0008, 0x103E},
                                     Tag{0x0020, 0x0013}, Tag{0x0008, 0x0023}, Tag{0x0008, 0x0033}, Tag{0x0008, 0x0070},
                                     Tag{0x0008, 0x0005}, Tag{0x0040, 0xA040}, Tag{0x0040, 0xA050}, Tag{0x0040, 0xA043},
                                     Tag{0x0040, 0xA491}, Tag{0x0040, 0xA493}, Tag{0x0040, 0xA073}, Tag{0x0040, 0xA360},
                                     Tag{0x0040, 0xA730}));
}

TEST_F(Writing, ThatFailsKeepsWhatWasWrittenShowsWhyAndIsSentAllTheSame) {
    LoadReport({});
    std::vector<Tag> written;
    document.SetTitle("99SS", "T2", "Ultrasound", "Abdomen");
    const auto versions = document.Series();
    document.Series(std::make_shared<WatchedList>(versions, written, attribute::CompletionFlag));

    document.Send();

    EXPECT_THAT(Shown(), ElementsAre("Refused"));
    EXPECT_EQ(Text(versions->Item(1), attribute::SeriesDescription, "LO"), "Abdomen");
    EXPECT_EQ(document.VersionCount(), 1);
    EXPECT_EQ(station.store.sent.size(), 1U);
}

TEST_F(Writing, WithoutAnyVersionShowsWhy) {
    document.Send();

    EXPECT_THAT(Shown(), ElementsAre("No data set at index -1", "No data set at index -1"));
}

} // namespace
} // namespace tavrel::test
