#pragma once

#include <string>
#include <string_view>

namespace tavrel {

struct EncodedDataSet;
struct StoreTarget;
struct StoreTimeouts;

/// A store, as the program hands it to its module. The module has no code of the program in it, but what is given here.
struct StoreRequest {
    const EncodedDataSet& dataSet;
    const StoreTarget& target;
    const StoreTimeouts& timeouts;
    std::string_view versionName;
    std::string (*inImplicitVr)(std::string_view explicitVr);
};

} // namespace tavrel

/// The module's one function; what it throws is as of `tavrel::StoreDataSet`.
extern "C" void TavrelStore(const tavrel::StoreRequest& request);
