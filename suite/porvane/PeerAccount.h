#pragma once

#include <string>

#include <sys/types.h>

namespace tavrel {

/// Whose the other end of a connection within this machine is, as the system's tables of connections tell it.
struct PeerAccount {
    enum class Whose {
        Own,
        Others,  ///< or nobody's any more
        Unknown, ///< the system has no such tables
    };

    Whose whose = Whose::Unknown;
    uid_t user = static_cast<uid_t>(-1); ///< when it is known

    bool MayBeOwn() const { return whose != Whose::Others; }

    /// For a person: the number of the account.
    std::string Name() const;

    static PeerAccount Of(int socket);
};

} // namespace tavrel
