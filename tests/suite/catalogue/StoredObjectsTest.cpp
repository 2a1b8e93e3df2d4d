#include "suite/catalogue/StoredObjects.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "platform/paths.h"
#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"
#include "tests/support/ForwardingDicom.h"

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcuid.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// At the first file that is read somebody else does something.
class Interrupted final : public test::ForwardingLibrary {
public:
    Interrupted(DicomLibrary& library, std::function<void()> meanwhile)
        : ForwardingLibrary(library), meanwhile_(std::move(meanwhile)) {}
    std::shared_ptr<DataSetList> NewDataSetList() override {
        if (const auto act = std::exchange(meanwhile_, nullptr))
            act();
        return ForwardingLibrary::NewDataSetList();
    }

private:
    std::function<void()> meanwhile_;
};

/// A report of three versions and an image, stored by the service; then something goes wrong.
class StoredObjects : public testing::Test {
protected:
    StoredObjects() {
        const auto service = room.StartService();
        for (int number = 1; number <= 3; ++number)
            Version(number).Send(room);
        TestObject().Numbered(9).Send(room);
        service->Signal(SIGTERM);
        service->Wait();
    }
    static TestObject Version(int number) {
        TestObject version;
        version.Numbered(number)
            .Set(DCM_SOPClassUID, UID_BasicTextSRStorage)
            .Set(DCM_Modality, "SR")
            .Set(DCM_SeriesInstanceUID, "2.999.5");
        return version;
    }

    fs::path ReportFile(int number) const { return Find("2.999.5", number); }
    fs::path ImageFile() const {
        const auto files = room.StoredFiles();
        return *std::ranges::find_if(files,
                                     [](const fs::path& file) { return file.parent_path().filename() != "2.999.5"; });
    }
    fs::path StudyFolder() const { return ImageFile().parent_path().parent_path(); }

    std::vector<std::string> Look(CheckResult::Kind kind, bool mending) { return Look(kind, mending, dicom); }
    std::vector<std::string> Look(CheckResult::Kind kind, bool mending, DicomLibrary& library) {
        std::vector<std::string> words;
        for (const CheckResult& result : CheckStoredObjects(room.Catalogue(), library, root, mending))
            if (result.kind == kind)
                words.push_back(result.words);
        return words;
    }
    std::vector<std::string> Missing() { return Look(CheckResult::Kind::Missing, false); }
    std::vector<std::string> Mended() { return Look(CheckResult::Kind::Mended, true); }
    /// Two mend at the same time, and the other one is done before this one has changed anything.
    std::vector<std::string> MendedAfterAnother() {
        Interrupted library(dicom, [&] {
            EXPECT_THAT(room.Tool("check --mend --studies " + root.string()).out, HasSubstr("mended   the f"));
        });
        return Look(CheckResult::Kind::Mended, true, library);
    }
    /// It is named, mended on request, and well afterwards.
    void ExpectMended(const std::string& words) {
        EXPECT_THAT(Missing(), ElementsAre(AllOf(HasSubstr(words), HasSubstr("check --mend"))));
        EXPECT_THAT(Mended(), ElementsAre(HasSubstr(words)));
        EXPECT_THAT(Missing(), ElementsAre());
    }
    /// It is named, whatever is asked, and nothing is changed.
    void ExpectNamed(const std::string& words) {
        EXPECT_THAT(Missing(), ElementsAre(HasSubstr(words)));
        EXPECT_THAT(Mended(), ElementsAre());
        EXPECT_THAT(Missing(), ElementsAre(HasSubstr(words)));
    }

    void Forget(const std::vector<std::string>& tables, const std::string& condition = "1=1") {
        for (const std::string& table : tables)
            room.Run(std::string("DELETE FROM ").append(table).append(" WHERE ").append(condition));
    }
    /// What the service entered.
    std::vector<std::string> Rows() {
        std::vector<std::string> all;
        for (const char* query :
             {"SELECT ID||PatientName||BirthDate||Sex FROM Patient",
              "SELECT StudyInstanceUID||StudyPath||IDPatient||StudyDate||StudyTime||StudyDescription||"
              "ReferringPhysician||AccessionNumber FROM Study",
              "SELECT SeriesInstanceUID||StudyInstanceUID||SeriesDir||Modality||SeriesStatus||"
              "COALESCE(SeriesNumber,'none')||SeriesDescription FROM Series ORDER BY SeriesInstanceUID",
              "SELECT SeriesInstanceUID||ImageFile||SOPInstanceUID||SOPClassUID||COALESCE(InstanceNumber,'none')||"
              "COALESCE(Twin,'none')"
              " FROM Image ORDER BY SeriesInstanceUID, ImageID"})
            std::ranges::copy(room.Column(query), std::back_inserter(all));
        return all;
    }

    SuiteRoom room;
    DcmtkLibrary dicom;
    fs::path root = room.Studies();

private:
    fs::path Find(const std::string& folder, int number) const {
        std::vector<fs::path> files;
        for (const auto& file : room.StoredFiles())
            if (file.parent_path().filename() == folder)
                files.push_back(file);
        return files.at(static_cast<std::size_t>(number) - 1);
    }
};

TEST_F(StoredObjects, ThatAgreeAreWell) {
    EXPECT_THAT(Look(CheckResult::Kind::Well, false),
                ElementsAre("the catalogue and the files of all studies agree (1 studies, 4 objects)"));
}

TEST_F(StoredObjects, AnOlderVersionsFileThatIsGoneIsNamed) {
    fs::remove(ReportFile(2));
    ExpectNamed("the file of a version of report 2.999.5 is gone: ");
}

TEST_F(StoredObjects, AnOlderVersionsTornFileIsNamed) {
    fs::resize_file(ReportFile(1), fs::file_size(ReportFile(1)) - 7);
    ExpectNamed("the file of a version of report 2.999.5 cannot be read (");
}

TEST_F(StoredObjects, TheNewestVersionsBrokenFileIsNamed) {
    std::ofstream(ReportFile(3)) << "broken";
    ExpectNamed("the file of a version of report 2.999.5 cannot be read (");
}

TEST_F(StoredObjects, AnImagesFileThatIsGoneIsNamed) {
    fs::remove(ImageFile());
    EXPECT_THAT(Missing(), ElementsAre(AllOf(HasSubstr("the file of an object of series "), HasSubstr(" is gone: "))));
}

TEST_F(StoredObjects, AnImagesEmptyFileIsNamed) {
    fs::resize_file(ImageFile(), 0);
    ExpectNamed(" is empty: " + ImageFile().string());
}

TEST_F(StoredObjects, AnImagesTornFileIsNamed) {
    fs::resize_file(ImageFile(), fs::file_size(ImageFile()) - 1000);
    ExpectNamed(" cannot be read (");
}

TEST_F(StoredObjects, AFileOfAnotherObjectIsNamed) {
    fs::copy_file(ReportFile(1), ReportFile(2), fs::copy_options::overwrite_existing);
    ExpectNamed(" holds another object than 2.999.7.2: ");
}

TEST_F(StoredObjects, AStudysFolderThatIsGoneIsNamedOnce) {
    const fs::path folder = StudyFolder();
    fs::remove_all(folder);
    ExpectNamed("is not there: " + folder.string());
}

TEST_F(StoredObjects, TheNewestVersionsRowIsWrittenAgain) {
    room.Run("DELETE FROM Image WHERE SOPInstanceUID='2.999.7.3'");
    ExpectMended("the file " + ReportFile(3).string() + " has no row");
    EXPECT_EQ(room.Value("SELECT ImageFile FROM Image WHERE SOPInstanceUID='2.999.7.3'"),
              ReportFile(3).filename().string());
}

TEST_F(StoredObjects, AnOlderVersionWithoutARowDoesNotBecomeTheNewest) {
    room.Run("DELETE FROM Image WHERE SOPInstanceUID='2.999.7.2'");
    ExpectNamed("the file " + ReportFile(2).string() + " has no row and is an older version");
}

TEST_F(StoredObjects, AnImagesRowIsWrittenAgain) {
    room.Run("DELETE FROM Image WHERE SOPInstanceUID='2.999.7.9'");
    ExpectMended("the file " + ImageFile().string() + " has no row");
}

TEST_F(StoredObjects, ASeriesWhoseFilesAreThereKeepsItsRow) {
    room.Run("DELETE FROM Image WHERE SOPInstanceUID='2.999.7.9'");
    std::ofstream(ImageFile()) << "broken";
    ExpectNamed(" has no row and cannot be read (");
    EXPECT_EQ(room.Count("Series"), "2");
}

TEST_F(StoredObjects, AFileThatIsNoObjectIsNamed) {
    std::ofstream(ReportFile(1).parent_path() / "stray.dcm") << "stray";
    ExpectNamed("stray.dcm has no row and cannot be read (");
}

TEST_F(StoredObjects, AFileThatHoldsAStoredObjectIsNamed) {
    fs::copy_file(ReportFile(1), ReportFile(1).parent_path() / "img_000009.dcm");
    ExpectNamed("img_000009.dcm has no row and holds an object that is stored already");
}

TEST_F(StoredObjects, AFileThatHoldsMoreThanTheOneStoredUnderItsUidIsNotSaidToBeACopy) {
    const fs::path file = ImageFile().parent_path() / "other.dcm";
    TestObject().Numbered(9).Set(DCM_ImageComments, "other").SaveTo(file);
    ExpectNamed("other.dcm has no row, and what is stored under its UID is not the same");
    fs::copy_file(ImageFile(), file, fs::copy_options::overwrite_existing);
    ExpectNamed("other.dcm has no row and holds an object that is stored already; it can be removed");
    std::ofstream(ImageFile()) << "broken";
    EXPECT_THAT(Missing(), testing::Contains(HasSubstr("other.dcm has no row, and what is stored under its UID")));
}

TEST_F(StoredObjects, TwinsOfAFolderInNoRowAreEnteredAsTwins) {
    TestObject().Numbered(9).Set(DCM_ImageComments, "other").SaveTo(ImageFile().parent_path() / "other.dcm");
    Forget({"Image", "Series"}, "SeriesInstanceUID<>'2.999.5'");
    ExpectMended(" with 2 objects is in no row");
    EXPECT_THAT(room.Column("SELECT Twin FROM Image WHERE SOPInstanceUID='2.999.7.9' ORDER BY Twin"),
                ElementsAre("0", "1"));
}

TEST_F(StoredObjects, WhatTheServiceHasUnderWayIsLeftToIt) {
    const fs::path file = ReportFile(1).parent_path() / "img_000009.dcm";
    Version(4).SaveTo(file);
    std::string studyPath = StudyFolder().string();
    std::ranges::replace(studyPath, '/', '\\');
    fs::create_symlink(studyPath + "\n2.999.5\nimg_000009.dcm", room.Incoming() / "7.part.note");
    EXPECT_THAT(Missing(), ElementsAre());
    EXPECT_THAT(Mended(), ElementsAre());
}

TEST_F(StoredObjects, WhatWasReceivedAndHasNoRowYetIsLeftToTheService) {
    fs::create_directory(room.Incoming() / "7");
    Version(4).SaveTo(room.Incoming() / "7/4.part");
    fs::create_hard_link(room.Incoming() / "7/4.part", ReportFile(1).parent_path() / "img_000009.dcm");
    EXPECT_THAT(Missing(), ElementsAre());
    EXPECT_THAT(Mended(), ElementsAre());
}

TEST_F(StoredObjects, AnImageWhoseNameTheServicesNextStartGivesAgainIsNotGone) {
    fs::create_directory(room.Incoming() / "7");
    const std::string name = ImageFile().stem().string().substr(std::string("img_").size()) + ".part";
    fs::rename(ImageFile(), room.Incoming() / "7" / name);
    EXPECT_THAT(Missing(), ElementsAre());
}

TEST_F(StoredObjects, AStudyThatIsInNoRowIsEnteredAsTheServiceDidIt) {
    const auto rows = Rows();
    Forget({"Patient", "Study", "Series", "Image"});
    EXPECT_THAT(Missing(),
                UnorderedElementsAre(HasSubstr("2.999.5 with 3 objects is in no row; \"orbenta-catalogue check --mend"),
                                     HasSubstr(" with 1 object is in no row; ")));
    EXPECT_EQ(Mended().size(), 2U);
    EXPECT_EQ(Rows(), rows);
    EXPECT_THAT(Missing(), ElementsAre());
}

TEST_F(StoredObjects, ASeriesThatIsInNoRowIsEntered) {
    const auto rows = Rows();
    Forget({"Series", "Image"}, "SeriesInstanceUID='2.999.5'");
    ExpectMended("2.999.5 with 3 objects is in no row");
    EXPECT_EQ(Rows(), rows);
}

TEST_F(StoredObjects, AStudyThatAnotherEntersAtTheSameTimeIsEnteredOnce) {
    const auto rows = Rows();
    Forget({"Patient", "Study", "Series", "Image"});
    EXPECT_THAT(MendedAfterAnother(), ElementsAre(HasSubstr(" is in no row"), HasSubstr(" is in no row")));
    EXPECT_EQ(Rows(), rows);
    EXPECT_THAT(Missing(), ElementsAre());
}

TEST_F(StoredObjects, AFileThatAnotherEntersAtTheSameTimeIsEnteredOnce) {
    const auto rows = Rows();
    Forget({"Image"}, "ImageFile='" + ReportFile(3).filename().string() + "'");
    EXPECT_THAT(MendedAfterAnother(), ElementsAre(HasSubstr(" has no row")));
    EXPECT_EQ(Rows(), rows);
    EXPECT_THAT(Missing(), ElementsAre());
}

TEST_F(StoredObjects, AStudyBesideThoseThatAreKnownIsFoundWhereverTheyAre) {
    fs::create_directories(room.Studies() / "2.999.6/2.999.8");
    Version(4)
        .Set(DCM_StudyInstanceUID, "2.999.6")
        .Set(DCM_SeriesInstanceUID, "2.999.8")
        .SaveTo(room.Studies() / "2.999.6/2.999.8/img_000001.dcm");
    root = "/nowhere";
    ExpectMended("2.999.6/2.999.8 with 1 object is in no row");
    EXPECT_EQ(room.Count("Study"), "2");
    EXPECT_EQ(room.Count("Patient"), "1");
}

TEST_F(StoredObjects, OfAFolderWithTwoNamesAreNotTakenForCopies) {
    const auto rows = Rows();
    root = room.Studies().parent_path() / "also";
    fs::create_directory_symlink(room.Studies(), root);
    EXPECT_THAT(Missing(), ElementsAre());
    Forget({"Series", "Image"}, "SeriesInstanceUID='2.999.5'");
    ExpectMended("2.999.5 with 3 objects is in no row");
    EXPECT_EQ(Rows(), rows);
}

TEST_F(StoredObjects, OfAFolderInNoRowADamagedFileIsNamedAndTheOthersAreEntered) {
    Forget({"Series", "Image"}, "SeriesInstanceUID='2.999.5'");
    std::ofstream(ReportFile(2)) << "broken";
    EXPECT_THAT(Mended(), ElementsAre(HasSubstr("2.999.5 with 2 objects is in no row")));
    ExpectNamed("has no row and cannot be read (");
}

TEST_F(StoredObjects, AFolderOfSeveralSeriesIsNamed) {
    Forget({"Series", "Image"});
    for (const fs::path& file : {ReportFile(1), ImageFile()})
        fs::rename(file, file.parent_path().parent_path() / "2.999.5" / (file.stem().string() + "x.dcm"));
    EXPECT_THAT(Mended(), ElementsAre());
    ExpectNamed("holds objects of several series; move it out of the studies, and \"orbenta-catalogue import\"");
}

TEST_F(StoredObjects, AFolderOfASeriesThatIsElsewhereIsNamed) {
    fs::create_directory(StudyFolder() / "elsewhere");
    Version(4).SaveTo(StudyFolder() / "elsewhere/1.dcm");
    ExpectNamed("holds objects of series 2.999.5, whose folder is another one; move it out");
}

TEST_F(StoredObjects, AFolderOfAnotherStudyThanTheOneThatItLiesInIsNamed) {
    fs::create_directory(StudyFolder() / "2.999.8");
    Version(4)
        .Set(DCM_StudyInstanceUID, "2.999.6")
        .Set(DCM_SeriesInstanceUID, "2.999.8")
        .SaveTo(StudyFolder() / "2.999.8/1.dcm");
    ExpectNamed("holds objects of study 2.999.6, whose folder is another one; move it out");
}

TEST_F(StoredObjects, ACopyOfAStoredObjectInAFolderOfItsOwnIsNamed) {
    fs::create_directory(StudyFolder() / "elsewhere");
    fs::copy_file(ReportFile(1), StudyFolder() / "elsewhere/1.dcm");
    ExpectNamed("elsewhere/1.dcm has no row and holds an object that is stored already; it can be removed");
}

TEST_F(StoredObjects, AStudyThatTheServiceIsStoringIsLeftToIt) {
    fs::create_directories(room.Studies() / "2.999.6/2.999.8");
    fs::create_directory(room.Incoming() / "7");
    Version(4).SaveTo(room.Incoming() / "7/4.part");
    fs::create_hard_link(room.Incoming() / "7/4.part", room.Studies() / "2.999.6/2.999.8/img_000001.dcm");
    EXPECT_THAT(Missing(), ElementsAre());
    EXPECT_THAT(Mended(), ElementsAre());
}

TEST_F(StoredObjects, ASecondRowOfAFileIsRemoved) {
    room.Insert("Image", {{"SeriesInstanceUID", "2.999.5"},
                          {"ImageFile", ReportFile(1).filename().string()},
                          {"SOPInstanceUID", "2.999.7.1"}});
    ExpectMended("the file " + ReportFile(1).string() + " has two rows");
    EXPECT_EQ(room.Count("Image"), "4");
}

TEST_F(StoredObjects, AnObjectOfAnUnknownSeriesIsNamed) {
    room.Insert("Image", {{"SeriesInstanceUID", "2.999.8"}, {"ImageFile", "1.dcm"}, {"SOPInstanceUID", "2.999.9"}});
    ExpectNamed("the object 2.999.9 belongs to series 2.999.8, which the catalogue does not know");
}

TEST_F(StoredObjects, ASeriesOfAnUnknownStudyIsNamed) {
    room.Insert("Series", {{"SeriesInstanceUID", "2.999.8"}, {"StudyInstanceUID", "2.999.6"}, {"SeriesDir", "a"}});
    room.Insert("Image", {{"SeriesInstanceUID", "2.999.8"}, {"ImageFile", "1.dcm"}, {"SOPInstanceUID", "2.999.9"}});
    ExpectNamed("the series 2.999.8 belongs to study 2.999.6, which the catalogue does not know");
}

TEST_F(StoredObjects, AStudysPatientIsWrittenAgain) {
    const std::string patient = room.Value("SELECT ID FROM Patient");
    const std::string name = room.Value("SELECT PatientName FROM Patient");
    room.Run("DELETE FROM Patient");
    ExpectMended(" is of patient " + patient + ", whom the catalogue does not know");
    EXPECT_EQ(room.Value("SELECT PatientName FROM Patient WHERE ID='" + patient + "'"), name);
}

TEST_F(StoredObjects, RowsWithNothingAreRemoved) {
    room.Insert("Patient", {{"ID", "P9"}, {"PatientName", "ROSSI^ANNA"}});
    ExpectMended("the patient P9 has no study");
    room.Insert("Series", {{"SeriesInstanceUID", "2.999.8"},
                           {"StudyInstanceUID", room.Value("SELECT StudyInstanceUID FROM Study")},
                           {"SeriesDir", "a"}});
    ExpectMended("the series 2.999.8 has no object");
}

TEST_F(StoredObjects, OneRowAfterTheOtherLeavesItsOwnerWithNothing) {
    room.Insert("Patient", {{"ID", "P9"}});
    room.Insert(
        "Study",
        {{"StudyInstanceUID", "2.999.6"}, {"StudyPath", InsidePath(room.Studies().string())}, {"IDPatient", "P9"}});
    room.Insert("Series", {{"SeriesInstanceUID", "2.999.8"}, {"StudyInstanceUID", "2.999.6"}, {"SeriesDir", "a"}});
    EXPECT_THAT(Mended(), ElementsAre("the series 2.999.8 has no object", "the study 2.999.6 has no series",
                                      "the patient P9 has no study"));
}

} // namespace
} // namespace tavrel
