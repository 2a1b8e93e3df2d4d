#pragma once

#include <string>

namespace tavrel {

/// The toolkit's module, a file that is open from the beginning: another version that is installed meanwhile takes
/// nothing from the program that runs.
class ToolkitModule {
public:
    explicit ToolkitModule(std::string file);

    /// A function of the module, which is loaded with the first and stays. Why that fails is a `std::runtime_error`.
    void* Function(const char* name) const;

private:
    std::string file_;
    int open_; ///< never closed: the loader knows what it has loaded by that number
};

} // namespace tavrel
