#pragma once

#include "platform/background.h"

#include <string>
#include <vector>

namespace tavrel::test {

/// Does the work at once, on the caller's thread.
class InlineBackground : public Background {
public:
    std::vector<std::string> runs; ///< what each work was called

    void Run(std::string_view what, const std::function<void()>& work) override {
        runs.emplace_back(what);
        work();
    }
};

} // namespace tavrel::test
