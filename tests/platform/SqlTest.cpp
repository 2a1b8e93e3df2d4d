#include "platform/sql.h"

#include <gtest/gtest.h>

#include <array>

namespace tavrel {
namespace {

TEST(Sql, AQuoteInALiteralIsDoubled) {
    EXPECT_EQ(Quoted("it's"), "'it''s'");
    EXPECT_EQ(Quoted(""), "''");
}

TEST(Sql, ARowIsInsertedByItsColumns) {
    const std::array<std::string, 2> columns = {"Port", "AETitle"};
    EXPECT_EQ(InsertStatement("Port", columns), "INSERT INTO Port (Port, AETitle) VALUES (?, ?)");
}

} // namespace
} // namespace tavrel
