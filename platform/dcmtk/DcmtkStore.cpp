#include "platform/dcmtk/DcmtkStore.h"

#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DicomFailure.h"
#include "platform/dcmtk/Implementation.h"
#include "platform/dcmtk/StoreModule.h"
#include "platform/limits.h"

#include <charconv>
#include <filesystem>

#include <dlfcn.h>

namespace tavrel {
namespace {

StoreFunction& TheStore() {
    static auto& store = *LoadStoreModule(StoreModuleFile());
    return store;
}

} // namespace

std::string StoreTarget::Name() const {
    return calledAe + " at " + host + ", port " + port;
}

void CheckTarget(const StoreTarget& target) {
    for (const auto& title : {target.callingAe, target.calledAe})
        if (title.empty() || title.size() > longest::AeTitle)
            throw DicomFailure(DicomFault::NotSendable, "The AE title \"" + title + "\" must have 1 to 16 characters.");
    int port = 0;
    const auto* end = target.port.data() + target.port.size();
    const auto [stop, failure] = std::from_chars(target.port.data(), end, port);
    if (failure != std::errc{} || stop != end || port < 1 || port > 65535)
        throw DicomFailure(DicomFault::NotSendable, "\"" + target.port + "\" is no port of a storage service.");
}

std::string StoreModuleFile() {
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename(TAVREL_STORE_MODULE).string();
}

StoreFunction* LoadStoreModule(const std::string& file) {
    void* module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL); // for as long as the program runs
    void* store = module == nullptr ? nullptr : ::dlsym(module, "TavrelStore");
    if (store == nullptr)
        throw DicomFailure(
            DicomFault::NotStored,
            "the program's part for sending cannot be loaded: " + std::string(::dlerror()) +
                ". Close the report and open it again; where that does not help, the program must be installed again");
    return reinterpret_cast<StoreFunction*>(store);
}

void ReadyStoreModule() {
    try {
        TheStore();
    } catch (const std::exception&) {
        return; // the store tells it
    }
}

void StoreDataSet(const EncodedDataSet& dataSet, const StoreTarget& target, const StoreTimeouts& timeouts) {
    TheStore()({dataSet, target, timeouts, ImplementationVersionName(), InImplicitVr});
}

} // namespace tavrel
