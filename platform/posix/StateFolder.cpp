#include "platform/posix/StateFolder.h"

#include <cstdlib>
#include <filesystem>

namespace tavrel {

std::string StateFolder() {
    const auto pathIn = [](const char* variable) {
        const char* value = std::getenv(variable);
        return std::filesystem::path(value ? value : "");
    };
    auto state = pathIn("XDG_STATE_HOME");
    if (!state.is_absolute()) // the convention: anything else is as if it were not set
        state = pathIn("HOME") / ".local" / "state";
    return state / "tavrel";
}

} // namespace tavrel
