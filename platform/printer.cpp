#include "platform/printer.h"

#include "platform/error.h"

namespace tavrel {

PrintControl& PrintLayout::Control(std::string_view controlName) {
    for (auto& section : sections)
        for (auto& control : section.controls)
            if (control.name == controlName)
                return control;
    throw Error(Fault::NoSuchControl, name, name + " has no control " + std::string(controlName));
}

} // namespace tavrel
