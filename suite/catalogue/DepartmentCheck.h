#pragma once

#include "suite/catalogue/Department.h"
#include "suite/catalogue/InstallationCheck.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// What a department needs beyond what a workstation with a catalogue of its own does.
class DepartmentCheck {
public:
    DepartmentCheck(Connection& catalogue, Department& department) : catalogue_(catalogue), department_(department) {}

    /// The workstation whose account asks; nothing for the owner of the tables.
    std::optional<std::string> Here();

    /// At a workstation: whether its account may do what it must, and what of it differs from the others'.
    std::vector<CheckResult> OfWorkstation(const std::string& name);
    /// By the owner: whether each workstation has what it needs, and nothing of another's. Mending gives rights again.
    std::vector<CheckResult> OfAll(bool mending);

    /// Why files and rows cannot be compared on this machine: the tree of studies is not here, or another one is.
    std::optional<std::string> TreeFault();

private:
    CheckResult Clock();
    std::string Answer(const std::string& query);

    Connection& catalogue_;
    Department& department_;
};

} // namespace tavrel
