#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace tavrel {

/// Whose the other end of a connection within this machine is, as the system's own lists of connections tell it.
struct PeerAccount {
    enum class Whose {
        Own,
        Others,  ///< or nobody's any more
        Unknown, ///< the system does not tell
    };

    Whose whose = Whose::Unknown;
    uid_t user = static_cast<uid_t>(-1); ///< when it is known

    bool MayBeOwn() const { return whose != Whose::Others; }
    /// For a person: the number of the account.
    std::string Name() const;

    static PeerAccount Of(int socket);

    /// The two ways to it. One question takes no time; nothing where the system answers none.
    static std::optional<PeerAccount> Asked(int socket);
    /// The lists as text, which every system has, take the longer the more connections there are.
    static PeerAccount ReadFromTables(int socket);
};

} // namespace tavrel
