#include "tests/sr/InterchangeFixture.h"
#include "tests/support/ReadBytes.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcfilefo.h>

namespace tavrel::test {
namespace {

/// The bytes that are sent and kept: the toolkit, given what they say, writes the same ones.
class EncodedVersions : public InterchangeFixture, public testing::WithParamInterface<ReportForm> {
protected:
    EncodedVersions() {
        global.reportForm = GetParam();
        document.CreateFromDDO(*station.ImageSeries(), 0);
        document.PutCodedEntries(chest, {effusion, mass}, {pneumonia});
        document.Images({image});
        Save("Normal.");
        Save("A nodule on the left.\r\nGr\u00F6\u00DFe: 3 mm.");
    }

    void Save(std::string_view reading) {
        document.Reading(reading);
        SendAndRead();
    }
    static std::string FileAt(const std::filesystem::path& path, const DataSetHandle& version) {
        version->SaveToFile(path.string());
        return ReadBytes(path);
    }
    void ExpectTheToolkitsBytes() {
        const auto ours = FileAt(station.NativePath("ours.dcm"), LastVersion());
        DcmFileFormat file;
        ASSERT_TRUE(file.loadFile(station.NativePath("ours.dcm").c_str()).good());
        const auto theirs = station.NativePath("theirs.dcm");
        ASSERT_TRUE(file.getDataset()
                        ->saveFile(theirs.c_str(), EXS_LittleEndianExplicit, EET_ExplicitLength, EGL_withoutGL,
                                   EPD_withoutPadding)
                        .good());
        EXPECT_TRUE(ours.ends_with(ReadBytes(theirs)));
    }
    /// The report as a program finds it whose last version was written in another way.
    void ReopenAfterAnotherWriting(E_TransferSyntax syntax, const std::function<void(DcmDataset&)>& edit) {
        const auto folder = station.NativePath("reopened");
        std::filesystem::create_directory(folder);
        for (int index = 0; index < document.NumVersions(); ++index)
            FileAt(folder / ("img_" + std::to_string(index) + ".dcm"), VersionAt(index));
        const auto last = folder / ("img_" + std::to_string(document.NumVersions() - 1) + ".dcm");
        DcmFileFormat file;
        file.loadFile(last.c_str());
        edit(*file.getDataset());
        file.saveFile(last.c_str(), syntax, EET_UndefinedLength);
        document.LoadSeries(station.Path("reopened"));
    }
};

TEST_P(EncodedVersions, AfterASave) {
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterASaveThatFailed) {
    document.Reading("a control character \a");
    EXPECT_EQ(document.Send().fate, Delivery::Fate::NotStored);
    Save("Without it.");
    EXPECT_EQ(document.NumVersions(), 3);
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterAnOlderVersionWasLookedAt) {
    document.GotoVersion(0);
    document.GotoVersion(1);
    Save("Third.");
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterAnApproval) {
    global.userSignature = "Dr. Zo\u00EB M\u00FCller";
    document.status(DcmSRDocument::Approved);
    SendAndRead();
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterOneOfTheOtherForm) {
    global.reportForm = GetParam() == ReportForm::Classic ? ReportForm::Interchange : ReportForm::Classic;
    Save("In the other form.");
    global.reportForm = GetParam();
    Save("And back.");
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterOneInAnotherSyntax) {
    for (const auto syntax : {EXS_BigEndianExplicit, EXS_LittleEndianImplicit}) {
        ReopenAfterAnotherWriting(syntax, [](DcmDataset&) {});
        Save("On top.");
        ExpectTheToolkitsBytes();
    }
}

TEST_P(EncodedVersions, AfterOneInAnotherCharacterSet) {
    ReopenAfterAnotherWriting(EXS_LittleEndianExplicit, [](DcmDataset& version) {
        version.putAndInsertString(DCM_SpecificCharacterSet, "ISO_IR 101");
        version.putAndInsertString(DCM_PatientName,
                                   "DVO\xF6\xE1K"); // as Latin-1 has them, so that both forms can write on
    });
    Save("On top.");
    ExpectTheToolkitsBytes();
}

TEST_P(EncodedVersions, AfterAnotherMakersWithOddItems) {
    ReopenAfterAnotherWriting(EXS_LittleEndianExplicit, [](DcmDataset& version) {
        const DcmTagKey savers =
            GetParam() == ReportForm::Classic ? DCM_VerifyingObserverSequence : DCM_ParticipantSequence;
        DcmItem* item = nullptr;
        version.findOrCreateSequenceItem(savers, item, 0);
        item->putAndInsertString(DCM_InstitutionName, "");
        item->putAndInsertString(DcmTag{DcmTagKey{0x0029, 0x0010}, EVR_LO}, "MAKER");
        item->putAndInsertUint16(DCM_Rows, 3);
        version.findOrCreateSequenceItem(savers, item, -2); // one that says nothing
    });
    Save("On top.");
    ExpectTheToolkitsBytes();
}

INSTANTIATE_TEST_SUITE_P(Forms, EncodedVersions, testing::Values(ReportForm::Classic, ReportForm::Interchange),
                         [](const auto& form) {
                             return form.param == ReportForm::Classic ? "Classic" : "Interchange";
                         });

} // namespace
} // namespace tavrel::test
