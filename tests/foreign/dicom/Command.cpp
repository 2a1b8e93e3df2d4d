#include "Command.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include <sys/wait.h>

namespace tavrel::test {

CommandResult RunCommand(const std::vector<std::string>& arguments) {
    std::string line;
    for (const auto& argument : arguments)
        line += "'" + argument + "' ";
    std::FILE* pipe = ::popen((line + "2>&1").c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("cannot run " + line);
    std::string output;
    std::array<char, 4096> block{};
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), got);
    CommandResult result;
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream text{output};
    for (std::string next; std::getline(text, next);)
        result.lines.push_back(next);
    return result;
}

} // namespace tavrel::test
