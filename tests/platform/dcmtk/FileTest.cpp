#include "RawDicom.h"
#include "SampleReport.h"
#include "platform/dcmtk/Implementation.h"
#include "platform/paths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace tavrel::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Files : public testing::Test {
protected:
    std::string Path(std::string_view name = "report.dcm") const { return library.File(name); }

    DataSetHandle SavedAndLoaded(const DataSetHandle& dataSet) {
        dataSet->SaveToFile(Path());
        return library.Load(Path())->Item(0);
    }

    DataSetHandle Loaded(std::string_view bytes) {
        WriteBytes(Path(), bytes);
        return library.Load(Path())->Item(0);
    }

    /// Why `bytes` are no DICOM file; nothing is appended by the attempt.
    std::string Fault(std::string_view bytes) {
        WriteBytes(Path("broken.dcm"), bytes);
        const auto list = library.dicom.NewDataSetList();
        auto failure = FailureOf([&] { list->LoadFile(Path("broken.dcm")); });
        EXPECT_EQ(list->Count(), 0);
        EXPECT_NE(failure.find("broken.dcm"), std::string::npos) << failure;
        return failure;
    }

    TestLibrary library;
    DataSetHandle report = MakeReport(library.dicom, 3);
};

TEST_F(Files, AReportComesBackAsItWasSaved) {
    const auto loaded = SavedAndLoaded(report);
    EXPECT_EQ(Text(*loaded, attribute::PatientName), "Doe^Jane");
    EXPECT_EQ(Text(*loaded, attribute::FormerStudyElement), "8");
    EXPECT_EQ(loaded->GetValue(attribute::PatientBirthDate), (Value{DateTime{1961, 2, 28}}));
    EXPECT_EQ(loaded->GetSequenceItemCount(attribute::VerifyingObserverSequence), 3);
    EXPECT_EQ(Text(*loaded->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue),
              "Liver: homogeneous.\r\nNo stones.");
}

TEST_F(Files, PathsHaveTheProgramsOwnSeparator) {
    const auto inside = InsidePath(Path());
    report->SaveToFile(inside);
    EXPECT_EQ(library.Load(inside)->GetElementString(0, attribute::PatientName), "Doe^Jane");
}

TEST_F(Files, ASavedFileIsTheOwnersAlone) {
    report->SaveToFile(Path());
    struct stat state {};
    ASSERT_EQ(::stat(Path().c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0600U);
}

/// What stands in the file before its data set.
std::string MetaOf(const std::string& path) {
    const std::string bytes = ReadBytes(path);
    return bytes.substr(0, bytes.find(std::string("\x08\0\x05\0", 4)));
}

TEST_F(Files, AFileSaysWhichProgramWroteIt) {
    report->SaveToFile(Path());
    const std::string meta = MetaOf(Path());
    EXPECT_THAT(meta, HasSubstr(ImplementationClassUid));
    EXPECT_THAT(meta, HasSubstr("TAVREL_" PROJECT_VERSION));
}

TEST_F(Files, AFileThatNobodySentNamesNoSender) {
    report->SaveToFile(Path());
    EXPECT_THAT(MetaOf(Path()), Not(HasSubstr(std::string("\x02\0\x16\0", 4))));
}

TEST_F(Files, SavingLeavesNothingBesideTheFile) {
    report->SaveToFile(Path());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{library.folder.Path()}, {}), 1);
}

TEST_F(Files, AFolderThatIsMissingIsNamed) {
    const auto failure = FailureOf([&] { report->SaveToFile(Path("absent/report.dcm")); });
    EXPECT_EQ(failure, "Cannot write the file \"" + Path("absent/report.dcm") + "\": No such file or directory");
}

TEST_F(Files, ACharacterOutsideTheSetLeavesTheFileAsItWas) {
    WriteBytes(Path(), "before");
    report->GetSequenceItem(attribute::ContentSequence, 1)->SetValue(attribute::TextValue, 0, "size 3→4");
    const auto failure = FailureOf([&] { report->SaveToFile(Path()); });
    EXPECT_EQ(failure, "The character \"→\" (U+2192) at position 7 of Content Sequence (0040,A730) item 2, Text Value "
                       "(0040,A160) cannot be written in the character set ISO_IR 100.");
    EXPECT_EQ(ReadBytes(Path()), "before");
}

TEST_F(Files, ACharacterOfASetThatIsOnlyReadIsNotWritten) {
    report->SetValue(attribute::SpecificCharacterSet, 0, "\\ISO 2022 IR 87");
    report->SetValue(attribute::PatientName, 0, "Yamada=山田");
    EXPECT_EQ(FailureOf([&] { report->SaveToFile(Path()); }),
              "The character \"山\" (U+5C71) at position 8 of Patient Name (0010,0010) cannot be written in the "
              "character set \\ISO 2022 IR 87, which is only read.");
}

TEST_F(Files, AControlCharacterIsNamed) {
    report->SetValue(attribute::SeriesDescription, 0, "a\tb\ac");
    EXPECT_EQ(
        FailureOf([&] { report->SaveToFile(Path()); }),
        "The control character U+0007 at position 4 of Series Description (0008,103E) cannot be stored in a DICOM "
        "file.");
}

TEST_F(Files, ALongTitleIsWrittenWhole) {
    report->SetValue(attribute::SeriesDescription, 0, std::string(100, 'x') + "\\y");
    EXPECT_EQ(Text(*SavedAndLoaded(report), attribute::SeriesDescription), std::string(100, 'x') + "\\y");
}

TEST_F(Files, ATextBeyondItsVrIsAnError) {
    report->SetValue(attribute::SeriesDescription, 0, std::string(65536, 'x'));
    EXPECT_NE(FailureOf([&] { report->SaveToFile(Path()); }).find("is too long"), std::string::npos);
}

TEST_F(Files, ALongReadingIsWrittenWhole) {
    const std::string reading(200'000, 'x');
    report->GetSequenceItem(attribute::ContentSequence, 1)->SetValue(attribute::TextValue, 0, reading);
    EXPECT_EQ(Text(*SavedAndLoaded(report)->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue),
              reading);
}

TEST_F(Files, AVersionIsInTheSetThatItDeclaresWhateverItsSourceWasIn) {
    report->SetValue(attribute::SpecificCharacterSet, 0, "ISO_IR 192");
    report->SetValue(attribute::PatientName, 0, "Äneas^Rüdiger");
    const auto loaded = SavedAndLoaded(report);
    loaded->SetValue(attribute::SpecificCharacterSet, 0, "ISO_IR 100");
    EXPECT_EQ(Text(*loaded, attribute::PatientName), "Äneas^Rüdiger");
    loaded->SaveToFile(Path());
    EXPECT_NE(ReadBytes(Path()).find("\xC4neas^R\xFC"
                                     "diger"),
              std::string::npos);
}

TEST_F(Files, AnItemMayDeclareASetOfItsOwn) {
    report->GetSequenceItem(attribute::ContentSequence, 0)->SetValue(attribute::SpecificCharacterSet, 0, "ISO_IR 144");
    report->GetSequenceItem(attribute::ContentSequence, 0)->SetValue(attribute::TextValue, 0, "Люксембург");
    EXPECT_EQ(Text(*SavedAndLoaded(report)->GetSequenceItem(attribute::ContentSequence, 0), attribute::TextValue),
              "Люксембург");
}

TEST_F(Files, EveryEncodingReadsAlike) {
    for (const Encoding encoding : {ExplicitLittle, ImplicitLittle, ExplicitBig}) {
        for (const bool withMeta : {true, false}) {
            RawDicom raw{encoding};
            raw.Text(attribute::SopInstanceUid, "1.2.3")
                .Text(attribute::PatientName, "Doe^Jane")
                .Text(attribute::PatientBirthDate, "19610228");
            raw.Items(attribute::ContentSequence, {RawDicom{encoding}.Text(attribute::TextValue, "reading")});
            const auto loaded = Loaded(withMeta ? raw.File() : raw.Bytes());
            EXPECT_EQ(Text(*loaded, attribute::PatientName), "Doe^Jane");
            EXPECT_EQ(loaded->GetValue(attribute::PatientBirthDate), (Value{DateTime{1961, 2, 28}}));
            EXPECT_EQ(Text(*loaded->GetSequenceItem(attribute::ContentSequence, 0), attribute::TextValue), "reading");
        }
    }
}

TEST_F(Files, AnElementThatTheDictionaryLacksReadsAsText) {
    const auto loaded = Loaded(RawDicom{ImplicitLittle}
                                   .Text(attribute::SopInstanceUid, "1.2.3")
                                   .Text(attribute::FormerStudyElement, "STU7")
                                   .File());
    EXPECT_EQ(Text(*loaded, attribute::FormerStudyElement), "STU7");
}

TEST_F(Files, AnElementOfUnknownVrKeepsTheSetOfItsFile) {
    const auto loaded = Loaded(RawDicom{ImplicitLittle}
                                   .Text(attribute::SpecificCharacterSet, "ISO_IR 144")
                                   .Text(attribute::FormerStudyElement, "\xBB\xEE")
                                   .File());
    EXPECT_EQ(Text(*loaded, attribute::FormerStudyElement), "Лю");
    loaded->SetValue(attribute::SpecificCharacterSet, 0, "ISO_IR 100");
    EXPECT_EQ(Text(*loaded, attribute::FormerStudyElement), "Лю");
}

TEST_F(Files, AnElementOfUnknownVrIsReadAsTheDictionaryHasIt) {
    const auto loaded = Loaded(RawDicom{}.Text({attribute::StudyDate, "UN"}, "20261122").File());
    EXPECT_EQ(loaded->GetValue(attribute::StudyDate), (Value{DateTime{2026, 11, 22}}));
}

TEST_F(Files, AByteThatMeansNothingInACodeReadsAsAQuestionMark) {
    EXPECT_EQ(Text(*Loaded(RawDicom{}.Text(attribute::PatientSex, "\xC6").File()), attribute::PatientSex), "?");
}

TEST_F(Files, ADateThatTheCalendarLacksReadsAsNone) {
    const auto loaded = Loaded(
        RawDicom{}.Text(attribute::ContentDate, "20260230").Text(attribute::PatientBirthDate, "unknown ").File());
    EXPECT_EQ(loaded->GetValue(attribute::ContentDate), Value{});
    EXPECT_EQ(loaded->GetValue(attribute::PatientBirthDate), Value{});
}

TEST_F(Files, ADateTimeWithOffsetIsTurnedIntoLocalTime) {
    ::setenv("TZ", "CET-1", 1);
    ::tzset();
    const auto loaded = Loaded(RawDicom{}.Text(attribute::VerificationDateTime, "20261231233000.5-0130").File());
    EXPECT_EQ(loaded->GetValue(attribute::VerificationDateTime), (Value{DateTime{2027, 1, 1, 2, 0, 0}}));
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Files, PaddingIsNoText) {
    const auto loaded = Loaded(RawDicom{}
                                   .Text(attribute::SeriesDescription, "  title ")
                                   .Text(attribute::SeriesInstanceUid, std::string{"1.2.3\0", 6})
                                   .File());
    EXPECT_EQ(Text(*loaded, attribute::SeriesDescription), "title");
    EXPECT_EQ(Text(*loaded, attribute::SeriesInstanceUid), "1.2.3");
}

TEST_F(Files, ALineEndOfAForeignFileIsCrLfInMemory) {
    EXPECT_EQ(Text(*Loaded(RawDicom{}.Text(attribute::TextValue, "a\nb\r\nc").File()), attribute::TextValue),
              "a\r\nb\r\nc");
}

TEST_F(Files, AFileThatWasReplacedIsNoticed) {
    report->SaveToFile(Path());
    const auto list = library.Load(Path());
    report->SaveToFile(Path());
    EXPECT_EQ(Text(list->GetElementValue(0, attribute::SopInstanceUid)), Text(*report, attribute::SopInstanceUid));
    EXPECT_NE(FailureOf([&] { list->GetElementString(0, attribute::PatientName); }).find("was changed or replaced"),
              std::string::npos);
}

TEST_F(Files, AFileThatWasRemovedIsNoticed) {
    report->SaveToFile(Path());
    const auto list = library.Load(Path());
    std::filesystem::remove(Path());
    EXPECT_NE(FailureOf([&] { list->GetElementString(0, attribute::PatientName); }).find("cannot be read"),
              std::string::npos);
}

TEST_F(Files, NoFileIsKeptOpen) {
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, {}); };
    report->SaveToFile(Path());
    const auto before = openFiles();
    const auto list = library.dicom.NewDataSetList();
    for (int times = 0; times < 10; ++times)
        list->LoadFile(Path());
    list->GetElementString(0, attribute::PatientName);
    EXPECT_EQ(openFiles(), before);
}

TEST_F(Files, AnImageSeriesCostsNothingUntilItIsAskedAndNeverItsPixels) {
    const std::string pixels(1'000'000, 'x');
    WriteBytes(Path("image.dcm"), RawDicom{}
                                      .Text(attribute::PatientName, "Doe^Jane")
                                      .Text(attribute::PhotometricInterpretation, "RGB")
                                      .Pixels(pixels)
                                      .File());
    const std::vector<std::string> paths{Path("absent.dcm"), Path("image.dcm")};
    const auto series = library.dicom.OpenImageSeries(paths);
    EXPECT_EQ(series->Count(), 2);
    EXPECT_EQ(series->GetElementString(1, attribute::PatientName), "Doe^Jane");
    EXPECT_EQ(series->GetElementString(1, attribute::PhotometricInterpretation), "RGB");
    EXPECT_EQ(series->GetElementString(1, attribute::PixelData), "");
    EXPECT_THROW(series->GetElementString(0, attribute::PatientName), Error);
}

TEST_F(Files, AnImageTellsWhoseItIsWithoutTheDictionary) {
    WriteBytes(Path("image.dcm"), RawDicom{}.Text(attribute::PatientName, "Doe^Jane").File());
    ASSERT_EQ(::mkfifo(Path("dicom.dic").c_str(), 0600), 0);
    const auto read = [&] {
        ::setenv("DCMDICTPATH", Path("dicom.dic").c_str(), 1); // who opens it waits for ever
        ::alarm(5);
        const std::vector<std::string> paths{Path("image.dcm")};
        const bool right =
            library.dicom.OpenImageSeries(paths)->GetElementString(0, attribute::PatientName) == "Doe^Jane";
        _exit(right ? 0 : 1);
    };
    EXPECT_EXIT(read(), testing::ExitedWithCode(0), "^$");
}

/// The early part of an image, whose texts are read without the toolkit where they are plain, and the whole header.
class EarlyPart : public Files, public testing::WithParamInterface<RawDicom> {};
INSTANTIATE_TEST_SUITE_P(
    , EarlyPart,
    testing::Values(
        RawDicom{}.Text(attribute::PatientName, "Doe^Jane").Text(attribute::PatientId, "P 1"),
        RawDicom{}.Text(attribute::SpecificCharacterSet, "ISO_IR 100").Text(attribute::PatientName, "M\xFCller"),
        RawDicom{}
            .Text(attribute::SpecificCharacterSet, "\\ISO 2022 IR 87")
            .Text(attribute::PatientName, "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B"),
        RawDicom{}.Text(attribute::PatientName, " Doe^Jane \\ Roe "),
        RawDicom{}.Text(attribute::PatientId, std::string("P1\0Q2", 5)),
        RawDicom{}.Text(attribute::PatientName, "Second").Text(attribute::StudyInstanceUid, " 2.999. 1 "),
        RawDicom{}.Text(attribute::PatientName, "First").Text(attribute::PatientName, "Second"),
        RawDicom{}.Text(attribute::StudyInstanceUid, "2.999.1").Text(attribute::PatientName, "Late"),
        RawDicom{}.Text({{0x0010, 0x0010}, "UN"}, "Unknown "), RawDicom{}.Text({{0x0010, 0x0020}, "US"}, "ab"),
        RawDicom{}
            .Items({0x0008, 0x1140}, {RawDicom{}.Text(attribute::PatientName, "Within")})
            .Text(attribute::PatientName, "Behind"),
        RawDicom{ImplicitLittle}.Text(attribute::PatientName, "Doe^Jane"),
        RawDicom{ExplicitBig}.Text(attribute::PatientName, "Doe^Jane")));

TEST_P(EarlyPart, SaysWhatTheWholeHeaderSays) {
    WriteBytes(Path("image.dcm"), GetParam().File());
    const std::vector<std::string> paths{Path("image.dcm")};
    const auto early = library.dicom.OpenImageSeries(paths);
    const auto whole = library.dicom.OpenImageSeries(paths);
    static_cast<void>(whole->Item(0)->GetSequenceItemCount(attribute::ContentSequence)); // which takes all of it
    for (const auto& each : {attribute::SpecificCharacterSet, attribute::PatientName, attribute::PatientId,
                             attribute::StudyInstanceUid, attribute::StudyDescription})
        EXPECT_EQ(early->GetElementString(0, each), whole->GetElementString(0, each));
}

TEST_F(Files, AnImageWhosePixelsAreCutOffStillHasAHeader) {
    const auto bytes = RawDicom{}.Text(attribute::PatientName, "Doe^Jane").Pixels(std::string(1000, 'x')).File();
    WriteBytes(Path("image.dcm"), bytes.substr(0, bytes.size() - 500));
    const std::vector<std::string> paths{Path("image.dcm")};
    EXPECT_EQ(library.dicom.OpenImageSeries(paths)->GetElementString(0, attribute::PatientName), "Doe^Jane");
    EXPECT_THROW(library.Load(paths[0]), Error);
}

TEST_F(Files, AFileThatIsAbsentIsNamed) {
    EXPECT_EQ(FailureOf([&] { library.Load(Path("absent.dcm")); }),
              "The file " + Path("absent.dcm") + " cannot be read: No such file or directory.");
}

TEST_F(Files, AFolderIsNoFile) {
    EXPECT_NE(FailureOf([&] { library.Load(library.folder.Path().string()); }).find("it is a folder"),
              std::string::npos);
}

TEST_F(Files, AFifoIsNoFileAndHangsNobody) {
    ASSERT_EQ(::mkfifo(Path("fifo.dcm").c_str(), 0600), 0);
    EXPECT_NE(FailureOf([&] { library.Load(Path("fifo.dcm")); }).find("it is no ordinary file"), std::string::npos);
}

TEST_F(Files, AnEmptyFileSaysSo) {
    EXPECT_NE(Fault("").find("it is empty"), std::string::npos);
}

TEST_F(Files, AFileCutOffAnywhereIsRefusedOrSound) {
    report->SaveToFile(Path());
    const auto whole = ReadBytes(Path());
    for (std::size_t length = 1; length < whole.size(); length += 7) {
        WriteBytes(Path("cut.dcm"), std::string_view{whole}.substr(0, length));
        const auto list = library.dicom.NewDataSetList();
        // A cut between two elements of the data set leaves a shorter but sound file.
        const bool refused = !FailureOf([&] { list->LoadFile(Path("cut.dcm")); }).empty();
        EXPECT_EQ(list->Count(), refused ? 0 : 1);
        if (!refused) {
            EXPECT_EQ(FailureOf([&] { list->Item(0)->GetSequenceItemCount(attribute::ContentSequence); }), "")
                << length;
        }
    }
}

TEST_F(Files, TextOfAnotherKindIsRefused) {
    EXPECT_NE(Fault(std::string(500, 'a')).find("it does not begin like one"), std::string::npos);
    EXPECT_NE(Fault(std::string(500, '\0')).find("is no readable DICOM file"), std::string::npos);
}

TEST_F(Files, AFileThatIsCompressedAsAWholeIsRefused) {
    EXPECT_NE(Fault(RawDicom{}.Text(attribute::PatientName, "A").File("1.2.840.10008.1.2.1.99")).find("deflated"),
              std::string::npos);
}

TEST_F(Files, AnUnknownTransferSyntaxIsNamed) {
    EXPECT_NE(Fault(RawDicom{}.Text(attribute::PatientName, "A").File("1.2.3.4")).find("its transfer syntax 1.2.3.4"),
              std::string::npos);
}

TEST_F(Files, SequencesNestAtMost64Deep) {
    const auto nested = [](int depth) {
        RawDicom inner;
        inner.Text(attribute::TextValue, "deep");
        for (int level = 0; level < depth; ++level)
            inner = RawDicom{}.Items(attribute::ContentSequence, {inner});
        return inner.File();
    };
    EXPECT_EQ(Loaded(nested(64))->GetSequenceItemCount(attribute::ContentSequence), 1);
    EXPECT_NE(Fault(nested(65)).find("nested more than 64 deep"), std::string::npos);
}

TEST_F(Files, DeepNestingIsRefusedQuicklyInEveryEncoding) {
    for (const Encoding encoding : {ExplicitLittle, ImplicitLittle, ExplicitBig}) {
        std::string bytes;
        for (int level = 0; level < 100'000; ++level)
            bytes += RawDicom{encoding}.OpenSequence(attribute::ContentSequence).Bytes();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_NE(Fault(RawDicom{encoding}.Raw(bytes).File()).find("nested"), std::string::npos);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds{500});
    }
}

TEST_F(Files, AFloodOfElementsIsRefused) {
    std::string bytes;
    for (int count = 0; count < 500'001; ++count)
        bytes += RawDicom{}.Text(attribute::PatientName, "").Bytes();
    EXPECT_NE(Fault(RawDicom{}.Raw(bytes).File()).find("half a million"), std::string::npos);
}

TEST_F(Files, AreReadWhileTheDictionaryIs) {
    WriteBytes(Path(), RawDicom{ImplicitLittle}.Text(attribute::StudyInstanceUid, "2.999.1").File());
    library.dicom.GetReadyToStore();

    EXPECT_EQ(Text(*library.Load(Path())->Item(0), attribute::StudyInstanceUid), "2.999.1");
}

TEST_F(Files, MissTheDictionaryInSilence) {
    WriteBytes(Path(), RawDicom{ImplicitLittle}.Text(attribute::StudyInstanceUid, "2.999.1").File());
    const auto read = [&] {
        ::setenv("DCMDICTPATH", "/nowhere/dicom.dic", 1);
        library.Load(Path());
        _exit(0);
    };
    EXPECT_EXIT(read(), testing::ExitedWithCode(0), "^$");
}

} // namespace
} // namespace tavrel::test
