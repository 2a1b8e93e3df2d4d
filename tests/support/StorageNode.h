#pragma once

#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tavrel::test {

/// A DICOM storage service inside the test: on the loopback address, at a port that the system
/// chose, with one thread for each caller. It keeps what it receives as DICOM files whose data sets
/// are byte for byte what came, and can be told to misbehave.
class StorageNode {
public:
    enum class Behaviour {
        Store,
        RefuseAssociation,
        AnswerFailure,     ///< status A700, or what `FailWith` says
        AnswerWarning,     ///< status B000: stored, with a remark
        HangAtAssociation, ///< takes the connection and says nothing
        HangAtAnswer,      ///< takes the object and never answers
        DieInTheMiddle,    ///< closes the connection when the object begins to arrive
    };

    struct Received {
        std::string callingAe;
        std::string calledAe;
        std::string implementation;         ///< class UID and version name
        std::vector<std::string> proposals; ///< abstract syntax and transfer syntax of each context
        unsigned long longestPdu = 0;       ///< that the caller takes
        std::string sopClassUid;
        std::string sopInstanceUid;
        std::filesystem::path file;
    };

    /// Keeps its files in a folder of its own, which it removes in the end.
    explicit StorageNode(Behaviour behaviour = Behaviour::Store);
    StorageNode(const StorageNode&) = delete;
    StorageNode& operator=(const StorageNode&) = delete;
    /// Returns when the last caller is gone; a caller that hangs is let go.
    ~StorageNode();

    std::string Port() const { return std::to_string(port_); }
    void Behave(Behaviour behaviour) { behaviour_ = behaviour; }
    /// Stores nothing from now on and answers with that status.
    void FailWith(int status) {
        failure_ = status;
        Behave(Behaviour::AnswerFailure);
    }
    /// Called on the node's thread when an object is stored and before its sender is answered.
    void BeforeAnswering(std::function<void(const Received&)> hook);
    /// The callers that have released their association; others broke it off.
    int Farewells() const { return farewells_; }
    /// What was stored, in order of arrival.
    std::vector<Received> Objects() const;

private:
    void Listen();
    void Serve(int connection);
    void Keep(const Received& received);
    void WaitForEnd();
    struct Conversation;

    TemporaryFolder folder_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<Behaviour> behaviour_;
    std::atomic<int> failure_ = 0xA700;
    std::atomic<bool> ending_ = false;
    std::atomic<int> fileCount_ = 0;
    std::atomic<int> farewells_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable ended_;
    std::function<void(const Received&)> hook_;
    std::vector<Received> objects_;
    std::vector<int> connections_;
    std::vector<std::thread> callers_;
    std::thread thread_;
};

} // namespace tavrel::test
