#include "platform/printer.h"
#include "platform/error.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(PrintLayouts, SayThatTheyHaveNoControlOfAName) {
    PrintLayout layout;
    layout.name = "Refert";

    try {
        layout.Control("TextBox9");
        FAIL() << "found";
    } catch (const Error& error) {
        EXPECT_EQ(error.number, 424);
        EXPECT_EQ(error.description, "Refert has no control TextBox9");
    }
}

} // namespace
} // namespace tavrel
