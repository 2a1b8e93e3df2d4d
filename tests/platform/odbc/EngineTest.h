#pragma once

#include "platform/odbc/OdbcError.h"
#include "tests/support/Failure.h"
#include "tests/support/TestDatabase.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tavrel {

inline std::string EngineName(const testing::TestParamInfo<TestDatabase::Engine>& test) {
    switch (test.param) {
    case TestDatabase::Engine::Sqlite:
        return "Sqlite";
    case TestDatabase::Engine::Postgresql:
        return "Postgresql";
    case TestDatabase::Engine::Mariadb:
        return "Mariadb";
    }
    return {};
}

/// A test that holds for each of the three engines: an empty catalogue and the connection under test.
class EngineTest : public testing::TestWithParam<TestDatabase::Engine> {
protected:
    TestDatabase database{GetParam()};
    std::unique_ptr<Connection> connection = database.Connect();
};

inline const auto AllEngines =
    testing::Values(TestDatabase::Engine::Sqlite, TestDatabase::Engine::Postgresql, TestDatabase::Engine::Mariadb);

template <class Work> void ExpectFailure(OdbcFailure failure, Work work) {
    const Error error = ErrorOf(work);
    EXPECT_EQ(error.number, static_cast<int>(failure)) << error.description;
}

} // namespace tavrel
