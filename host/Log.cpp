#include "host/Log.h"

#include "host/ErrorReport.h"
#include "host/Text.h"

namespace tavrel {

void WriteLog(const Global& global, std::string_view message) {
    const auto write = [&] {
        const Ports& ports = global.ports;
        ports.files.AppendText(ports.process.ApplicationFolder() + "\\Tavrel.log",
                               FullDateTimeText(ports.clock.Now()) + " - " + std::string(message) + "\r\n");
    };
    Trap(write, [](const Error&) {});
}

} // namespace tavrel
