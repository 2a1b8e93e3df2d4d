#pragma once

#include "platform/dicom.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tavrel {

/// What can be written for a character of `text` that a report's character set cannot hold, where it
/// stands: ">=" for "≥", "alpha" for "α", "o" for "ő". Nothing when no plain form says the same.
std::optional<std::string> PlainForm(std::string_view text, const LostCharacter& lost);

/// `text` with the plain form of each of these characters that has one; `lost` is in their order.
std::string WrittenPlainly(std::string_view text, std::span<const LostCharacter> lost);

} // namespace tavrel
