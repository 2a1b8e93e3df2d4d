#pragma once

#include <string>

namespace tavrel::test {

/// Names each test of a table after its row's `name`:
/// `INSTANTIATE_TEST_SUITE_P(, Suite, testing::Values(...), RowName)`.
constexpr auto RowName = [](const auto& row) { return std::string(row.param.name); };

} // namespace tavrel::test
