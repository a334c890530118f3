#include "base/Rounding.h"
#include "base/VbError.h"

#include <gtest/gtest.h>

using namespace velmora;

TEST(Rounding, HalvesGoToTheEvenNeighbour) {
    const struct {
        double in, out;
    } cases[] = {{62.5, 62},  {63.5, 64},         {0.5, 0},      {1.5, 2},
                 {2.5, 2},    {-2.5, -2},         {-3.5, -4},    {2.4999, 2},
                 {2.5001, 3}, {1e15 + 0.5, 1e15}, {1e300, 1e300}};
    for (const auto& c : cases)
        EXPECT_EQ(roundHalfEven(c.in), c.out) << c.in;
}

TEST(Rounding, TwoDecimalsHalfToEven) {
    EXPECT_DOUBLE_EQ(roundHalfEvenTo2(200.0 / 3), 66.67);
    EXPECT_DOUBLE_EQ(roundHalfEvenTo2(0.125), 0.12);
    EXPECT_DOUBLE_EQ(roundHalfEvenTo2(0.375), 0.38);
    EXPECT_DOUBLE_EQ(roundHalfEvenTo2(108.8235294), 108.82);
    EXPECT_DOUBLE_EQ(roundHalfEvenTo2(87.5), 87.5);
}

TEST(Rounding, IntegerConversionsOverflowAtTheirWidth) {
    EXPECT_EQ(toInt16(32767.4), 32767);
    EXPECT_EQ(toInt16(-32768.5), -32768); // half to even stays in range
    EXPECT_THROW(toInt16(32767.5), VbError);
    EXPECT_THROW(toInt16(-32769), VbError);
    EXPECT_EQ(toInt32(2.5), 2);
    EXPECT_EQ(toInt32(3.5), 4);
    EXPECT_EQ(toInt32(2147483647.0), 2147483647);
    EXPECT_THROW(toInt32(2147483648.0), VbError);
    EXPECT_EQ(toByte(255.4), 255);
    EXPECT_THROW(toByte(-1), VbError);
    EXPECT_THROW(toByte(255.5), VbError);
    EXPECT_EQ(checkedInt16(32767), 32767);
    try {
        checkedInt16(32768);
        FAIL() << "no overflow";
    } catch (const VbError& error) {
        EXPECT_EQ(error.description(), QStringLiteral("Overflow"));
    }
}
