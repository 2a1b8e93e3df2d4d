#pragma once

#include "platform/dcmtk/DcmtkNetwork.h"

#include <string>
#include <string_view>

namespace tavrel {

struct EncodedDataSet;

/// A storage service as a report names it.
struct StoreTarget {
    std::string host;
    std::string port;
    std::string callingAe;
    std::string calledAe;

    /// "PORVANE at Localhost, port 104".
    std::string Name() const;
};

/// An AE title over 16 characters or a port that is none is an error.
void CheckTarget(const StoreTarget& target);

/// A store, as the toolkit's network has it.
struct StoreRequest {
    const EncodedDataSet& dataSet;
    const StoreTarget& target;
    const StoreTimeouts& timeouts;
    std::string_view versionName;
    std::string (*inImplicitVr)(std::string_view explicitVr);
};

/// Sends an encoded data set by `store` in one association (C-STORE, PS3.4 annex B). Blocks for no longer than
/// the time-outs; every failure is an Error that says what went wrong. The status warnings (Bxxx)
/// count as stored.
void StoreDataSet(const EncodedDataSet& dataSet, const StoreTarget& target, const StoreTimeouts& timeouts,
                  StoreFunction& store);

} // namespace tavrel
