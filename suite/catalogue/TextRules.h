#pragma once

#include "host/ReportForm.h"

#include <string>
#include <string_view>

namespace tavrel {

/// Why `text` cannot be a value of the catalogue that also goes into DICOM objects (PS3.5, 6.2), of
/// at most `longest` characters; empty when it can.
std::string TextFault(std::string_view text, std::size_t longest);

/// Why a text cannot be the root of a site's UIDs, with that text in front; empty when it can.
std::string BaseUidFault(const std::string& text);

/// Whether reports of that form can hold the text: classic ones are written in ISO_IR 100, the others in UTF-8.
bool FitsReports(std::string_view text, ReportForm form);

/// Statements put values between single quotes as they are: an apostrophe becomes a back-quote.
std::string ForCatalogue(std::string text);

} // namespace tavrel
