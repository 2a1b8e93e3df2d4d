#include "suite/catalogue/CatalogueVersion.h"

#include "platform/error.h"

#include <charconv>

namespace tavrel {
namespace {

int Number(const ResultSet& row, std::string_view column) {
    const std::string text = row.Text(column);
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

std::string CatalogueVersion::Words() const {
    return "The catalogue has version " + std::to_string(number) + ", and this program knows " +
           std::to_string(SchemaVersion);
}

std::optional<CatalogueVersion> ReadCatalogueVersion(Connection& catalogue) try {
    const auto rows = catalogue.OpenResultSet("SELECT Version, OldestWriter FROM " + std::string(VersionTable) +
                                              " ORDER BY Version DESC");
    if (rows->AtEnd())
        return std::nullopt;
    return CatalogueVersion{Number(*rows, "Version"), Number(*rows, "OldestWriter")};
} catch (const Error&) {
    if (!catalogue.IsOpen())
        throw; // it is not known
    return std::nullopt;
}

} // namespace tavrel
