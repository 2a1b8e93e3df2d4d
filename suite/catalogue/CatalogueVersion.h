#pragma once

#include "platform/database.h"

#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

/// The version of the catalogue that these programs make and know; docs/catalogue.md says what each one brought.
inline constexpr int SchemaVersion = 7;
/// The least version that a program must know to write where these programs have been: later ones only add.
inline constexpr int OldestWriter = 1;

/// The first version that a catalogue says it has.
inline constexpr int FirstWritten = 6;

inline constexpr std::string_view VersionTable = "CatalogueVersion";

/// The version of a catalogue, which may be that of later programs.
struct CatalogueVersion {
    int number = 0;
    int oldestWriter = 0; ///< the least version that a program must know to write there

    bool IsNewer() const { return number > SchemaVersion; }
    bool IsOlder() const { return number < SchemaVersion; }
    /// Whether this program may write there.
    bool LetsWrite() const { return oldestWriter <= SchemaVersion; }
    /// "The catalogue has version 8, and this program knows 7"
    std::string Words() const;
};

/// As it is written there; nothing in a catalogue that was made before versions were. One question.
std::optional<CatalogueVersion> ReadCatalogueVersion(Connection& catalogue);

} // namespace tavrel
