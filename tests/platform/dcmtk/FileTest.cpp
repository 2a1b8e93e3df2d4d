#include "RawDicom.h"
#include "SampleReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include <sys/stat.h>

namespace tavrel::test {
namespace {

constexpr Tag CharacterSet{0x0008, 0x0005};
constexpr Tag SopInstanceUid{0x0008, 0x0018};
constexpr Tag ContentDate{0x0008, 0x0023};
constexpr Tag SeriesDescription{0x0008, 0x103E};
constexpr Tag PatientName{0x0010, 0x0010};
constexpr Tag BirthDate{0x0010, 0x0030};
constexpr Tag OddStudyElement{0x0020, 0x0008};
constexpr Tag SeriesUid{0x0020, 0x000E};
constexpr Tag Photometric{0x0028, 0x0004};
constexpr Tag Content{0x0040, 0xA730};
constexpr Tag TextValue{0x0040, 0xA160};

class Files : public testing::Test {
protected:
    std::string Path(std::string_view name = "report.dcm") const { return library.folder.File(name); }

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
        const auto failure = FailureOf([&] { list->LoadFile(Path("broken.dcm")); });
        EXPECT_EQ(list->Count(), 0);
        EXPECT_NE(failure.find("broken.dcm"), std::string::npos) << failure;
        return failure;
    }

    TestLibrary library;
    DataSetHandle report = MakeReport(library.dicom, 3);
};

TEST_F(Files, AReportComesBackAsItWasSaved) {
    const auto loaded = SavedAndLoaded(report);
    EXPECT_EQ(Text(*loaded, PatientName), "Doe^Jane");
    EXPECT_EQ(Text(*loaded, OddStudyElement), "8");
    EXPECT_EQ(loaded->GetValue(BirthDate, "DA"), (Value{DateTime{1961, 2, 28}}));
    EXPECT_EQ(loaded->GetSequenceItemCount({0x0040, 0xA073}), 3);
    EXPECT_EQ(Text(*loaded->GetSequenceItem(Content, 1), TextValue), "Liver: homogeneous.\r\nNo stones.");
}

TEST_F(Files, PathsHaveTheProgramsOwnSeparator) {
    std::string inside = Path();
    std::ranges::replace(inside, '/', '\\');
    report->SaveToFile(inside);
    EXPECT_EQ(library.Load(inside)->GetElementString(0, PatientName), "Doe^Jane");
}

TEST_F(Files, ASavedFileIsTheOwnersAlone) {
    report->SaveToFile(Path());
    struct stat state {};
    ASSERT_EQ(::stat(Path().c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0600U);
}

TEST_F(Files, SavingLeavesNothingBesideTheFile) {
    report->SaveToFile(Path());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{library.folder.path}, {}), 1);
}

TEST_F(Files, AFolderThatIsMissingIsNamed) {
    const auto failure = FailureOf([&] { report->SaveToFile(Path("absent/report.dcm")); });
    EXPECT_EQ(failure, "The file " + Path("absent/report.dcm") + " cannot be written: No such file or directory.");
}

TEST_F(Files, ACharacterOutsideTheSetLeavesTheFileAsItWas) {
    WriteBytes(Path(), "before");
    report->GetSequenceItem(Content, 1)->SetValue(TextValue, "UT", 0, "size 3→4");
    const auto failure = FailureOf([&] { report->SaveToFile(Path()); });
    EXPECT_EQ(failure, "The character \"→\" (U+2192) at position 7 of Content Sequence (0040,A730) item 2, Text Value "
                       "(0040,A160) cannot be written in the character set ISO_IR 100.");
    EXPECT_EQ(ReadBytes(Path()), "before");
}

TEST_F(Files, AControlCharacterIsNamed) {
    report->SetValue(SeriesDescription, "LO", 0, "a\tb\ac");
    EXPECT_EQ(
        FailureOf([&] { report->SaveToFile(Path()); }),
        "The control character U+0007 at position 4 of Series Description (0008,103E) cannot be stored in a DICOM "
        "file.");
}

TEST_F(Files, ALongTitleIsWrittenWhole) {
    report->SetValue(SeriesDescription, "LO", 0, std::string(100, 'x') + "\\y");
    EXPECT_EQ(Text(*SavedAndLoaded(report), SeriesDescription), std::string(100, 'x') + "\\y");
}

TEST_F(Files, ATextBeyondItsVrIsAnError) {
    report->SetValue(SeriesDescription, "LO", 0, std::string(65536, 'x'));
    EXPECT_NE(FailureOf([&] { report->SaveToFile(Path()); }).find("is too long"), std::string::npos);
}

TEST_F(Files, ALongReadingIsWrittenWhole) {
    const std::string reading(200'000, 'x');
    report->GetSequenceItem(Content, 1)->SetValue(TextValue, "UT", 0, reading);
    EXPECT_EQ(Text(*SavedAndLoaded(report)->GetSequenceItem(Content, 1), TextValue), reading);
}

TEST_F(Files, AVersionIsInTheSetThatItDeclaresWhateverItsSourceWasIn) {
    report->SetValue(CharacterSet, "CS", 0, "ISO_IR 192");
    report->SetValue(PatientName, "PN", 0, "Äneas^Rüdiger");
    const auto loaded = SavedAndLoaded(report);
    loaded->SetValue(CharacterSet, "CS", 0, "ISO_IR 100");
    EXPECT_EQ(Text(*loaded, PatientName), "Äneas^Rüdiger");
    loaded->SaveToFile(Path());
    EXPECT_NE(ReadBytes(Path()).find("\xC4neas^R\xFC"
                                     "diger"),
              std::string::npos);
}

TEST_F(Files, AnItemMayDeclareASetOfItsOwn) {
    report->GetSequenceItem(Content, 0)->SetValue(CharacterSet, "CS", 0, "ISO_IR 144");
    report->GetSequenceItem(Content, 0)->SetValue(TextValue, "UT", 0, "Люксембург");
    EXPECT_EQ(Text(*SavedAndLoaded(report)->GetSequenceItem(Content, 0), TextValue), "Люксембург");
}

TEST_F(Files, EveryEncodingReadsAlike) {
    for (const Encoding encoding : {ExplicitLittle, ImplicitLittle, ExplicitBig}) {
        for (const bool withMeta : {true, false}) {
            RawDicom raw{encoding};
            raw.Text(SopInstanceUid, "UI", "1.2.3")
                .Text(PatientName, "PN", "Doe^Jane")
                .Text(BirthDate, "DA", "19610228");
            raw.Items(Content, {RawDicom{encoding}.Text(TextValue, "UT", "reading")});
            const auto loaded = Loaded(withMeta ? raw.File() : raw.Bytes());
            EXPECT_EQ(Text(*loaded, PatientName), "Doe^Jane");
            EXPECT_EQ(loaded->GetValue(BirthDate, "DA"), (Value{DateTime{1961, 2, 28}}));
            EXPECT_EQ(Text(*loaded->GetSequenceItem(Content, 0), TextValue), "reading");
        }
    }
}

TEST_F(Files, AnElementThatTheDictionaryLacksReadsAsText) {
    const auto loaded =
        Loaded(RawDicom{ImplicitLittle}.Text(SopInstanceUid, "UI", "1.2.3").Text(OddStudyElement, "SH", "STU7").File());
    EXPECT_EQ(Text(*loaded, OddStudyElement), "STU7");
}

TEST_F(Files, AnElementOfUnknownVrKeepsTheSetOfItsFile) {
    const auto loaded = Loaded(
        RawDicom{ImplicitLittle}.Text(CharacterSet, "CS", "ISO_IR 144").Text(OddStudyElement, "SH", "\xBB\xEE").File());
    EXPECT_EQ(Text(*loaded, OddStudyElement), "Лю");
    loaded->SetValue(CharacterSet, "CS", 0, "ISO_IR 100");
    EXPECT_EQ(Text(*loaded, OddStudyElement), "Лю");
}

TEST_F(Files, ADateThatTheCalendarLacksReadsAsNone) {
    const auto loaded = Loaded(RawDicom{}.Text(ContentDate, "DA", "20260230").Text(BirthDate, "DA", "unknown ").File());
    EXPECT_EQ(loaded->GetValue(ContentDate, "DA"), Value{});
    EXPECT_EQ(loaded->GetValue(BirthDate, "DA"), Value{});
}

TEST_F(Files, ADateTimeWithOffsetIsTurnedIntoLocalTime) {
    ::setenv("TZ", "CET-1", 1);
    ::tzset();
    const auto loaded = Loaded(RawDicom{}.Text({0x0040, 0xA030}, "DT", "20261231233000.5-0130").File());
    EXPECT_EQ(loaded->GetValue({0x0040, 0xA030}, "DT"), (Value{DateTime{2027, 1, 1, 2, 0, 0}}));
    ::unsetenv("TZ");
    ::tzset();
}

TEST_F(Files, PaddingIsNoText) {
    const auto loaded = Loaded(
        RawDicom{}.Text(SeriesDescription, "LO", "  title ").Text(SeriesUid, "UI", std::string{"1.2.3\0", 6}).File());
    EXPECT_EQ(Text(*loaded, SeriesDescription), "title");
    EXPECT_EQ(Text(*loaded, SeriesUid), "1.2.3");
}

TEST_F(Files, ALineEndOfAForeignFileIsCrLfInMemory) {
    EXPECT_EQ(Text(*Loaded(RawDicom{}.Text(TextValue, "UT", "a\nb\r\nc").File()), TextValue), "a\r\nb\r\nc");
}

TEST_F(Files, AFileThatWasReplacedIsNoticed) {
    report->SaveToFile(Path());
    const auto list = library.Load(Path());
    report->SaveToFile(Path());
    EXPECT_EQ(Text(list->GetElementValue(0, SopInstanceUid, "UI")), Text(*report, SopInstanceUid));
    EXPECT_NE(FailureOf([&] { list->GetElementString(0, PatientName); }).find("was changed or replaced"),
              std::string::npos);
}

TEST_F(Files, AFileThatWasRemovedIsNoticed) {
    report->SaveToFile(Path());
    const auto list = library.Load(Path());
    std::filesystem::remove(Path());
    EXPECT_NE(FailureOf([&] { list->GetElementString(0, PatientName); }).find("cannot be read"), std::string::npos);
}

TEST_F(Files, NoFileIsKeptOpen) {
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, {}); };
    report->SaveToFile(Path());
    const auto before = openFiles();
    const auto list = library.dicom.NewDataSetList();
    for (int times = 0; times < 10; ++times)
        list->LoadFile(Path());
    list->GetElementString(0, PatientName);
    EXPECT_EQ(openFiles(), before);
}

TEST_F(Files, AnImageSeriesCostsNothingUntilItIsAskedAndNeverItsPixels) {
    const std::string pixels(1'000'000, 'x');
    WriteBytes(Path("image.dcm"),
               RawDicom{}.Text(PatientName, "PN", "Doe^Jane").Text(Photometric, "CS", "RGB").Pixels(pixels).File());
    const std::vector<std::string> paths{Path("absent.dcm"), Path("image.dcm")};
    const auto series = library.dicom.OpenImageSeries(paths);
    EXPECT_EQ(series->Count(), 2);
    EXPECT_EQ(series->GetElementString(1, PatientName), "Doe^Jane");
    EXPECT_EQ(series->GetElementString(1, Photometric), "RGB");
    EXPECT_EQ(series->GetElementString(1, {0x7FE0, 0x0010}), "");
    EXPECT_THROW(series->GetElementString(0, PatientName), Error);
}

TEST_F(Files, AnImageWhosePixelsAreCutOffStillHasAHeader) {
    const auto bytes = RawDicom{}.Text(PatientName, "PN", "Doe^Jane").Pixels(std::string(1000, 'x')).File();
    WriteBytes(Path("image.dcm"), bytes.substr(0, bytes.size() - 500));
    const std::vector<std::string> paths{Path("image.dcm")};
    EXPECT_EQ(library.dicom.OpenImageSeries(paths)->GetElementString(0, PatientName), "Doe^Jane");
    EXPECT_THROW(library.Load(paths[0]), Error);
}

TEST_F(Files, AFileThatIsAbsentIsNamed) {
    EXPECT_EQ(FailureOf([&] { library.Load(Path("absent.dcm")); }),
              "The file " + Path("absent.dcm") + " cannot be read: No such file or directory.");
}

TEST_F(Files, AFolderIsNoFile) {
    EXPECT_NE(FailureOf([&] { library.Load(library.folder.path.string()); }).find("it is a folder"), std::string::npos);
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
            EXPECT_EQ(FailureOf([&] { list->Item(0)->GetSequenceItemCount(Content); }), "") << length;
        }
    }
}

TEST_F(Files, TextOfAnotherKindIsRefused) {
    EXPECT_NE(Fault(std::string(500, 'a')).find("it does not begin like one"), std::string::npos);
    EXPECT_NE(Fault(std::string(500, '\0')).find("is no readable DICOM file"), std::string::npos);
}

TEST_F(Files, AFileThatIsCompressedAsAWholeIsRefused) {
    EXPECT_NE(Fault(RawDicom{}.Text(PatientName, "PN", "A").File("1.2.840.10008.1.2.1.99")).find("deflated"),
              std::string::npos);
}

TEST_F(Files, AnUnknownTransferSyntaxIsNamed) {
    EXPECT_NE(Fault(RawDicom{}.Text(PatientName, "PN", "A").File("1.2.3.4")).find("its transfer syntax 1.2.3.4"),
              std::string::npos);
}

TEST_F(Files, SequencesNestAtMost64Deep) {
    const auto nested = [](int depth) {
        RawDicom inner;
        inner.Text(TextValue, "UT", "deep");
        for (int level = 0; level < depth; ++level)
            inner = RawDicom{}.Items(Content, {inner});
        return inner.File();
    };
    EXPECT_EQ(Loaded(nested(64))->GetSequenceItemCount(Content), 1);
    EXPECT_NE(Fault(nested(65)).find("nested more than 64 deep"), std::string::npos);
}

TEST_F(Files, DeepNestingIsRefusedQuicklyInEveryEncoding) {
    for (const Encoding encoding : {ExplicitLittle, ImplicitLittle, ExplicitBig}) {
        std::string bytes;
        for (int level = 0; level < 100'000; ++level)
            bytes += RawDicom{encoding}.OpenSequence(Content).Bytes();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_NE(Fault(RawDicom{encoding}.Raw(bytes).File()).find("nested"), std::string::npos);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds{500});
    }
}

TEST_F(Files, AFloodOfElementsIsRefused) {
    std::string bytes;
    for (int count = 0; count < 500'001; ++count)
        bytes += RawDicom{}.Text(PatientName, "PN", "").Bytes();
    EXPECT_NE(Fault(RawDicom{}.Raw(bytes).File()).find("half a million"), std::string::npos);
}

} // namespace
} // namespace tavrel::test
