#include "platform/dcmtk/ToolkitModule.h"

#include "platform/dcmtk/Toolkit.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>

namespace tavrel {
namespace {

const ToolkitModule& BesideTheProgram() {
    static const ToolkitModule module{
        std::filesystem::read_symlink("/proc/self/exe").replace_filename(TAVREL_DICOM_MODULE).string()};
    return module;
}

} // namespace

ToolkitModule::ToolkitModule(std::string file)
    : file_(std::move(file)), open_(::open(file_.c_str(), O_RDONLY | O_CLOEXEC)) {}

void* ToolkitModule::Function(const char* name) const {
    const std::string held = open_ >= 0 ? "/proc/self/fd/" + std::to_string(open_) : file_;
    void* module = ::dlopen(held.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* function = module == nullptr ? nullptr : ::dlsym(module, name);
    if (function == nullptr)
        throw std::runtime_error("the program's part for DICOM, " + file_ + ", cannot be loaded (" + ::dlerror() +
                                 "). Close the report and open it again; where that does not help, the program must "
                                 "be installed again");
    return function;
}

const Toolkit& TheToolkit() {
    static const auto& toolkit =
        *reinterpret_cast<decltype(TavrelToolkit)*>(BesideTheProgram().Function("TavrelToolkit"))();
    return toolkit;
}

StoreFunction& TheStore() {
    static auto& store = *reinterpret_cast<StoreFunction*>(BesideTheProgram().Function("TavrelStore"));
    return store;
}

void HoldToolkit() {
    BesideTheProgram();
}

} // namespace tavrel
