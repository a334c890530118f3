#include "analysis/PictureSimilarity.h"

#include "support/TestSupport.h"

using namespace velmora;
using velmora::test::RecordingSink;

namespace {

PicRec fingerprint(std::int32_t each, std::int16_t size) {
    PicRec rec;
    rec.Values.fill(each);
    rec.Size = size;
    return rec;
}

} // namespace

TEST(comparepics, BandSumIsDividedBy17) {
    RecordingSink sink;
    EXPECT_EQ(comparepics(fingerprint(5, 150), fingerprint(5, 150)), 108.82f);
    EXPECT_EQ(comparepics(fingerprint(0, 150), fingerprint(0, 150)), 108.82f);  // zeros are equal
    EXPECT_EQ(comparepics(fingerprint(10, 150), fingerprint(20, 150)), 79.41f); // (1000/17 + 100)/2
    EXPECT_EQ(comparepics(fingerprint(5, 0), fingerprint(5, 150)), 58.82f);
    PicRec oneBand = fingerprint(0, 108);
    oneBand.Values[0] = 100;
    EXPECT_EQ(comparepics(oneBand, fingerprint(0, 150)), 91.88f); // (1900/17 + 72) / 2
    EXPECT_TRUE(sink.messages.isEmpty());
}

TEST(comparepics, OutOfRangeBandIsAnOverflow) {
    RecordingSink sink;
    PicRec broken = fingerprint(5, 150);
    broken.Values[4] = -5;
    EXPECT_EQ(comparepics(broken, fingerprint(5, 150)), 0.0f);
    EXPECT_EQ(sink.messages, QStringList{QStringLiteral("comparepics_error: Overflow")});
}
