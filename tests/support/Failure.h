#pragma once

#include "platform/error.h"

#include <string>

namespace tavrel {

/// The error that `work` raises; one with the number 0 and no words where it raises none.
template <typename Work> Error ErrorOf(Work work) {
    try {
        work();
    } catch (const Error& error) {
        return error;
    }
    return {0, "", ""};
}

/// Its words.
template <typename Work> std::string FailureOf(Work work) {
    return ErrorOf(work).description;
}

} // namespace tavrel
