#pragma once

#include "platform/attributes.h"
#include "platform/dcmtk/DcmtkLibrary.h"
#include "tests/support/Failure.h"
#include "tests/support/FakeServiceEvents.h"
#include "tests/support/InlineBackground.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace tavrel::test {

/// The library under test with what it needs.
struct TestLibrary {
    TemporaryFolder folder;
    InlineBackground background;
    FakeServiceEvents events;
    DcmtkLibrary dicom{background, events, {std::chrono::seconds{1}, std::chrono::seconds{1}}};

    /// The path of a file in the folder.
    std::string File(std::string_view name) const { return (folder.Path() / name).string(); }
    /// The file as the only data set of a list.
    std::shared_ptr<DataSetList> Load(const std::string& path);
};

std::string Text(const Value& value);
std::string Text(const DicomDataSet& dataSet, const Attribute& attribute);
void WriteBytes(const std::filesystem::path& path, std::string_view bytes);

/// A report of `version` (from 1): that many observers, and predecessors from the second on.
DataSetHandle MakeReport(DicomLibrary& library, int version = 1);

} // namespace tavrel::test
