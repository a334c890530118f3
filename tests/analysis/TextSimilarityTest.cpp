#include "analysis/TextSimilarity.h"

#include "support/TestSupport.h"

#include <limits>

using namespace velmora;
using velmora::test::RecordingSink;

namespace {

TxtRec withCounts(std::int32_t each, const char* mail = "", const char* link = "") {
    TxtRec rec;
    rec.Counts.fill(each);
    rec.MailAddr = QString::fromLatin1(mail);
    rec.LinkHost = QString::fromLatin1(link);
    return rec;
}

} // namespace

TEST(comppar, WholePercentOfTheSmallerOverTheLarger) {
    const struct {
        float a, b, result;
    } cases[] = {
        {0, 0, 100}, {0, 5, 0},   {5, 0, 0},         {0, 1, 0},
        {1, 2, 50},  {2, 1, 50},  {2, 3, 67},        {1, 8, 12},
        {8, 1, 12},  {3, 8, 38},  {5, 5, 100},       {-5, -5, 100},
        {1, 200, 0}, {3, 200, 2}, {0.5f, 0.25f, 50}, {1e9f, 2147483647.0f, 47},
    };
    for (const auto& c : cases)
        EXPECT_EQ(comppar(c.a, c.b), c.result) << c.a << " vs " << c.b;
}

TEST(comparetxt, CountersWeighTwiceTheDensityAndEqualTextsEarnBonuses) {
    RecordingSink sink;
    // Identical records: 100, no bonus applied on top.
    const TxtRec same = withCounts(7, "a@x.com", "www.x.com");
    EXPECT_EQ(comparetxt(same, same), 100.0f);
    // All zero: every likeness is 100.
    EXPECT_EQ(comparetxt(TxtRec(), TxtRec()), 100.0f);
    // Ratio 1 to 2, equal densities, different address and link.
    EXPECT_EQ(comparetxt(withCounts(2, "a@x.com", "l1"), withCounts(4, "b@x.com", "l2")), 66.67f);
    // Ratio 1 to 4: 50, then 75 with equal addresses, then 87.5 with equal links.
    EXPECT_EQ(comparetxt(withCounts(1, "a@x.com", "l1"), withCounts(4, "b@x.com", "l2")), 50.0f);
    EXPECT_EQ(comparetxt(withCounts(1, "a@x.com", "l1"), withCounts(4, "a@x.com", "l2")), 75.0f);
    EXPECT_EQ(comparetxt(withCounts(1, "a@x.com", "l1"), withCounts(4, "a@x.com", "l1")), 87.5f);
    // Two empty addresses and links are equal: 40 becomes 70, then 85.
    EXPECT_EQ(comparetxt(withCounts(1), withCounts(10)), 85.0f);
    EXPECT_EQ(comparetxt(withCounts(1, "A@x.com"), withCounts(10, "a@x.com")), 70.0f);
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(comparetxt, DensityComparesLinesPerLetter) {
    TxtRec stored = withCounts(5, "a", "l1");
    TxtRec candidate = withCounts(5, "b", "l2");
    stored.LineCount = 1;
    stored.CharCount = 99; // 1 / 100
    candidate.LineCount = 1;
    candidate.CharCount = 199;                        // 1 / 200: half the density
    EXPECT_EQ(comparetxt(stored, candidate), 83.33f); // (100 * 2 + 50) / 3
    EXPECT_EQ(comparetxt(candidate, stored), 83.33f);
}

TEST(comparetxt, ArithmeticFailuresAreReportedAndScoreZero) {
    RecordingSink sink;
    TxtRec huge = withCounts(1);
    huge.CharCount = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(comparetxt(huge, withCounts(1)), 0.0f);
    TxtRec negative = withCounts(1);
    negative.Counts[3] = -5;
    EXPECT_EQ(comparetxt(negative, withCounts(3)), 0.0f);
    TxtRec damaged = withCounts(1);
    damaged.CharCount = -1;
    damaged.LineCount = 3;
    EXPECT_EQ(comparetxt(withCounts(1), damaged), 0.0f);
    EXPECT_EQ(sink.messages, (QStringList{QStringLiteral("comparetxt_error: Overflow"),
                                          QStringLiteral("comparetxt_error: Overflow"),
                                          QStringLiteral("comparetxt_error: Division by zero")}));
}
