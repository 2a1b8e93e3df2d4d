#include "host/ErrorReport.h"
#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

using testing::ElementsAre;

class Versions : public ReportFixture {};

TEST_F(Versions, AreCountedInTheSeries) {
    LoadReport({.versions = 3});

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(document.VersionCount(), 3);
}

TEST_F(Versions, AreLabelledWithContentDateAndTime) {
    LoadReport({.versions = 2});

    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00"));
}

TEST_F(Versions, SavedAtMidnightCarryTheirTimeInTheLabel) {
    station.clock.now = {2026, 11, 15};
    CreateReport();

    document.Send();

    EXPECT_THAT(Labels(), ElementsAre("15/11/2026 00:00:00"));
}

TEST_F(Versions, WithoutContentDateAndTimeHaveTheBlankAsTheirLabel) {
    LoadReport({});
    VersionAt(0)->SetValue(attribute::ContentDate, 0, Value());
    VersionAt(0)->SetValue(attribute::ContentTime, 0, Value());

    document.Send();

    EXPECT_THAT(Labels(), ElementsAre(" ", "15/11/2026 08:05:09"));
}

TEST_F(Versions, AreAskedForFromOneOn) {
    LoadReport({.versions = 2});

    EXPECT_EQ(document.Version(2), "14/11/2026 08:01:00");
    EXPECT_THROW(document.Version(0), Error);
    EXPECT_THROW(document.Version(3), Error);
}

struct BadIndex {
    std::string_view name;
    std::int16_t index;
    friend void PrintTo(const BadIndex& badIndex, std::ostream* out) { *out << badIndex.name; }
};

class BadIndexes : public Versions, public testing::WithParamInterface<BadIndex> {};

TEST_P(BadIndexes, AreRefusedAndTheIndexStays) {
    LoadReport({.versions = 2});

    const Error error = ErrorOf([&] { document.VersionIndex(GetParam().index); });

    EXPECT_EQ(error.number, 1);
    EXPECT_EQ(error.source, "DcmSRDocument");
    EXPECT_EQ(error.description, "Bad IOD index");
    EXPECT_EQ(document.VersionIndex(), 1);
}

INSTANTIATE_TEST_SUITE_P(, BadIndexes,
                         testing::Values(BadIndex{"BelowTheFirst", -1}, BadIndex{"AfterTheLast", 2},
                                         BadIndex{"BeyondTheEnd", 3}, BadIndex{"Lowest", -32768},
                                         BadIndex{"Highest", 32767}),
                         testing::PrintToStringParamName());

TEST_F(Versions, IndexDoesNotReloadTheContent) {
    LoadReport({.reading = "stored", .versions = 2});
    document.Reading("typed");

    document.VersionIndex(0);

    EXPECT_EQ(document.VersionIndex(), 0);
    EXPECT_EQ(document.Reading(), "typed");
}

TEST_F(Versions, AreGoneToWithTheirContentAndKeepTheLabels) {
    LoadReport({.versions = 3});
    document.Reading("typed");
    VersionAt(0)->SetValue(attribute::ContentDate, 0, DateTime{2020, 1, 1});

    document.GotoVersion(0);

    EXPECT_EQ(document.VersionIndex(), 0);
    EXPECT_EQ(document.Reading(), "Normal heart and lungs.");
    EXPECT_EQ(document.Observers().size(), 1U);
    EXPECT_FALSE(document.Updated());
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00", "14/11/2026 08:02:00"));
}

TEST_F(Versions, ThatDoNotExistFailInTheLibrary) {
    LoadReport({.versions = 2});

    EXPECT_EQ(FailureOf([&] { document.GotoVersion(2); }), "No data set at index 2");
    EXPECT_EQ(document.VersionIndex(), 2);
}

TEST_F(Versions, OfADocumentWithoutAListAreAnErrorInWords) {
    document.Series(nullptr);

    TrapNumbered(station.windows, "", [&] { document.NumVersions(); });
    TrapNumbered(station.windows, "", [&] { document.GotoVersion(0); });

    EXPECT_THAT(Shown(), testing::Each("91-The report holds no list of versions"));
    EXPECT_THAT(Shown(), testing::SizeIs(2));
}

class ReadOnly : public Versions {};

TEST_F(ReadOnly, IsNotTheLastVersionOfAPendingReport) {
    LoadReport({.versions = 2});

    EXPECT_FALSE(document.ReadOnly());
}

TEST_F(ReadOnly, IsAnOlderVersion) {
    LoadReport({.versions = 2});

    document.GotoVersion(0);
    EXPECT_TRUE(document.ReadOnly());

    document.GotoVersion(1);
    EXPECT_FALSE(document.ReadOnly());
}

TEST_F(ReadOnly, IsEveryVersionOfAnApprovedReport) {
    LoadReport({.versions = 1, .approved = true});

    EXPECT_EQ(document.status(), DcmSRDocument::Approved);
    EXPECT_TRUE(document.LoadedComplete());
    EXPECT_TRUE(document.ReadOnly());
}

struct Status {
    std::string_view name;
    int status;
    bool readOnly;
    friend void PrintTo(const Status& row, std::ostream* out) { *out << row.name; }
};

class Statuses : public Versions, public testing::WithParamInterface<Status> {};

TEST_P(Statuses, OnlyOneIsWritable) {
    CreateReport();

    document.status(GetParam().status);

    EXPECT_EQ(document.ReadOnly(), GetParam().readOnly);
}

INSTANTIATE_TEST_SUITE_P(, Statuses,
                         testing::Values(Status{"Pending", 1, false}, Status{"Approved", 0, true},
                                         Status{"BelowApproved", -1, true}, Status{"AbovePending", 2, true}),
                         testing::PrintToStringParamName());

TEST_F(Versions, AreUpdatedByAnyWriteOfTheStatus) {
    LoadReport({});
    ASSERT_FALSE(document.Updated());

    document.status(document.status());

    EXPECT_TRUE(document.Updated());
}

TEST_F(Versions, CanBeMarkedUpdatedAndBack) {
    document.Updated(true);
    EXPECT_TRUE(document.Updated());
    document.Updated(false);
    EXPECT_FALSE(document.Updated());
}

TEST_F(Versions, AreNeverProprietary) {
    EXPECT_FALSE(document.IsProprietary());
}

struct Completion {
    std::string_view name;
    std::string flag;
    int status;
    friend void PrintTo(const Completion& completion, std::ostream* out) { *out << completion.name; }
};

class CompletionFlags : public Versions, public testing::WithParamInterface<Completion> {};

TEST_P(CompletionFlags, DecideTheStatus) {
    LoadReport({.versions = 1, .approved = true});
    VersionAt(0)->SetValue(attribute::CompletionFlag, 0, GetParam().flag);

    document.GotoVersion(0);

    EXPECT_EQ(document.status(), GetParam().status);
    EXPECT_EQ(document.LoadedComplete(), GetParam().status == DcmSRDocument::Approved);
}

INSTANTIATE_TEST_SUITE_P(, CompletionFlags,
                         testing::Values(Completion{"Complete", "COMPLETE", 0}, Completion{"Partial", "PARTIAL", 1},
                                         Completion{"Empty", "", 1}, Completion{"SmallLetters", "complete", 1},
                                         Completion{"LongerWord", "COMPLETED", 1}),
                         testing::PrintToStringParamName());

TEST_F(Versions, AreAskedForTheirCompletionByAnOddVr) {
    struct Watched : ForwardingDataSet {
        Watched(DataSetHandle target, std::vector<std::string>& asked)
            : ForwardingDataSet(std::move(target)), vrs(asked) {}
        Value GetValue(const Attribute& attribute, int valueIndex) const override {
            if (attribute == attribute::CompletionFlag)
                vrs.emplace_back(attribute.vr);
            return ForwardingDataSet::GetValue(attribute, valueIndex);
        }
        std::vector<std::string>& vrs;
    };
    struct List : ForwardingDataSetList {
        using ForwardingDataSetList::ForwardingDataSetList;
        DataSetHandle Item(int index) const override {
            return std::make_shared<Watched>(ForwardingDataSetList::Item(index), vrs);
        }
        mutable std::vector<std::string> vrs;
    };
    LoadReport({});
    const auto list = std::make_shared<List>(document.Series());
    document.Series(list);

    document.GotoVersion(0);

    EXPECT_THAT(list->vrs, ElementsAre("SC"));
}

struct Physicians {
    std::string_view name;
    std::vector<std::string> observers; ///< in the order of their saves
    bool approved;
    std::string referring; ///< empty for none
    std::string approver;  ///< empty for none
    friend void PrintTo(const Physicians& physicians, std::ostream* out) { *out << physicians.name; }
};

class ReportPhysicians : public Versions, public testing::WithParamInterface<Physicians> {
protected:
    static std::string Name(const ObservationContext* observer) { return observer ? observer->ObserverName : ""; }
};

TEST_P(ReportPhysicians, ComeFromTheObservers) {
    document.Series()->AddDataSet(-1);
    for (const std::string& name : GetParam().observers) {
        const ObservationContext observer{name, "Orbenta General Hospital", {2026, 11, 15}};
        const int end = VersionAt(0)->GetSequenceItemCount(attribute::VerifyingObserverSequence);
        VersionAt(0)->SetSequenceItem(attribute::VerifyingObserverSequence, end, observer.DicomObject(*station.dicom));
    }
    VersionAt(0)->SetValue(attribute::CompletionFlag, 0, GetParam().approved ? "COMPLETE" : "PARTIAL");

    document.GotoVersion(0);

    EXPECT_EQ(Name(document.Referring()), GetParam().referring);
    EXPECT_EQ(Name(document.Approver()), GetParam().approver);
}

INSTANTIATE_TEST_SUITE_P(, ReportPhysicians,
                         testing::Values(Physicians{"NobodyPending", {}, false, "", ""},
                                         Physicians{"NobodyApproved", {}, true, "", ""},
                                         Physicians{"OnePending", {"A"}, false, "A", ""},
                                         Physicians{"OneApproved", {"A"}, true, "A", "A"},
                                         Physicians{"TwoApproved", {"A", "B"}, true, "A", "B"},
                                         Physicians{"ThreePending", {"A", "B", "C"}, false, "C", ""},
                                         Physicians{"ThreeApproved", {"A", "B", "C"}, true, "B", "C"}),
                         testing::PrintToStringParamName());

TEST_F(Versions, ShowTheirNewObserverOnlyWhenReadAgain) {
    LoadReport({.observer = "Dr. Anna Bianchi", .versions = 1});

    document.Send();
    EXPECT_EQ(document.Observers().size(), 1U);

    document.GotoVersion(1);
    ASSERT_EQ(document.Observers().size(), 2U);
    EXPECT_EQ(document.Referring()->ObserverName, "Dr. Mario Rossi");
}

TEST_F(Versions, WithoutASecondContentItemKeepTheReadingThatStoodThere) {
    LoadReport({});
    document.Reading("stays");
    document.Series()->AddDataSet(-1);

    document.GotoVersion(1);

    EXPECT_EQ(document.Reading(), "stays");
    EXPECT_FALSE(document.Updated());
}

TEST_F(Versions, WithoutContentHaveNoTitle) {
    LoadReport({.title = "Chest"});
    document.Series()->AddDataSet(-1);

    document.GotoVersion(1);

    std::string scheme, code, meaning, annotation;
    document.GetTitle(scheme, code, meaning, annotation);
    EXPECT_THAT((std::vector{scheme, code, meaning, annotation}), testing::Each(""));
}

} // namespace
} // namespace tavrel::test
