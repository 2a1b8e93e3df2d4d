#pragma once

#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/Schema.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// Something that a catalogue lacks, or has otherwise than the schema says.
struct SchemaFault {
    enum class Kind { NoTable, NoColumn, NoIndex, ShortType };
    Kind kind = Kind::NoTable;
    std::string words;                   ///< "table Study lacks the column AccessionNumber"
    int since = 1;                       ///< the version that brought it
    std::vector<std::string> statements; ///< that mend it; none where nothing can
};

/// A catalogue beside the schema, as any account sees it that works with it, the role of the daily work too.
struct SchemaComparison {
    bool nothingThere = false;               ///< no table of the catalogue is
    std::optional<CatalogueVersion> written; ///< the version that the catalogue says it has
    std::vector<SchemaFault> faults;

    /// The written version; of a catalogue that was made before versions were, the latest of which it lacks nothing: 0
    /// where it lacks something of the first.
    CatalogueVersion Version() const;
    /// What it lacks of the version that it has; the rest came later.
    std::vector<SchemaFault> Damage() const;
};

SchemaComparison CompareWithSchema(Connection& catalogue, Engine engine);

} // namespace tavrel
