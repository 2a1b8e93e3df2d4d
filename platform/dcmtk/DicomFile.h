#pragma once

#include "platform/dcmtk/StructuralScan.h"
#include "platform/dcmtk/TextElements.h"
#include "platform/dicom.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {

/// A file, or its first groups, as a toolkit needs it.
struct FileBytes {
    std::string path;  ///< native, for messages
    std::string bytes; ///< meta information and data set
    std::size_t metaLength = 0;
    std::string transferSyntax; ///< as declared; empty when the file has no meta information
    bool explicitVr = true;
    bool bigEndian = false;
};

/// An image's early part as it stands in its file.
struct EarlyTexts {
    std::vector<std::pair<Tag, TextElement>> texts; ///< not yet decoded
    std::vector<Tag> others;                        ///< the elements that hold no text
};

/// A DICOM file that is read piece by piece; it is never kept open. Failures are `Error`s that name
/// the file.
class DicomFile {
public:
    /// Checks the whole structure and keeps the bytes of the groups up to 0008.
    static DicomFile Checked(std::string_view path);

    /// Looks at nothing yet; its header alone will be read, never its pixel data.
    static DicomFile Unopened(std::string_view path);

    /// The groups up to this one can be had for little: 0008 of a checked file; of an unopened one
    /// 0020, which is all that tells an image's patient, study and series.
    std::uint16_t LastEarlyGroup() const;
    /// Those groups, or the whole file when they are not at hand. To be called once.
    FileBytes TakeEarlyPart();
    /// Those groups of an unopened file without the toolkit, whose dictionary takes as long to read as all else that
    /// a new report needs. Nothing where a value must be understood first, which the toolkit does.
    std::optional<EarlyTexts> ReadEarlyTexts() const;

    /// The whole file. One that is no longer the one that was checked is an error.
    FileBytes Read() const;

    /// Where the parts of an image lie, up to the end of its pixel data.
    DicomLayout ScanImage() const;

    const std::string& Path() const { return path_; } ///< native

private:
    /// What tells a file from one that took its place.
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::uint64_t size = 0;
        std::int64_t changedSeconds = 0;
        std::int64_t changedNanoseconds = 0;
        bool operator==(const Identity&) const = default;
    };
    class OpenFile;

    DicomFile(std::string_view path, bool checked);
    FileBytes Read(std::uint16_t lastGroup) const;

    std::string path_; ///< native
    bool checked_;
    Identity identity_;
    FileBytes early_; ///< up to group 0008
};

} // namespace tavrel
