#pragma once

#include <filesystem>
#include <string>

namespace tavrel {

/// Makes a folder, if need be, that this account can write in; else an Error with the reason.
void RequireFolder(const std::filesystem::path& folder);

/// How the storage service comes up with each session of the account: as the unit of systemd that comes with it, where
/// a manager of the account's services works on the session's bus, and else by the desktop's autostart.
///
/// No socket starts it. It has work of its own before anybody calls (versions that wait to be stored, what was
/// interrupted, the archive), and its port is the catalogue's to name: a unit of a socket would name it once more.
class ServiceStart {
public:
    struct Places {
        std::filesystem::path home;
        std::filesystem::path config;   ///< $XDG_CONFIG_HOME
        std::filesystem::path data;     ///< of the catalogue and the studies, unless they are elsewhere
        std::filesystem::path state;    ///< the editor's
        std::filesystem::path odbcFile; ///< the account's
        std::filesystem::path program;  ///< the service
    };
    /// Those of this process's account and environment.
    static Places Here();

    explicit ServiceStart(Places places) : places_(std::move(places)) {}

    /// Why the studies cannot lie there; empty when they can.
    static std::string StudiesFault(const std::string& studies);

    /// How it is set to start, in words; empty when it is not.
    std::string Way() const;
    /// Where it is set to keep the studies, or else would.
    std::filesystem::path Studies() const;
    /// Sets it to start, with the studies in that folder. Throws Error.
    void Set(const std::filesystem::path& studies);
    /// Starts it now, again if it runs. Throws Error where it cannot be started from here.
    void Start();
    /// What it said at last.
    std::string LastWords() const;

private:
    std::filesystem::path Autostart() const { return places_.config / "autostart" / "porvane.desktop"; }
    std::filesystem::path UnitDropIn() const {
        return places_.home / ".config/systemd/user/porvane.service.d/setup.conf";
    }
    std::filesystem::path DetachedLog() const { return places_.state / "porvane.log"; }
    bool UnitEnabled() const;
    std::string UnitOverride(const std::filesystem::path& studies) const;

    Places places_;
};

} // namespace tavrel
