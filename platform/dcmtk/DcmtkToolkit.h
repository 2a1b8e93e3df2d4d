#pragma once

#include "platform/dcmtk/DicomFile.h"
#include "platform/dcmtk/TextElements.h"

#include <memory>
#include <string>
#include <string_view>

class DcmDataset;
class DcmElement;

namespace tavrel {

// The toolkit's own objects, for programs that are linked to it and work with them.

/// What the toolkit makes of a file: its meta information (null when it has none) and its data set.
struct ParsedFile {
    std::unique_ptr<DcmDataset> meta;
    std::unique_ptr<DcmDataset> data;
};

/// What is no DICOM is an error that names the file.
ParsedFile Parse(const FileBytes& file);

/// Reads an image up to the end of its pixel data, as far as `DicomFile::ScanImage` has looked. They stay in it, as
/// every long value does, until they are asked for. What lies behind them no image needs.
std::unique_ptr<DcmDataset> ParseImage(const std::string& path, const DicomLayout& layout);

/// The two letters of the element's VR; "UN" for one that is not known.
std::string_view VrOf(const DcmElement& element);

/// The element as text, as its file has it; not yet decoded.
TextElement StoredText(const DcmElement& element);

} // namespace tavrel
