#pragma once

#include "suite/catalogue/SchemaFaults.h"

#include <string>
#include <vector>

namespace tavrel {

/// Makes a catalogue where there is none, and the rest of one whose making was interrupted. An error for one of another
/// version than these programs', and for one that lacks a column: neither is brought up by the way.
void MakeCatalogue(Connection& catalogue, Engine engine);

/// How an older catalogue becomes one of these programs' version, step by step. Rows stay as they are.
class CatalogueUpgrade {
public:
    struct Step {
        int version = 0; ///< that the catalogue has then
        std::vector<std::string> statements;
    };

    /// `catalogue` is open. An error where there is none, for a newer one, and where something is lacking that no
    /// statement can make again.
    CatalogueUpgrade(Connection& catalogue, Engine engine);

    int From() const { return from_; }
    /// None where the catalogue has the version already.
    const std::vector<Step>& Steps() const { return steps_; }

    /// In one transaction; MariaDB commits each statement that changes a table by itself, and once it was interrupted
    /// there, another upgrade goes on.
    void Run();

private:
    Connection& catalogue_;
    int from_ = 0;
    std::vector<Step> steps_;
};

} // namespace tavrel
