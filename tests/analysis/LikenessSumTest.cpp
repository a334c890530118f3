#include "analysis/LikenessSum.h"
#include "analysis/TextSimilarity.h"

#include <gtest/gtest.h>

#include <random>

using namespace velmora;

// The four-at-a-time sum must give exactly what comppar gives pair by pair.
TEST(LikenessSum, MatchesComparingPairByPair) {
    std::mt19937 random(7);
    const std::int32_t specials[] = {0, 1, 2, 3, 8, 100, 16777217, 2147483647, 99999999};
    std::uniform_int_distribution<int> small(0, 400);
    std::uniform_int_distribution<int> pick(0, 8);
    std::uniform_int_distribution<int> wide(0, 2147483647);
    for (int round = 0; round < 20000; ++round) {
        std::int32_t a[20], b[20];
        for (int k = 0; k < 20; ++k) {
            const int kind = round % 3;
            a[k] = kind == 0 ? small(random) : kind == 1 ? specials[pick(random)] : wide(random);
            b[k] = (k % 5 == 0) ? a[k] : kind == 0 ? small(random) : specials[pick(random)];
        }
        int expected = 0;
        for (int k = 0; k < 20; ++k)
            expected += int(comppar(float(a[k]), float(b[k])));
        ASSERT_EQ(likenessSum(a, b, 20), expected) << "round " << round;
    }
}

TEST(LikenessSum, NegativeLikenessesAreLeftToThePairwisePath) {
    std::int32_t a[4] = {1, 2, 3, -5};
    std::int32_t b[4] = {1, 2, 3, 3};
    EXPECT_EQ(likenessSum(a, b, 4), std::nullopt);
    a[3] = -5;
    b[3] = -3; // both negative: 167, still a byte
    EXPECT_EQ(likenessSum(a, b, 4), 300 + 167);
}
