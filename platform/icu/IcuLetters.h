#pragma once

#include "platform/letters.h"

namespace tavrel {

/// The letters of Unicode, by its simple case mappings.
class IcuLetters final : public Letters {
public:
    using Letters::UpperCase;
    void UpperCase(std::string_view text, std::string& upper) const override;
};

} // namespace tavrel
