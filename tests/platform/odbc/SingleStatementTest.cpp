#include "platform/odbc/SingleStatement.h"
#include "platform/error.h"

#include <gtest/gtest.h>

#include <string>

namespace tavrel {
namespace {

class Allowed : public testing::TestWithParam<const char*> {};
TEST_P(Allowed, AStatementPasses) {
    EXPECT_NO_THROW(RequireSingleStatement(GetParam()));
}
INSTANTIATE_TEST_SUITE_P(SingleStatement, Allowed,
                         testing::Values("", "SELECT 1", "SELECT 1;", "SELECT 1 ; \r\n\t;", "SELECT 'a;b'",
                                         "SELECT 'it''s; fine'", "SELECT \"a;b\" FROM t", "SELECT 1 -- a; b",
                                         "SELECT 1; -- the end", "SELECT 1; /* the end */", "SELECT /* a; b */ 1",
                                         "SELECT /* a /* b; */ c; */ 1", "SELECT E'a\\'; b'", "SELECT e'a''\\'; b'",
                                         "SELECT E'a', '\\' -- '; b'", "SELECT E'a'\n'\\'; b'", "SELECT $$a; b$$",
                                         "SELECT $tag$a; $$ b$tag$", "SELECT 'C:\\'", "SELECT 'open; literal",
                                         "SELECT 'È; è'"));

class Refused : public testing::TestWithParam<const char*> {};
TEST_P(Refused, ASecondStatementIsRefused) {
    EXPECT_THROW(RequireSingleStatement(GetParam()), Error);
}
INSTANTIATE_TEST_SUITE_P(SingleStatement, Refused,
                         testing::Values("SELECT 1; SELECT 2", "SELECT 'a'; DROP TABLE t; --'",
                                         "SELECT 'C:\\'; SELECT 2 --'", "SELECT 1 -- it's\n; SELECT 2",
                                         "SELECT /* it's */ 1; SELECT 2", "SELECT /* /* */ ' */ 1; SELECT 2 -- '",
                                         "SELECT E'\\''; SELECT 2 --'", "SELECT E'a''\\''; SELECT 2 --'",
                                         "SELECT E'a'\n'\\''; SELECT 2 --'", "SELECT E'a' -- b\n  '\\''; SELECT 2 --'",
                                         "SELECT 'a', '\\'; SELECT 2 --'", "SELECT $$'$$; SELECT '2'",
                                         "SELECT $a$'$a$; SELECT '2'", "SELECT a$b, '$'; SELECT 2",
                                         "SELECT $1, '$1'; SELECT 2", "SELECT \"a'\"; SELECT '2'",
                                         "SELECT nameE'x\\'; SELECT 2 --'", ";SELECT 1; x",
                                         "SELECT 1;\xC2\xA0SELECT 2"));

TEST(SingleStatement, ANulCharacterIsRefused) {
    EXPECT_THROW(RequireSingleStatement(std::string("SELECT 1\0; SELECT 2", 19)), Error);
}

} // namespace
} // namespace tavrel
