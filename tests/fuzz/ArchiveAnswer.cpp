// What the archive says at the port for its answers: the data set of an answer by itself, and all that is sent from the
// request for an association to its end.

#include "platform/uid.h"
#include "suite/porvane/forwarding/ArchiveAnswers.h"
#include "suite/porvane/forwarding/Commitment.h"
#include "tests/fuzz/Entry.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <exception>

namespace {

using tavrel::IsUid;
using tavrel::OutgoingQueue;

/// All of it goes into statements.
void RequireUids(const OutgoingQueue::Answer& answer) {
    tavrel::test::Require(answer.transactionUid.empty() || IsUid(answer.transactionUid));
    tavrel::test::Require(std::ranges::all_of(answer.committed, [](const auto& uid) { return IsUid(uid); }));
    tavrel::test::Require(
        std::ranges::all_of(answer.failed, [](const auto& failure) { return IsUid(failure.sopInstanceUid); }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input = tavrel::test::AsText(bytes, size);
    for (const char* syntax : {"1.2.840.10008.1.2", "1.2.840.10008.1.2.1"})
        try {
            RequireUids(tavrel::commitment::ReadAnswer(input, syntax));
        } catch (const std::exception&) {
            continue; // it says why in words
        }

    tavrel::ArchiveSetting archive;
    archive.aeTitle = "ARCHIVE";
    archive.callingAe = "PORVANE";
    std::array<int, 2> ends{};
    tavrel::test::Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0);
    tavrel::test::Require(write(ends[0], bytes, size) == static_cast<ssize_t>(size) || size > 100'000);
    shutdown(ends[0], SHUT_WR);
    tavrel::ArchiveAnswers::Serve(ends[1], archive, [](const OutgoingQueue::Answer& answer) {
        RequireUids(answer);
        return true;
    });
    close(ends[0]);
    return 0;
}
