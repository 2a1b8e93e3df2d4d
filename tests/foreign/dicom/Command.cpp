#include "Command.h"

#include "tests/support/Shell.h"

#include <sstream>

namespace tavrel::test {

CommandResult RunCommand(const std::vector<std::string>& arguments) {
    std::string line;
    for (const auto& argument : arguments)
        line += "'" + argument + "' ";
    const auto outcome = RunShell(line + "2>&1");
    CommandResult result{outcome.status, {}};
    std::istringstream text{outcome.out};
    for (std::string next; std::getline(text, next);)
        result.lines.push_back(next);
    return result;
}

} // namespace tavrel::test
