#include "sr/content/NewUid.h"

#include "platform/limits.h"

#include <algorithm>
#include <random>

namespace tavrel {
namespace {

constexpr std::size_t MostDigits = 39; ///< as many as 128 bits have

/// So many are made for a root that is too long as well, which the sending then refuses.
constexpr std::size_t FewestDigits = longest::Uid - longest::BaseUid - 3;

} // namespace

std::string NewUid(std::string_view baseUid, UidKind kind) {
    std::string uid(baseUid);
    uid += "." + std::to_string(static_cast<int>(kind)) + ".";
    const std::size_t room = longest::Uid - std::min(uid.size(), longest::Uid);
    std::random_device random;
    uid += static_cast<char>(std::uniform_int_distribution('1', '9')(random));
    for (auto left = std::clamp(room, FewestDigits, MostDigits) - 1; left > 0; --left)
        uid += static_cast<char>(std::uniform_int_distribution('0', '9')(random));
    return uid;
}

} // namespace tavrel
