#include "tests/sr/ReportFixture.h"
#include "tests/support/OpenQueries.h"
#include "tests/support/RecordingDatabase.h"

#include <array>
#include <cstdio>

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Creation : public ReportFixture {};

TEST_F(Creation, OfADocumentLeavesItEmptyAndPending) {
    EXPECT_EQ(document.NumVersions(), 0);
    EXPECT_EQ(document.VersionIndex(), -1);
    EXPECT_EQ(document.VersionCount(), 0);
    EXPECT_EQ(document.status(), DcmSRDocument::Pending);
    EXPECT_FALSE(document.Updated());
    EXPECT_FALSE(document.LoadedComplete());
    EXPECT_THAT(document.Observers(), IsEmpty());
    EXPECT_EQ(document.Reading(), "");
}

TEST_F(Creation, MakesOnePendingVersionThatIsUpdated) {
    CreateReport();

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(document.VersionIndex(), 0);
    EXPECT_TRUE(document.Updated());
    EXPECT_EQ(document.status(), DcmSRDocument::Pending);
    EXPECT_FALSE(document.ReadOnly());
    EXPECT_EQ(document.VersionCount(), 0);
}

TEST_F(Creation, ForgetsTheReportThatStoodThere) {
    LoadReport({.versions = 2, .approved = true});
    document.SetFinding(-1, "99SS", "F1", "Effusion", "");
    document.SetDiagnosis(-1, "99SS", "D1", "Pneumonia", "");
    document.SetBodyPart("99SS", "B1", "Chest");
    const auto former = document.Series();

    CreateReport();

    EXPECT_NE(document.Series(), former);
    EXPECT_EQ(former->Count(), 2);
    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(document.Reading(), "");
    EXPECT_EQ(document.GetFindingCount(), 0);
    EXPECT_EQ(document.GetDiagnosisCount(), 0);
    EXPECT_EQ(document.BodyPartNode(), ContentNode());
    EXPECT_THAT(document.Observers(), IsEmpty());
    EXPECT_FALSE(document.LoadedComplete());
}

TEST_F(Creation, OfAClearedReportStartsWithoutLabelsAndChanges) {
    LoadReport({.versions = 2});
    document.Reading("typed");

    document.Clear();

    EXPECT_THAT(Labels(), IsEmpty());
    EXPECT_FALSE(document.Updated());
}

TEST_F(Creation, OfAClearedReportHasItsFirstVersionWrittenInPlace) {
    LoadReport({});
    document.Clear();
    document.Series()->AddDataSet(-1);

    document.Save(station.Path("saved.dcm"));

    EXPECT_EQ(document.NumVersions(), 1);
}

TEST_F(Creation, CopiesPatientAndStudyFromTheImage) {
    const auto images = station.ImageSeries();
    images->SetElementString(0, attribute::FormerStudyElement, "kept");

    document.CreateFromDDO(*images, 0);

    EXPECT_EQ(LastText(attribute::PatientName), "ROSSI^MARIA");
    EXPECT_EQ(LastText(attribute::PatientId), "P1");
    EXPECT_EQ(LastText(attribute::PatientBirthDate), "20/05/1960");
    EXPECT_EQ(LastText(attribute::PatientSex), "F");
    EXPECT_EQ(LastText(attribute::StudyDate), "14/11/2026");
    EXPECT_EQ(DateTimeOf(LastVersion()->GetValue(attribute::StudyTime)).minute, 30);
    EXPECT_EQ(LastText(attribute::ReferringPhysicianName), "BIANCHI^ANNA");
    EXPECT_EQ(LastText(attribute::AccessionNumber), "A1");
    EXPECT_EQ(LastText(attribute::StudyDescription), "Chest");
    EXPECT_EQ(LastText(attribute::StudyInstanceUid), "1.2.3");
    EXPECT_EQ(LastText(attribute::FormerStudyElement), "kept");
}

TEST_F(Creation, MakesTheSeriesOfTheReport) {
    CreateReport();

    EXPECT_EQ(LastText(attribute::Modality), "SR");
    EXPECT_EQ(LastText(attribute::SeriesInstanceUid), "1.2.999.2.2026.11.15.08.05.09");
    EXPECT_EQ(LastText(attribute::SeriesNumber), "2");
    EXPECT_EQ(LastText(attribute::InstitutionName), "Orbenta General Hospital");
    EXPECT_EQ(LastText(attribute::ManufacturerModelName), "Orbenta/Refert");
    EXPECT_EQ(LastText(attribute::SoftwareVersions), "1.4");
}

TEST_F(Creation, LeavesToTheWriterWhatMakesAVersion) {
    CreateReport();

    EXPECT_EQ(LastText(attribute::SopInstanceUid), "");
    EXPECT_EQ(LastText(attribute::CompletionFlag), "");
    EXPECT_EQ(LastVersion()->GetSequenceItemCount(attribute::ContentSequence), 0);
    EXPECT_EQ(LastVersion()->GetSequenceItemCount(attribute::VerifyingObserverSequence), 0);
}

TEST_F(Creation, CopesWithAnImageThatHasNothing) {
    const auto images = station.dicom->NewDataSetList();
    images->AddDataSet(-1);

    document.CreateFromDDO(*images, 0);

    EXPECT_EQ(document.PatientName(), "");
    EXPECT_EQ(document.StudyDate(), DateTime{});
    EXPECT_EQ(LastText(attribute::SeriesNumber), "1");
}

TEST_F(Creation, NumbersTheFirstSeriesOfAStudyWithOne) {
    station.Execute("DELETE FROM Series");

    CreateReport();

    EXPECT_EQ(LastText(attribute::SeriesNumber), "1");
}

TEST_F(Creation, NumbersTheSeriesAfterTheHighestOfTheStudyWhateverItsModality) {
    station.AddSeries("1.2.3.7", "1.2.3", "CT", "images7", 7);
    station.AddSeries("1.2.3.5", "1.2.3", "SR", "report", 5);
    station.AddSeries("1.2.4.9", "1.2.4", "CT", "other study", 9);

    CreateReport();

    EXPECT_EQ(LastText(attribute::SeriesNumber), "8");
}

TEST_F(Creation, NumbersTheSeriesWithoutALimitOfSixteenBits) {
    station.AddSeries("1.2.3.7", "1.2.3", "CT", "images7", 70000);

    CreateReport();

    EXPECT_EQ(LastText(attribute::SeriesNumber), "70001");
}

TEST_F(Creation, CopiesFromTheImageAtTheIndexButAsksForTheStudyOfTheFirst) {
    const auto images = station.ImageSeries(4);
    images->SetElementString(3, attribute::PatientName, "BIANCHI^UGO");
    images->SetElementString(3, attribute::StudyInstanceUid, "1.2.4");
    station.AddSeries("1.2.4.9", "1.2.4", "CT", "other study", 9);

    document.CreateFromDDO(*images, 3);

    EXPECT_EQ(document.PatientName(), "BIANCHI^UGO");
    EXPECT_EQ(LastText(attribute::StudyInstanceUid), "1.2.4");
    EXPECT_EQ(LastText(attribute::SeriesNumber), "2");
}

TEST_F(Creation, AsksTheCatalogueInItsExactWords) {
    std::vector<RanStatement> statements;
    global.catalogue = std::make_unique<RecordingConnection>(std::move(global.catalogue), statements);

    CreateReport();

    EXPECT_THAT(statements, ElementsAre(RanStatement{
                                "SELECT Max(SeriesNumber) as SRCount From Series WHERE StudyInstanceUID='1.2.3'"}));
}

TEST_F(Creation, ClosesItsQuery) {
    std::vector<std::string> open;
    global.catalogue = std::make_unique<OpenQueries>(std::move(global.catalogue), open);

    CreateReport();

    EXPECT_THAT(open, IsEmpty());
}

TEST_F(Creation, WritesItsAttributesInOrder) {
    struct WatchedVersion : ForwardingDataSet {
        WatchedVersion(DataSetHandle target, std::vector<std::string>& calls)
            : ForwardingDataSet(std::move(target)), written(calls) {}
        void SetValue(const Attribute& attribute, int valueIndex, const Value& value) override {
            std::array<char, 16> name{};
            std::snprintf(name.data(), name.size(), "%04X,%04X ", attribute.group, attribute.element);
            written.push_back(name.data() + std::string(attribute.vr));
            ForwardingDataSet::SetValue(attribute, valueIndex, value);
        }
        std::vector<std::string>& written;
    };
    struct Watching : ForwardingDataSetList {
        Watching(std::shared_ptr<DataSetList> target, std::vector<std::string>& calls)
            : ForwardingDataSetList(std::move(target)), written(calls) {}
        DataSetHandle Item(int index) const override {
            return std::make_shared<WatchedVersion>(ForwardingDataSetList::Item(index), written);
        }
        std::vector<std::string>& written;
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        std::shared_ptr<DataSetList> NewDataSetList() override {
            return std::make_shared<Watching>(ForwardingLibrary::NewDataSetList(), written);
        }
        std::vector<std::string> written;
    } library(*station.dicom);
    Global watched(station.PortsWith(library));
    watched.catalogue = std::move(global.catalogue);

    DcmSRDocument(watched).CreateFromDDO(*station.ImageSeries(), 0);

    EXPECT_THAT(library.written,
                ElementsAre("0010,0010 PN", "0010,0020 LO", "0010,0030 DA", "0010,0040 CS", "0008,0020 DA",
                            "0008,0030 TM", "0008,0090 PN", "0008,0090 PN", "0008,0050 SH", "0008,1030 LO",
                            "0020,000D UI", "0020,0008 SH", "0008,0060 CS", "0020,000E UI", "0020,0011 IS",
                            "0008,0080 LO", "0008,1090 LO", "0018,1020 LO"));
}

class OddSeriesNumbers : public Creation, public testing::WithParamInterface<const char*> {};

TEST_P(OddSeriesNumbers, AreToldInWords) {
    station.Execute(std::string("UPDATE Series SET SeriesNumber = ") + GetParam());

    EXPECT_THAT(FailureOf([&] { CreateReport(); }),
                testing::HasSubstr("the highest series number that the catalogue has"));
}

INSTANTIATE_TEST_SUITE_P(, OddSeriesNumbers, testing::Values("'many'", "'7a'", "2147483647", "99999999999999999999"));

TEST_F(Creation, LeavesACatalogueErrorToTheCaller) {
    station.Execute("DROP TABLE Series");

    EXPECT_THROW(CreateReport(), Error);
    EXPECT_THAT(Shown(), IsEmpty());
}

TEST_F(Creation, ThatFailsLeavesAVersionThatIsNotUpdated) {
    station.Execute("DROP TABLE Series");

    EXPECT_THROW(CreateReport(), Error);

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(document.VersionIndex(), 0);
    EXPECT_FALSE(document.Updated());
}

TEST_F(Creation, LeavesAMissingImageToTheCaller) {
    EXPECT_THROW(document.CreateFromDDO(*station.ImageSeries(2), 2), Error);
    EXPECT_THAT(Shown(), IsEmpty());
}

} // namespace
} // namespace tavrel::test
