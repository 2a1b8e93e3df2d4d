#pragma once

#include <cstddef>
#include <cstdint>

/// The entry that libFuzzer calls. Bytes are loaded, read and written as a report would be; anything
/// but an `Error` ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
