#pragma once

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcfilefo.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tavrel {

class SuiteRoom;

/// The statuses of a C-STORE response that the service answers with (DICOM PS3.4, table B.2-1; PS3.7, C.5).
constexpr int Stored = 0x0000;
constexpr int ProcessingFailure = 0x0110;
constexpr int NotAuthorized = 0x0124;
constexpr int OutOfResources = 0xA700;
constexpr int DoesNotMatch = 0xA900;
constexpr int CannotUnderstand = 0xC000;
constexpr int ReportHasOthers = 0xC101;
constexpr int ReportApproved = 0xC102;

/// A real image of a modality.
std::filesystem::path RealImage(const std::string& name = "CT_small.dcm");

/// A DICOM object made from a real image, with whatever a test changes in it.
class TestObject {
public:
    explicit TestObject(const std::filesystem::path& from = RealImage());

    TestObject& Set(const DcmTagKey& tag, const std::string& value);
    TestObject& Remove(const DcmTagKey& tag);
    /// Refers to another object.
    TestObject& Naming(const std::string& sopClass, const std::string& sopInstance);
    /// A report's version that follows these.
    TestObject& After(const std::vector<std::string>& predecessors);
    /// A further object of the same series.
    TestObject& Numbered(int number);
    std::string Get(const DcmTagKey& tag);

    std::filesystem::path SaveTo(const std::filesystem::path& file);
    /// Sends it in an association of its own; the status of the answer, or -1 when there was none.
    int Send(int port, const std::string& callingAe = "MODALITY", const std::string& calledAe = "PORVANE");
    int Send(const SuiteRoom& room, const std::string& callingAe = "MODALITY", const std::string& calledAe = "PORVANE");

private:
    DcmFileFormat file_;
};

} // namespace tavrel
