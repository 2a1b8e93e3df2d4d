#include "platform/posix/PosixUserInformation.h"

#include <pwd.h>
#include <unistd.h>

#include <array>

namespace tavrel {

std::string PosixUserInformation::UserName() const {
    const auto user = getuid();
    std::array<char, 16384> buffer;
    passwd account{};
    passwd* found = nullptr;
    getpwuid_r(user, &account, buffer.data(), buffer.size(), &found);
    return found ? account.pw_name : std::to_string(user);
}

} // namespace tavrel
