#include "suite/catalogue/Upgrade.h"

#include "platform/error.h"
#include "suite/catalogue/Department.h"
#include "suite/catalogue/SchemaParts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tavrel {
namespace {

[[noreturn]] void RefuseCatalogue(const std::string& words) {
    throw Error(Fault::OfTheSuite, "Catalogue", words);
}

void RefuseNewer(const CatalogueVersion& version) {
    if (version.IsNewer())
        RefuseCatalogue(version.Words() + ": take the program of the version that made it");
}

} // namespace

void MakeCatalogue(Connection& catalogue, Engine engine) {
    const SchemaComparison before = CompareWithSchema(catalogue, engine);
    const CatalogueVersion version = before.Version();
    RefuseNewer(version);
    // Making goes table by table: what was interrupted lacks some of the first version's, and is whole otherwise.
    const bool begun = version.number == 0 && std::ranges::none_of(before.faults, [](const SchemaFault& fault) {
                           return fault.kind == SchemaFault::Kind::NoColumn;
                       });
    if (version.IsOlder() && !begun)
        RefuseCatalogue(version.Words() + R"(; "orbenta-catalogue upgrade" brings it up)");
    for (const SchemaFault& fault : before.faults)
        if (fault.kind == SchemaFault::Kind::NoColumn)
            RefuseCatalogue(fault.words + R"(; "orbenta-catalogue check --mend" mends it)");
    CreateSchema(catalogue, engine);
}

CatalogueUpgrade::CatalogueUpgrade(Connection& catalogue, Engine engine) : catalogue_(catalogue) {
    const SchemaComparison found = CompareWithSchema(catalogue, engine);
    if (found.nothingThere)
        RefuseCatalogue(R"(There is no catalogue yet; "orbenta-catalogue init" makes it)");
    RefuseNewer(found.Version());
    from_ = found.Version().number;
    for (int version = from_ + 1; version <= SchemaVersion; ++version) {
        Step step{version, {}};
        for (const SchemaFault& fault : found.faults) {
            if (fault.since != version && (version != from_ + 1 || fault.since > version))
                continue;
            if (fault.statements.empty())
                RefuseCatalogue(fault.words + ", which no statement makes again; put the catalogue back from a backup");
            std::ranges::copy(fault.statements, std::back_inserter(step.statements));
        }
        if (version >= FirstWritten)
            step.statements.push_back(schema::WriteVersion(version));
        if (!step.statements.empty())
            steps_.push_back(std::move(step));
    }
    if (Department department(catalogue); !steps_.empty() && department.Exists())
        std::ranges::copy(department.RightsStatements(), std::back_inserter(steps_.back().statements));
}

void CatalogueUpgrade::Run() try {
    catalogue_.BeginTransaction();
    for (const Step& step : steps_)
        for (const std::string& statement : step.statements)
            catalogue_.OpenResultSet(statement);
    catalogue_.Commit();
} catch (const Error& error) { // of two at once a server refuses one in words of its own
    RefuseCatalogue("The catalogue was not brought up: " + error.description +
                    ". No row is lost. Where another upgrade runs, let it end; then start this one again");
}

} // namespace tavrel
