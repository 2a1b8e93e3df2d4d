#pragma once

#include "platform/process.h"

namespace tavrel {

class PosixUserInformation final : public UserInformation {
public:
    /// The logged-on user's account name; the number of an account without a name.
    std::string UserName() const override;
};

} // namespace tavrel
