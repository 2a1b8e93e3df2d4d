#include "platform/dcmtk/ToolkitModule.h"
#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "tests/support/Failure.h"
#include "tests/support/FakeServiceEvents.h"
#include "tests/support/InlineBackground.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/StorageNode.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tavrel::test {
namespace {

constexpr Attribute Name = attribute::PatientName;
constexpr Attribute StudyUid = attribute::StudyInstanceUid;

/// The module, where another version may take its place.
class AModule : public testing::Test {
public:
    AModule() { std::filesystem::copy_file(BUILT_MODULE, file_); }

    static std::string Failure(const ToolkitModule& module, const char* name) {
        try {
            module.Function(name);
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return {};
    }

protected:
    TemporaryFolder folder_;
    std::filesystem::path file_ = folder_.Path() / "module.so";
};

TEST_F(AModule, IsThatOfTheProgramsStartWhenAnotherTakesItsPlace) {
    const ToolkitModule module{file_};
    std::filesystem::remove(file_);
    std::ofstream(file_) << "another";
    EXPECT_EQ(Failure(module, "TavrelToolkit"), "");
    EXPECT_EQ(Failure(module, "TavrelStore"), "");
}

TEST_F(AModule, IsNamedWhereItIsMissing) {
    const std::string file = folder_.Path() / "tavrel-dicom.so";
    EXPECT_EQ(Failure(ToolkitModule{file}, "TavrelToolkit"),
              "the program's part for DICOM, " + file + ", cannot be loaded (" + file +
                  ": cannot open shared object file: No such file or directory). Close the report and open it again; "
                  "where that does not help, the program must be installed again");
}

TEST_F(AModule, IsNamedWhereItIsNone) {
    std::ofstream(file_) << "no module";
    EXPECT_NE(Failure(ToolkitModule{file_}, "TavrelToolkit").find(file_.string() + ", cannot be loaded ("),
              std::string::npos);
}

/// As the editor has it: with the module beside the program.
class ALateToolkit : public testing::Test {
protected:
    DataSetHandle Written() {
        auto dataSet = library_.NewDataSet();
        dataSet->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.11");
        dataSet->SetValue(attribute::SopInstanceUid, 0, "2.999.1");
        dataSet->SetValue(StudyUid, 0, "2.999.2");
        dataSet->SetValue(attribute::SeriesInstanceUid, 0, "2.999.3");
        dataSet->SetValue(Name, 0, "Rossi^Mario");
        return dataSet;
    }

    void Send(const StorageNode& node) {
        Written()->StoreToNode("127.0.0.1", node.Port(), "AE_INTERNAL", "NODE", false);
    }

    /// Whether the module is in the process.
    static bool Loaded() {
        std::ifstream maps("/proc/self/maps");
        return std::string(std::istreambuf_iterator<char>(maps), {}).find("/tavrel-dicom") != std::string::npos;
    }

    TemporaryFolder folder_;
    std::string file_ = folder_.Path() / "version.dcm";
    InlineBackground background_;
    FakeServiceEvents events_;
    DcmtkLibrary library_{background_, events_};
};

TEST_F(ALateToolkit, IsNotLoadedByANewReportThatIsWrittenToAFile) {
    Written()->SaveToFile(file_);
    EXPECT_TRUE(Written()->FindUnwritable().empty());
    EXPECT_EQ(library_.OpenImageSeries(std::vector{file_})->GetElementString(0, StudyUid), "2.999.2");
    EXPECT_FALSE(Loaded());
}

TEST_F(ALateToolkit, ReadsASavedReport) {
    Written()->SaveToFile(file_);
    const auto list = library_.NewDataSetList();
    list->LoadFile(file_);
    EXPECT_EQ(list->GetElementString(0, Name), "Rossi^Mario");
    EXPECT_TRUE(Loaded());
}

TEST_F(ALateToolkit, IsLoadedAsideWhenSomethingWillBeSent) {
    {
        DcmtkLibrary library{background_, events_};
        library.GetReadyToStore();
    } // which waits for it
    EXPECT_TRUE(Loaded());
}

TEST_F(ALateToolkit, ServesWhoReadsWhileItIsLoaded) {
    Written()->SaveToFile(file_);
    const auto list = library_.NewDataSetList();
    list->LoadFile(file_);
    library_.GetReadyToStore();
    EXPECT_EQ(list->GetElementString(0, Name), "Rossi^Mario");
}

TEST_F(ALateToolkit, SaysWhatItCannotRead) {
    Written()->SaveToFile(file_);
    std::string bytes = ReadBytes(file_);
    const std::string_view syntax("1.2.840.10008.1.2.1\0", 20), unknown("1.2.840.10008.1.2.4.");
    std::ofstream(file_) << bytes.replace(bytes.find(syntax), syntax.size(), unknown);
    const auto list = library_.NewDataSetList();
    list->LoadFile(file_);
    EXPECT_EQ(FailureOf([&] { list->GetElementString(0, Name); }),
              "The file " + file_ +
                  " is no readable DICOM file: its transfer syntax 1.2.840.10008.1.2.4. is not known.");
}

TEST_F(ALateToolkit, Sends) {
    StorageNode node;
    Send(node);
    EXPECT_EQ(node.Objects().size(), 1U);
}

TEST_F(ALateToolkit, SaysWhyItCannotSend) {
    StorageNode node{StorageNode::Behaviour::AnswerFailure};
    EXPECT_NE(FailureOf([&] { Send(node); }).find("it is out of resources"), std::string::npos);
}

} // namespace
} // namespace tavrel::test
