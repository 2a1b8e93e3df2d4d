#pragma once

#include <iostream>
#include <string_view>

namespace tavrel {

/// Answers a person at a shell who asks a program of windows for its help or its version, with that as its only
/// argument; false when nobody has asked. Nothing of a display or a bus is touched for it.
inline bool AnsweredAtShell(int argumentCount, const char* const* arguments, std::string_view program,
                            std::string_view version, std::string_view description) {
    const std::string_view asked = argumentCount == 2 ? arguments[1] : "";
    if (asked == "--version")
        std::cout << program << " " << version << std::endl;
    else if (asked == "--help" || asked == "-h")
        std::cout << description << "\nUsage: " << program
                  << "\n\nOptions:\n"
                     "  -h,--help                   Print this help message and exit\n"
                     "  --version                   Display program version information and exit"
                  << std::endl;
    else
        return false;
    return true;
}

} // namespace tavrel
