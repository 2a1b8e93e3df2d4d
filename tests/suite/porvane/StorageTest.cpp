#include "platform/paths.h"
#include "suite/porvane/SameDataSet.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <set>
#include <thread>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

class Storage : public testing::Test {
protected:
    std::string StoreUtf8(const std::string& characterSet, const std::string& name) {
        TestObject().Set(DCM_SpecificCharacterSet, characterSet).Set(DCM_PatientName, name).Send(room);
        return room.Value("SELECT PatientName FROM Patient");
    }

    static TestObject Report(int number) {
        return TestObject()
            .Numbered(number)
            .Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_SeriesInstanceUID, "2.999.4");
    }

    SuiteRoom room;
    std::unique_ptr<Child> service = room.StartService();
};

TEST_F(Storage, AnImageIsFiledInTheFolderOfItsSeries) {
    ASSERT_EQ(TestObject().Send(room), Stored);
    ASSERT_EQ(room.StoredFiles().size(), 1U);
    EXPECT_EQ(room.StoredFiles().front().parent_path(),
              room.Studies() / TestObject().Get(DCM_StudyInstanceUID) / TestObject().Get(DCM_SeriesInstanceUID));
}

TEST_F(Storage, AnImageKeepsItsBytes) {
    const auto sent = TestObject().SaveTo(room.Folder() / "sent.dcm");
    TestObject(sent).Send(room);
    EXPECT_TRUE(SameDataSet(sent, room.StoredFiles().at(0)));
}

TEST_F(Storage, CompressedImagesKeepTheirBytesAndTheirSyntax) {
    for (const char* name : {"JPEG2000.dcm", "JPEG-lossy.dcm", "MR_small_jpeg_ls_lossless.dcm", "MR_small_RLE.dcm"}) {
        const auto sent = TestObject(RealImage(name)).SaveTo(room.Folder() / "sent.dcm");
        ASSERT_EQ(TestObject(sent).Send(room), Stored) << name;
        EXPECT_TRUE(std::ranges::any_of(room.StoredFiles(), [&](const auto& file) { return SameDataSet(sent, file); }))
            << name;
    }
}

TEST_F(Storage, TheCatalogueSaysWhereTheFileLies) {
    TestObject().Send(room);
    const auto path = room.Value("SELECT StudyPath FROM Study") + "\\" + room.Value("SELECT SeriesDir FROM Series") +
                      "\\" + room.Value("SELECT ImageFile FROM Image");
    EXPECT_EQ(NativePath(path), room.StoredFiles().at(0));
}

TEST_F(Storage, TheRowsHoldWhatTheHeaderSays) {
    TestObject().Set(DCM_SeriesNumber, " 100001").Set(DCM_StudyDate, "20261115").Send(room);
    EXPECT_EQ(room.Value("SELECT PatientName FROM Patient WHERE ID='1CT1'"), "CompressedSamples^CT1");
    EXPECT_EQ(room.Value("SELECT StudyDate FROM Study WHERE IDPatient='1CT1'"), "20261115");
    EXPECT_EQ(room.Value("SELECT SeriesNumber FROM Series WHERE Modality='CT'"), "100001");
    EXPECT_EQ(room.Value("SELECT SOPClassUID FROM Image"), UID_CTImageStorage);
}

TEST_F(Storage, ASeriesNumberThatIsNoneIsLeftOut) {
    TestObject().Set(DCM_SeriesNumber, "").Send(room);
    EXPECT_EQ(room.Value("SELECT SeriesNumber FROM Series"), "NULL");
}

TEST_F(Storage, FilesAndFoldersAreTheirOwnersAlone) {
    TestObject().Send(room);
    for (const auto& path : {room.StoredFiles().at(0), room.StoredFiles().at(0).parent_path()}) {
        struct stat status {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & (S_IRWXG | S_IRWXO), 0U) << path;
    }
}

TEST_F(Storage, FilesOfASeriesSortInTheOrderOfTheirComing) {
    for (int number = 1; number <= 3; ++number)
        TestObject().Numbered(number).Send(room);
    service.reset();
    service = room.StartService();
    TestObject().Numbered(4).Send(room);
    EXPECT_EQ(room.Column("SELECT SOPInstanceUID FROM Image ORDER BY ImageFile"),
              room.Column("SELECT SOPInstanceUID FROM Image ORDER BY ImageID"));
    EXPECT_EQ(room.Column("SELECT ImageFile FROM Image").size(), 4U);
    EXPECT_EQ(room.Count("Series"), "1");
}

TEST_F(Storage, VersionsOfAReportAreNumberedInTheOrderOfTheirComing) {
    Report(1).Send(room);
    Report(2).Send(room);
    service.reset();
    service = room.StartService();
    Report(3).Send(room);
    const std::vector<std::string> files = {"img_000001.dcm", "img_000002.dcm", "img_000003.dcm"};
    EXPECT_EQ(room.Column("SELECT ImageFile FROM Image"), files);
}

TEST_F(Storage, AVersionGetsTheNumberBehindAllThatLieThere) {
    Report(1).Send(room);
    std::ofstream(room.StoredFiles().at(0).parent_path() / "img_000007.dcm") << "put there by hand";
    Report(2).Send(room);
    EXPECT_EQ(room.Value("SELECT ImageFile FROM Image WHERE SOPInstanceUID='2.999.7.2'"), "img_000008.dcm");
}

TEST_F(Storage, NamesInTheIncomingAreaGoAWhileAfterTheAnswer) {
    TestObject().Send(room);
    Report(1).Send(room);
    EXPECT_TRUE(Eventually([this] { return room.Received().empty(); }));
    EXPECT_EQ(room.StoredFiles().size(), 2U);
}

TEST_F(Storage, AStudyOnAnotherDiskTakesImagesAndVersions) {
    const fs::path disk = "/dev/shm";
    struct stat here {};
    struct stat there {};
    if (stat(room.Studies().c_str(), &here) != 0 || stat(disk.c_str(), &there) != 0 || here.st_dev == there.st_dev)
        GTEST_SKIP() << "needs a second disk";
    const fs::path folder = disk / ("tavrel-test." + std::to_string(getpid()));
    const std::unique_ptr<const fs::path, void (*)(const fs::path*)> removed(
        &folder, [](const fs::path* path) { fs::remove_all(*path); });
    fs::create_directory(folder);
    room.Insert("Study", {{"StudyInstanceUID", TestObject().Get(DCM_StudyInstanceUID)},
                          {"StudyPath", InsidePath(folder.string())}});
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_EQ(Report(1).Send(room), Stored);
    EXPECT_TRUE(Eventually([this] { return room.Received().empty(); }));
    const auto files = std::distance(fs::recursive_directory_iterator(folder), {});
    EXPECT_EQ(files, 4); // of two series
    EXPECT_TRUE(fs::exists(folder / "2.999.4/img_000001.dcm"));
}

TEST_F(Storage, TheSameObjectTwiceIsStoredOnce) {
    EXPECT_EQ(TestObject().Send(room), Stored);
    EXPECT_EQ(TestObject().Send(room, "ANOTHER"), Stored);
    EXPECT_EQ(room.Count("Image"), "1");
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

TEST_F(Storage, AKnownUidWithOtherBytesIsKeptBesideTheFirst) {
    const auto first = TestObject().SaveTo(room.Folder() / "first.dcm");
    EXPECT_EQ(TestObject(first).Send(room), Stored);
    EXPECT_EQ(TestObject().Set(DCM_ImageComments, "changed").Send(room), Stored);
    ASSERT_EQ(room.StoredFiles().size(), 2U);
    EXPECT_EQ(room.Count("Image"), "2");
    EXPECT_TRUE(SameDataSet(first, room.StoredFiles().front()));
    EXPECT_NE(room.ServiceLog().find("is known with other contents"), std::string::npos);
}

TEST_F(Storage, TenSendersAtOnceLoseNothing) {
    std::array<std::thread, 10> senders;
    std::atomic<int> failures = 0;
    for (int sender = 0; auto& thread : senders)
        thread = std::thread([&, sender = sender++] {
            for (int object = 0; object < 5; ++object)
                if (TestObject().Numbered(object == 0 ? 999 : sender * 10 + object).Send(room) != Stored)
                    ++failures;
        });
    for (auto& sender : senders)
        sender.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(room.Count("Image"), "41"); // ten times four of their own, and one that all sent
    EXPECT_EQ(room.StoredFiles().size(), 41U);
}

TEST_F(Storage, AnApostropheBecomesABackQuoteInTheCatalogueAlone) {
    TestObject().Set(DCM_PatientName, "D'ANGELO^ANNA").Send(room);
    EXPECT_EQ(room.Value("SELECT PatientName FROM Patient"), "D`ANGELO^ANNA");
    EXPECT_EQ(TestObject(room.StoredFiles().at(0)).Get(DCM_PatientName), "D'ANGELO^ANNA");
}

struct Name {
    const char* letters;
    const char* characterSet;
    const char* sent;
    const char* catalogued;
};

class StorageOfNames : public Storage, public testing::WithParamInterface<Name> {};

TEST_P(StorageOfNames, CataloguesThemInUtf8) {
    EXPECT_EQ(StoreUtf8(GetParam().characterSet, GetParam().sent), GetParam().catalogued);
}

INSTANTIATE_TEST_SUITE_P(Storage, StorageOfNames,
                         testing::Values(Name{"Western", "ISO_IR 100", "M\xFCller", "Müller"},
                                         Name{"Cyrillic", "ISO_IR 144", "\xBB\xEE\xDA", "Люк"},
                                         Name{"Utf8", "ISO_IR 192", "山田^太郎", "山田^太郎"},
                                         Name{"Japanese", "\\ISO 2022 IR 87",
                                              "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B",
                                              "Yamada^Tarou=山田^太郎"}),
                         [](const auto& test) { return test.param.letters; });

TEST_F(Storage, WhatCannotBeDecodedInANameIsMarkedInTheCatalogueAlone) {
    EXPECT_EQ(StoreUtf8("ISO_IR 192", "M\xFFller"), "M\uFFFDller");
    EXPECT_EQ(TestObject(room.StoredFiles().at(0)).Get(DCM_PatientName), "M\xFFller");
}

TEST_F(Storage, AVersionOfTheEditorThatDoesNotFollowTheOthersIsRefused) {
    ASSERT_EQ(Report(1).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Report(2).Send(room, "AE_INTERNAL"), ReportHasOthers);
    EXPECT_EQ(Report(2).After({"2.999.7.1"}).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(room.Count("Image"), "2");
    EXPECT_EQ(room.StoredFiles().size(), 2U);
}

TEST_F(Storage, AVersionOfTheEditorThatIsStoredAlreadyIsStoredAgainAfterOthers) {
    ASSERT_EQ(Report(1).Send(room, "AE_INTERNAL"), Stored);
    ASSERT_EQ(Report(2).After({"2.999.7.1"}).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Report(1).Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(room.Count("Image"), "2");
}

TEST_F(Storage, AReportThatIsApprovedTakesNoFurtherVersionOfTheEditor) {
    ASSERT_EQ(Report(1).Set(DCM_VerificationFlag, "VERIFIED").Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Report(2).After({"2.999.7.1"}).Send(room, "AE_INTERNAL"), ReportApproved);
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(Storage, AReportOfAnotherProgramIsStoredBesideAnApprovedOne) {
    ASSERT_EQ(Report(1).Set(DCM_VerificationFlag, "VERIFIED").Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Report(2).Send(room), Stored);
}

TEST_F(Storage, AnApprovedReportTakesNoVersionOfAnotherProgramEither) {
    ASSERT_EQ(Report(1).Set(DCM_VerificationFlag, "VERIFIED").Send(room, "AE_INTERNAL"), Stored);
    EXPECT_EQ(Report(2).After({"2.999.7.1"}).Send(room), ReportApproved);
    EXPECT_EQ(room.StoredFiles().size(), 1U);
}

TEST_F(Storage, ReportsOfTheWorkstationsKindAreOfModalitySr) {
    TestObject().Set(DCM_SOPClassUID, UID_BasicTextSRStorage).Set(DCM_Modality, "SR").Send(room);
    EXPECT_EQ(room.Value("SELECT Modality FROM Series"), "SR");
}

TEST_F(Storage, OtherStructuredReportsAreNotOpenedAsReports) {
    TestObject().Set(DCM_SOPClassUID, UID_EnhancedSRStorage).Set(DCM_Modality, "SR").Send(room);
    EXPECT_EQ(room.Value("SELECT Modality FROM Series"), "SR-OTHER");
}

TEST_F(Storage, PresentationStatesOfEveryKindHaveTheirModalityAndFolder) {
    TestObject().Send(room);
    for (const char* kind : {UID_GrayscaleSoftcopyPresentationStateStorage, UID_ColorSoftcopyPresentationStateStorage})
        TestObject()
            .Remove(DCM_PixelData)
            .Set(DCM_SOPClassUID, kind)
            .Set(DCM_SOPInstanceUID, std::string("2.999.7.") + std::string(kind).back())
            .Set(DCM_SeriesInstanceUID, "2.999.6")
            .Send(room);
    EXPECT_EQ(room.Value("SELECT Modality FROM Series WHERE SeriesInstanceUID='2.999.6'"), "PR");
    EXPECT_EQ(room.Value("SELECT count(*) FROM Image WHERE SeriesInstanceUID='2.999.6'"), "2");
    EXPECT_EQ(room.Value("SELECT SeriesDir FROM Series WHERE SeriesInstanceUID='2.999.6'"), "2.999.6");
}

TEST_F(Storage, PatientsWithoutAnIdentifierStayApart) {
    for (const char* study : {"2.999.1", "2.999.2"})
        TestObject()
            .Set(DCM_PatientID, "")
            .Set(DCM_StudyInstanceUID, study)
            .Set(DCM_SeriesInstanceUID, std::string(study) + ".1")
            .Set(DCM_SOPInstanceUID, std::string(study) + ".1.1")
            .Send(room);
    EXPECT_EQ(room.Count("Patient"), "2");
}

TEST_F(Storage, AnObjectWithoutAStudyIsRefused) {
    EXPECT_EQ(TestObject().Remove(DCM_StudyInstanceUID).Send(room), CannotUnderstand);
    EXPECT_EQ(room.Count("Image"), "0");
    EXPECT_TRUE(room.StoredFiles().empty());
}

TEST_F(Storage, AUidThatWouldLeaveTheStudiesFolderIsRefused) {
    EXPECT_EQ(TestObject().Set(DCM_StudyInstanceUID, "../../2.999").Send(room), CannotUnderstand);
    EXPECT_TRUE(room.StoredFiles().empty());
}

TEST_F(Storage, ASeriesOfAnotherStudyIsRefused) {
    TestObject().Numbered(1).Send(room);
    EXPECT_EQ(TestObject().Numbered(2).Set(DCM_StudyInstanceUID, "2.999.5").Send(room), DoesNotMatch);
    EXPECT_EQ(room.Count("Image"), "1");
}

TEST_F(Storage, AnObjectForAnotherCalledTitleIsRefused) {
    EXPECT_EQ(TestObject().Send(room, "MODALITY", "ELSEWHERE"), -1);
    EXPECT_EQ(room.Count("Image"), "0");
}

TEST_F(Storage, AVerificationIsAnswered) {
    EXPECT_EQ(RunShell("echoscu -aec PORVANE 127.0.0.1 " + std::to_string(room.Port())).status, 0);
    EXPECT_NE(RunShell("echoscu -aec ELSEWHERE 127.0.0.1 " + std::to_string(room.Port())).status, 0);
}

TEST_F(Storage, AnotherProgramsSenderIsServed) {
    const auto outcome = RunShell("storescu -aec PORVANE 127.0.0.1 " + std::to_string(room.Port()) + " " +
                                  RealImage().string() + " " + RealImage("MR_small.dcm").string());
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(room.Count("Image"), "2");
}

} // namespace
} // namespace tavrel
