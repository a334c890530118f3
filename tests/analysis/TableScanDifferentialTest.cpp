// The text table's packed scan rows against the records they stand for: the
// scan's scores, and the known-sender look-up, against comparing the records
// field by field, while the table is changed in every way it can be.
#include "analysis/TextSimilarity.h"

#include "support/TestSupport.h"

#include <bit>
#include <limits>
#include <random>

using namespace velmora;

namespace {

const QStringList kStrings = {
    QString(),
    QStringLiteral("a@b.example"),
    QStringLiteral("shop.example"),
    QStringLiteral("x@y.example"),
    QStringLiteral("www.pills.example"),
    QStringLiteral("z"),
};

class RandomRecords {
public:
    TxtRec next() {
        TxtRec rec;
        std::uniform_int_distribution<int> kind(0, 99);
        std::uniform_int_distribution<int> small(0, 40);
        std::uniform_int_distribution<int> large(0, 200000);
        for (std::int32_t& count : rec.Counts) {
            const int k = kind(m_random);
            count = k < 70   ? small(m_random)
                    : k < 97 ? large(m_random) % 3000
                    : k < 99 ? large(m_random)
                             : -3;
        }
        std::int64_t sum = 0;
        for (std::int32_t count : rec.Counts)
            sum += count;
        rec.CharCount = static_cast<std::int32_t>(sum);
        const int damage = kind(m_random);
        if (damage == 0)
            rec.CharCount = -1;
        else if (damage == 1)
            rec.CharCount = std::numeric_limits<std::int32_t>::max();
        rec.LineCount =
            static_cast<std::int16_t>(std::uniform_int_distribution<int>(-2, 400)(m_random));
        rec.MailAddr = pick();
        rec.LinkHost = pick();
        rec.Sender = pick();
        rec.Flag = kind(m_random) < 50 ? kTrue : kFalse;
        return rec;
    }
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_random); }

private:
    QString pick() { return kStrings[below(static_cast<int>(kStrings.size()))]; }
    std::mt19937 m_random{20261123};
};

void expectSameScores(const TxtRecords& table, const TxtRec& candidate) {
    test::RecordingSink scanMessages;
    TxtTableScan scan(table, candidate);
    QList<std::uint32_t> scanned;
    for (int i = 1; i <= table.upperBound(); ++i)
        scanned.append(std::bit_cast<std::uint32_t>(scan.score(i)));
    const QStringList fromScan = scanMessages.messages;
    scanMessages.messages.clear();
    QList<std::uint32_t> compared;
    for (int i = 1; i <= table.upperBound(); ++i)
        compared.append(std::bit_cast<std::uint32_t>(comparetxt(table[i], candidate)));
    ASSERT_EQ(scanned, compared);
    ASSERT_EQ(fromScan, scanMessages.messages);
}

int walkToSender(const TxtRecords& table, const QString& sender) {
    for (int i = 1; i <= table.upperBound(); ++i) {
        if (table[i].Sender == sender)
            return i;
    }
    return 0;
}

} // namespace

TEST(TableScanDifferential, ScoresAndSenderLookUpMatchTheRecordsThroughEveryChange) {
    RandomRecords random;
    TxtRecords table;
    for (int round = 0; round < 400; ++round) {
        switch (random.below(7)) {
        case 0:
        case 1:
            table.append(random.next());
            break;
        case 2:
            table.insertAt(1 + random.below(table.upperBound() + 1), random.next());
            break;
        case 3:
            if (!table.isEmpty())
                table[1 + random.below(table.upperBound())] = random.next();
            break;
        case 4:
            if (!table.isEmpty()) {
                TxtRec& rec = table[1 + random.below(table.upperBound())];
                rec.Counts[static_cast<std::size_t>(random.below(16))] = random.below(70000);
                rec.MailAddr =
                    kStrings[random.below(static_cast<int>(kStrings.size()))] + QStringLiteral("!");
            }
            break;
        case 5:
            table.removeLast();
            break;
        default:
            if (random.below(20) == 0)
                table.reset();
            for (TxtRec& rec : table)
                rec.LinkHost = kStrings[random.below(static_cast<int>(kStrings.size()))];
            break;
        }
        TxtRec candidate = random.next();
        if (round % 3 == 0 && !table.isEmpty())
            candidate = table[1 + random.below(table.upperBound())];
        expectSameScores(table, candidate);
        for (const QString& sender : kStrings)
            ASSERT_EQ(table.firstIndexOfSender(sender), walkToSender(table, sender));
        ASSERT_EQ(table.firstIndexOfSender(QStringLiteral("nobody@example")), 0);
    }
}

TEST(TableScanDifferential, AStringFirstSeenDuringAScanStillEarnsItsBonus) {
    TxtRecords table;
    TxtRec stored;
    stored.Counts[0] = 5;
    stored.CharCount = 5;
    stored.Sender = QStringLiteral("a@example");
    table.append(stored);
    TxtRec candidate = stored;
    candidate.Counts[1] = 7;
    candidate.CharCount = 12;
    candidate.MailAddr = QStringLiteral("new@example");
    TxtTableScan scan(table, candidate);
    const float without = scan.score(1);
    // A record holding the candidate's address arrives while the scan runs.
    TxtRec arriving = stored;
    arriving.MailAddr = candidate.MailAddr;
    table.append(arriving);
    EXPECT_EQ(scan.score(2), comparetxt(table[2], candidate));
    EXPECT_GT(scan.score(2), without);
}

// The host may change the table at any yield of a scan: a score handed out
// after a change is the score of the record as it is then, even inside a
// batch scored before the change.
TEST(TableScanDifferential, ChangesBetweenTwoScoresOfOneBatchAreSeen) {
    test::RecordingSink messages; // damaged records are told about, both ways alike
    RandomRecords random;
    for (int round = 0; round < 60; ++round) {
        TxtRecords table;
        for (int n = 0; n < 100; ++n)
            table.append(random.next());
        const TxtRec candidate = random.next();
        TxtTableScan scan(table, candidate);
        for (int i = 1; i <= table.upperBound(); ++i) {
            ASSERT_EQ(std::bit_cast<std::uint32_t>(scan.score(i)),
                      std::bit_cast<std::uint32_t>(comparetxt(table[i], candidate)))
                << "round " << round << ", record " << i;
            switch (random.below(8)) {
            case 0: // a record of the scored batch still ahead of the scan
                if (i < table.upperBound())
                    table[i + 1 + random.below(std::min(31, table.upperBound() - i))] =
                        random.next();
                break;
            case 1: // one learnt before the scan's place: everything shifts
                table.insertAt(1 + random.below(i), random.next());
                break;
            case 2:
                if (table.upperBound() > i + 1)
                    table.removeLast();
                break;
            default:
                break;
            }
        }
    }
}
