#include "editor/WritingSettings.h"

namespace tavrel {

WritingSettings WritingSettings::Read(Connection& catalogue, std::string_view userName) {
    WritingSettings site, own;
    const auto rows = catalogue.OpenResultSet("SELECT * FROM Writing");
    for (; !rows->AtEnd(); rows->MoveNext()) {
        const std::string user = rows->Text("UserName");
        if (!user.empty() && user != userName)
            continue;
        auto& settings = user.empty() ? site : own;
        settings.spelling = rows->Field("Spelling").value_or("");
        settings.dictation = rows->Field("Dictation").value_or("");
    }
    rows->Close();
    const auto chosen = [](const std::string& ofUser, const std::string& ofSite) {
        const std::string& set = ofUser.empty() ? ofSite : ofUser;
        return set == "off" ? std::string() : set;
    };
    return {chosen(own.spelling, site.spelling), chosen(own.dictation, site.dictation)};
}

} // namespace tavrel
