#pragma once

#include "platform/dcmtk/DcmtkNetwork.h"

#include <string>

namespace tavrel {

struct EncodedDataSet;
struct StoreRequest;

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

/// The network's libraries, of which no program needs one before its first store, come with a module that lies beside
/// the program; the first store loads it, unless it was made ready before, by any thread.
std::string StoreModuleFile();
using StoreFunction = void(const StoreRequest& request);
/// One that cannot be loaded is an error that names it.
StoreFunction* LoadStoreModule(const std::string& file);
void ReadyStoreModule();

} // namespace tavrel
