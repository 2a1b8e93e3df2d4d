#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// Why `text` cannot be a value of the catalogue that also goes into DICOM objects (PS3.5, 6.2), of
/// at most `longest` characters; empty when it can.
std::string TextFault(std::string_view text, std::size_t longest);

/// Whether reports, which are written in ISO_IR 100, can hold the text.
bool FitsReports(std::string_view text);

/// Statements put values between single quotes as they are: an apostrophe becomes a back-quote.
std::string ForCatalogue(std::string text);

} // namespace tavrel
