#pragma once

#include "platform/dcmtk/DcmtkNetwork.h"

#include <string>

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

/// Sends an encoded data set in one association (C-STORE, PS3.4 annex B). Blocks for no longer than
/// the time-outs; every failure is an Error that says what went wrong. The status warnings (Bxxx)
/// count as stored.
void StoreDataSet(const EncodedDataSet& dataSet, const StoreTarget& target, const StoreTimeouts& timeouts);

} // namespace tavrel
