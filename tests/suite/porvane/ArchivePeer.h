#pragma once

#include "suite/porvane/forwarding/ArchiveTls.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

struct T_ASC_Parameters;

namespace tavrel {

/// An archive inside the test: on the loopback address, at a port that the system chose, one association after the
/// other. It keeps no more than the UIDs of what came, and does as its manners say.
class ArchivePeer {
public:
    enum class Commitment { InTheSameAssociation, InItsOwn, Never, NotOffered };
    struct Manners {
        Commitment commitment = Commitment::InTheSameAssociation;
        int answersPort = 0;             ///< of an association of its own
        std::string title = "ARCHIVE";   ///< by which it calls itself there
        const ArchiveTls* tls = nullptr; ///< none for connections in the clear
        bool silent = false;             ///< takes connections and says nothing
    };

    ArchivePeer() : ArchivePeer(Manners()) {}
    explicit ArchivePeer(Manners manners);
    ~ArchivePeer();
    ArchivePeer(const ArchivePeer&) = delete;
    ArchivePeer& operator=(const ArchivePeer&) = delete;

    int Port() const { return port_; }
    /// For the service.
    std::string Address() const { return "ARCHIVE@127.0.0.1:" + std::to_string(port_); }
    /// Answers that status when the object comes, as often as said.
    void Refuse(const std::string& uid, std::uint16_t status, int times);
    /// Does not have the object when it is asked for the first time.
    void Lose(const std::string& uid);
    void Commit(Commitment commitment) { manners_.commitment = commitment; }

    /// The SOP Instance UIDs that it took, in order.
    std::vector<std::string> Came() const;
    int Questions() const { return questions_; }
    /// What was proposed to it: abstract syntax and transfer syntax of each context.
    std::set<std::string> Proposals() const;

private:
    struct Talk;
    void Listen();
    void Remember(T_ASC_Parameters& parameters);
    std::uint16_t StatusFor(const std::string& uid);
    bool Loses(const std::string& uid);

    Manners manners_;
    int port_ = 0;
    int listener_;
    std::atomic<bool> ending_ = false;
    std::atomic<int> questions_ = 0;
    mutable std::mutex mutex_; ///< guards the next ones
    std::vector<std::string> came_;
    std::set<std::string> proposals_;
    std::map<std::string, std::pair<std::uint16_t, int>> refusals_;
    std::map<std::string, bool> lost_;
    std::thread thread_;
};

} // namespace tavrel
