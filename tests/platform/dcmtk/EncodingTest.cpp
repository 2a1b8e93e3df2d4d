#include "RawDicom.h"
#include "SampleReport.h"
#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkDataSet.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>
#include <dcmtk/dcmdata/dcfilefo.h>
#include <dcmtk/dcmdata/dcistrmb.h>
#include <dcmtk/dcmdata/dcostrmb.h>

#include <gtest/gtest.h>

#include <vector>

namespace tavrel::test {
namespace {

using namespace std::string_literals;

/// The toolkit's own writing of what it has read.
std::string Written(DcmDataset& dataSet, E_TransferSyntax syntax) {
    std::vector<char> buffer(1U << 20U);
    DcmOutputBufferStream stream{buffer.data(), static_cast<offile_off_t>(buffer.size())};
    dataSet.transferInit();
    EXPECT_TRUE(dataSet.write(stream, syntax, EET_ExplicitLength, nullptr, EGL_withoutGL, EPD_withoutPadding).good());
    dataSet.transferEnd();
    void* bytes = nullptr;
    offile_off_t length = 0;
    stream.flushBuffer(bytes, length);
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(length)};
}

std::string Reread(const std::string& explicitVr, E_TransferSyntax syntax) {
    DcmDataset dataSet;
    DcmInputBufferStream stream;
    stream.setBuffer(explicitVr.data(), static_cast<offile_off_t>(explicitVr.size()));
    stream.setEos();
    dataSet.transferInit();
    EXPECT_TRUE(dataSet.read(stream, EXS_LittleEndianExplicit, EGL_withoutGL).good());
    dataSet.transferEnd();
    return Written(dataSet, syntax);
}

class EncodedFile : public testing::TestWithParam<Encoding> {
protected:
    static std::string Bytes(const DataSetHandle& dataSet) {
        return EncodeDataSet(dynamic_cast<const DcmtkDataSet&>(*dataSet)).bytes;
    }
    std::string FileOf(const RawDicom& raw) {
        WriteBytes(library.File("odd.dcm"), raw.File(GetParam().transferSyntax));
        return library.File("odd.dcm");
    }

    TestLibrary library;
};

/// What other programs write: empty values, padding of the wrong kind, private and unknown elements, numbers, items in
/// items without end.
RawDicom OddVersion(const Encoding& encoding) {
    const std::string word = encoding.bigEndian ? "\1\2"s : "\2\1"s;
    const std::string number = encoding.bigEndian ? "\0\2"s : "\2\0"s;
    const std::string length = "\0\0\0\0"s; // of a group, which nobody needs
    RawDicom item{encoding}, inner{encoding};
    inner.Text({Tag{0x0008, 0x0000}, "UL"}, length).Text(attribute::CodeValue, "C1").Text(attribute::CodeMeaning, "");
    item.Text(attribute::ReferencedSopInstanceUid, "1.2.3").Items(attribute::ConceptNameCodeSequence, {inner, inner});
    RawDicom raw{encoding};
    raw.Text(attribute::ImageType, "DERIVED\\PRIMARY")
        .Text(attribute::SopClassUid, "1.2.840.10008.5.1.4.1.1.88.11")
        .Text(attribute::SopInstanceUid, "1.2.3.4 ")
        .Text(attribute::SeriesDescription, "three blanks   ")
        .Text(attribute::PatientName, "Doe^Jane\0"s)
        .Text({Tag{0x0028, 0x0000}, "UL"}, length)
        .Text({Tag{0x0028, 0x0009}, "AT"}, word + word)
        .Text({Tag{0x0028, 0x0010}, "US"}, number)
        .Text({Tag{0x0029, 0x0010}, "LO"}, "MAKER")
        .Text({Tag{0x0029, 0x1001}, "UN"}, "whatever")
        .Text({Tag{0x0029, 0x1002}, "OB"}, "\1\2\3\4")
        .Items(attribute::CurrentRequestedProcedureEvidenceSequence, {})
        .Items(attribute::ContentSequence, {item, RawDicom{encoding}});
    return raw;
}

TEST_P(EncodedFile, OfAnotherProgramsVersionIsTheToolkits) {
    const std::string path = FileOf(OddVersion(GetParam()));
    DcmFileFormat file;
    ASSERT_TRUE(file.loadFile(path.c_str()).good());
    EXPECT_EQ(Bytes(library.Load(path)->Item(0)), Written(*file.getDataset(), EXS_LittleEndianExplicit));
}

TEST_P(EncodedFile, InImplicitVrIsTheToolkits) {
    const auto bytes = Bytes(library.Load(FileOf(OddVersion(GetParam())))->Item(0));
    EXPECT_EQ(InImplicitVr(bytes), Reread(bytes, EXS_LittleEndianImplicit));
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, EncodedFile, testing::Values(ExplicitLittle, ImplicitLittle, ExplicitBig));

TEST(EncodedNumbers, OfEveryKindAreTheToolkits) {
    TestLibrary library;
    const auto dataSet = MakeReport(library.dicom);
    std::uint16_t element = 0x9000;
    for (const auto& [vr, numbers] :
         {std::pair("FD", "1.5\\-2.25"), std::pair("FL", "0.5\\-3"), std::pair("SL", "-70000\\70000"),
          std::pair("SS", "-1\\2"), std::pair("SV", "-5000000000\\1"), std::pair("UL", "4000000000\\1"),
          std::pair("US", "512\\65535"), std::pair("UV", "18000000000000000000\\1")}) {
        const Tag tag{0x0018, ++element};
        dataSet->SetValue({tag, vr}, 0, numbers);
        EXPECT_EQ(dynamic_cast<const DcmtkDataSet&>(*dataSet).GetString(tag), numbers);
    }
    const auto bytes = EncodeDataSet(dynamic_cast<const DcmtkDataSet&>(*dataSet)).bytes;
    EXPECT_EQ(bytes, Reread(bytes, EXS_LittleEndianExplicit));
}

TEST(EncodedTexts, LoseBlanksThatTheirLengthCannotTell) {
    TestLibrary library;
    const auto dataSet = MakeReport(library.dicom);
    dataSet->SetValue(attribute::SeriesDescription, 0, "x" + std::string(70'000, ' '));
    const auto bytes = EncodeDataSet(dynamic_cast<const DcmtkDataSet&>(*dataSet)).bytes;
    EXPECT_LT(bytes.size(), 10'000U);
    EXPECT_EQ(bytes, Reread(bytes, EXS_LittleEndianExplicit));
}

} // namespace
} // namespace tavrel::test
