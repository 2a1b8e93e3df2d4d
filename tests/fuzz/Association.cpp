// All that a sender sends to the storage service, from its request for an association to its end.

#include "tests/fuzz/Conversation.h"
#include "tests/fuzz/Entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    tavrel::test::Converse(tavrel::test::AsText(bytes, size));
    return 0;
}
