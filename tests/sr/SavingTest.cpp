#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Saving : public ReportFixture {
protected:
    std::string file = station.Path("saved.dcm");
};

TEST_F(Saving, MakesAFileThatReadsBackAsItWas) {
    CreateReport();
    document.SetTitle("99SS", "T1", "Röntgen", "Thorax für Müller");
    document.Reading("Größe: 5 µm ± 1\r\nKein Erguß.");
    document.status(DcmSRDocument::Approved);

    document.Save(file);

    DcmSRDocument read(global);
    read.LoadFile(file);
    EXPECT_THAT(Shown(), IsEmpty());
    std::string scheme, code, meaning, annotation;
    read.GetTitle(scheme, code, meaning, annotation);
    EXPECT_THAT((std::vector{scheme, code, meaning, annotation}),
                ElementsAre("99SS", "T1", "Röntgen", "Thorax für Müller"));
    EXPECT_EQ(read.Reading(), "Größe: 5 µm ± 1\r\nKein Erguß.");
    EXPECT_EQ(read.status(), DcmSRDocument::Approved);
    ASSERT_NE(read.Approver(), nullptr);
    EXPECT_EQ(read.Approver()->ObserverName, "Dr. Mario Rossi");
    EXPECT_EQ(read.Approver()->ObservationDateTime, (DateTime{2026, 11, 15, 8, 5, 9}));
    EXPECT_EQ(read.PatientName(), "ROSSI^MARIA");
    EXPECT_EQ(read.PatientBirthday(), (DateTime{1960, 5, 20}));
    EXPECT_THAT(read.Version(1), "15/11/2026 08:05:09");
}

TEST_F(Saving, WritesLatinOneToTheLastByte) {
    CreateReport();
    document.Reading("Größe");

    document.Save(file);

    const std::string bytes = station.files->ReadText(file);
    EXPECT_NE(bytes.find("Gr\xF6\xDF"
                         "e"),
              std::string::npos);
    EXPECT_EQ(bytes.find("Größe"), std::string::npos);
}

TEST_F(Saving, ACharacterThatTheReportsSetLacksIsToldAndNothingIsFiled) {
    CreateReport();
    document.Reading("Ω");

    document.Save(file);

    EXPECT_THAT(Shown(), SizeIs(1));
    EXPECT_FALSE(station.files->Exists(file));
    EXPECT_TRUE(document.Updated());
}

TEST_F(Saving, LeavesTheDocumentUnchangedAndItsNextVersionANewOne) {
    CreateReport();

    document.Save(file);
    EXPECT_FALSE(document.Updated());

    document.Save(file);
    EXPECT_EQ(document.NumVersions(), 2);
}

TEST_F(Saving, FilesTheVersionAtTheIndexNotTheOneJustWritten) {
    LoadReport({.versions = 2});
    document.VersionIndex(0);

    document.Save(file);

    EXPECT_EQ(document.NumVersions(), 3);
    DcmSRDocument read(global);
    read.LoadFile(file);
    EXPECT_EQ(read.Version(1), "14/11/2026 08:00:00");
}

TEST_F(Saving, SendsNothing) {
    CreateReport();

    document.Save(file);

    EXPECT_THAT(station.store.sent, IsEmpty());
}

TEST_F(Saving, ThatFailsShowsTheDescriptionAloneAndStaysUpdated) {
    CreateReport();

    document.Save(station.Path("nowhere\\saved.dcm"));

    ASSERT_THAT(Shown(),
                ElementsAre(FailureOf([&] { LastVersion()->SaveToFile(station.Path("nowhere\\saved.dcm")); })));
    EXPECT_EQ(station.windows.messages[0].title, "");
    EXPECT_TRUE(document.Updated());
    document.Save(file);
    EXPECT_EQ(document.NumVersions(), 1) << "the version is still the one not yet filed";
}

TEST_F(Saving, WritesNoGroupTwoElementIntoTheDataSet) {
    CreateReport();

    document.Save(file);

    const std::string bytes = station.files->ReadText(file);
    const std::string transferSyntax("\x02\x00\x10\x00UI", 6);
    EXPECT_NE(bytes.find(transferSyntax), std::string::npos);
    EXPECT_EQ(bytes.find(transferSyntax), bytes.rfind(transferSyntax)) << "once, in the file's meta information";
}

} // namespace
} // namespace tavrel::test
