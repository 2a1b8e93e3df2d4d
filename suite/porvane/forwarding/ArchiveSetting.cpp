#include "suite/porvane/forwarding/ArchiveSetting.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "suite/catalogue/Rows.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <algorithm>
#include <charconv>

namespace tavrel {
namespace {

constexpr std::string_view Yes = "yes";
constexpr int LastPort = 0xFFFF;

/// 0 for what is none.
int PortOf(std::string_view text) {
    int port = 0;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), port);
    return failure == std::errc() && stop == text.data() + text.size() && port > 0 && port <= LastPort ? port : 0;
}

bool IsHost(std::string_view text) {
    return !text.empty() && text.size() <= longest::TextColumn && std::ranges::all_of(text, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-';
    });
}

} // namespace

std::string AeTitleFault(std::string_view text) {
    const bool held = !text.empty() && text.size() <= longest::AeTitle && text.front() != ' ' && text.back() != ' ' &&
                      std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~' && c != '\\' && c != '\''; });
    return held ? std::string() : "\"" + std::string(text) + "\" is no AE title";
}

std::string ReadArchiveAddress(std::string_view text, ArchiveSetting& setting) {
    const auto at = text.find('@');
    const auto colon = text.rfind(':');
    if (at == std::string_view::npos || colon == std::string_view::npos || colon < at)
        return "\"" + std::string(text) + "\" is not of the form AET@HOST:PORT";
    setting.aeTitle = text.substr(0, at);
    setting.host = text.substr(at + 1, colon - at - 1);
    setting.port = PortOf(text.substr(colon + 1));
    if (!IsHost(setting.host))
        return "\"" + setting.host + "\" is no host";
    if (setting.port == 0)
        return "\"" + std::string(text.substr(colon + 1)) + "\" is no port";
    return AeTitleFault(setting.aeTitle);
}

std::optional<ArchiveSetting> ReadArchive(Connection& connection) {
    if (!OutgoingQueue::IsThere(connection))
        return std::nullopt;
    const auto rows = connection.OpenResultSet("SELECT AETitle, Host, Port, CallingAE, Images, Tls FROM Archive");
    if (rows->AtEnd())
        return std::nullopt;
    ArchiveSetting setting;
    const std::string address =
        rows->Text("AETitle") + "@" + rows->Text("Host") + ":" + std::string(rows->Field("Port").value_or(""));
    if (const std::string fault = ReadArchiveAddress(address, setting); !fault.empty())
        throw Error(Fault::OfTheSuite, "Catalogue", "Table Archive: " + fault);
    setting.callingAe = rows->Field("CallingAE").value_or("");
    setting.images = rows->Field("Images") == Yes;
    setting.tls = rows->Field("Tls") == Yes;
    return setting;
}

void WriteArchive(Connection& connection, const std::optional<ArchiveSetting>& setting) {
    const auto word = [](bool holds) { return std::string(holds ? Yes : std::string_view()); };
    connection.BeginTransaction();
    RunChange(connection, "DELETE FROM Archive", {});
    if (setting)
        InsertRow(connection, "Archive",
                  {{"AETitle", setting->aeTitle},
                   {"Host", setting->host},
                   {"Port", std::to_string(setting->port)},
                   {"CallingAE", setting->callingAe},
                   {"Images", word(setting->images)},
                   {"Tls", word(setting->tls)}});
    connection.Commit();
}

} // namespace tavrel
