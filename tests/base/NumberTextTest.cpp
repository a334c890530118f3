#include "base/NumberText.h"

#include <gtest/gtest.h>

#include <limits>

using namespace velmora;

TEST(NumberText, SignOrSpaceForm) {
    EXPECT_EQ(signOrSpace(0), QStringLiteral(" 0"));
    EXPECT_EQ(signOrSpace(42), QStringLiteral(" 42"));
    EXPECT_EQ(signOrSpace(-5), QStringLiteral("-5"));
    EXPECT_EQ(signOrSpace(std::numeric_limits<std::int64_t>::min()),
              QStringLiteral("-9223372036854775808"));
    QByteArray out("x");
    appendSignOrSpace(out, 2147483647);
    EXPECT_EQ(out, QByteArray("x 2147483647"));
}
