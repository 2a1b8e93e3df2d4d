#pragma once

#include "platform/error.h"

#include <exception>
#include <memory>
#include <string>

class DcmDataset;

namespace tavrel {

struct StoreTarget;

/// Keeps a version that could not be sent as a file of its own in `folder`, and answers the error to
/// raise: why it was not sent and which file holds it.
Error KeepUnsent(const std::string& folder, const std::string& sopInstanceUid, std::unique_ptr<DcmDataset> version,
                 const StoreTarget& target, const std::exception& failure);

} // namespace tavrel
