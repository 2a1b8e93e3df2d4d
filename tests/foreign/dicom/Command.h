#pragma once

#include <string>
#include <vector>

namespace tavrel::test {

struct CommandResult {
    int status = -1;
    std::vector<std::string> lines; ///< what it wrote, errors included
};

/// Runs another program. One that is not there has status 127.
CommandResult RunCommand(const std::vector<std::string>& arguments);

} // namespace tavrel::test
