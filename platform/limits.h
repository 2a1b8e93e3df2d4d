#pragma once

#include <cstddef>

/// The most characters that a value can have.
namespace tavrel::longest {

// DICOM PS3.5, 6.2.
inline constexpr std::size_t AeTitle = 16;
inline constexpr std::size_t ShortString = 16; ///< SH
inline constexpr std::size_t LongString = 64;  ///< LO
inline constexpr std::size_t Uid = 64;

// A coded entry, DICOM PS3.3, 8.8.
inline constexpr std::size_t CodeScheme = ShortString;
inline constexpr std::size_t CodeValue = ShortString;
inline constexpr std::size_t CodeMeaning = LongString;

/// A path of the system, in bytes (PATH_MAX of Linux).
inline constexpr std::size_t Path = 4096;

/// The root of a site's UIDs, to which a report adds ".1." and a time stamp of 19 characters.
inline constexpr std::size_t BaseUid = Uid - 22;

// The catalogue's columns (suite/catalogue/Schema.cpp) that hold more than the standard needs.
inline constexpr std::size_t ShortColumn = 16; ///< dates, times, the sex, coded words
inline constexpr std::size_t TextColumn = 255;
inline constexpr std::size_t LongColumn = 1024; ///< paths, a piece of a reading
inline constexpr std::size_t TextBlock = 4000;  ///< a template or what a short form stands for

} // namespace tavrel::longest
