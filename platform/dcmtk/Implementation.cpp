#include "platform/dcmtk/Implementation.h"

#include "platform/limits.h"

namespace tavrel {

std::string_view ImplementationVersionName() {
    static constexpr std::string_view name = "TAVREL_" TAVREL_VERSION;
    static_assert(name.size() <= longest::ShortString);
    return name;
}

} // namespace tavrel
