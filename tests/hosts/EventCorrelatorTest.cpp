#include "hosts/events/EventCorrelator.h"

#include <gtest/gtest.h>

using namespace velmora::events;

namespace {

using Correlator = EventCorrelator<int>;
using Seen = Sighting<int>;

// What the correlator reported, one line per report.
struct Reports {
    QStringList lines;

    Correlator::Handlers handlers() {
        return {[this](const QList<Correlator::Move>& moves) {
                    QStringList parts;
                    for (const auto& move : moves)
                        parts.append(QStringLiteral("%1:%2>%3")
                                         .arg(move.to.payload)
                                         .arg(move.from.folder, move.to.folder));
                    lines.append(QStringLiteral("moved ") + parts.join(u' '));
                },
                [this](const QList<Seen>& seen) { lines.append(describe(u"arrived ", seen)); },
                [this](const QList<Seen>& seen) { lines.append(describe(u"vanished ", seen)); }};
    }

    static QString describe(QStringView what, const QList<Seen>& seen) {
        QStringList parts;
        for (const Seen& s : seen)
            parts.append(QStringLiteral("%1@%2").arg(s.payload).arg(s.folder));
        return what.toString() + parts.join(u' ');
    }
};

Seen at(const char* folder, const char* key, int payload, const char* name = "") {
    return {QLatin1String(folder), QLatin1String(key), QLatin1String(name), payload};
}

} // namespace

TEST(EventCorrelator, MovesInABatchAreOneActionAndLoneArrivalsAreNewMail) {
    Reports reports;
    Correlator c({500, 40}, reports.handlers());

    // Three messages moved together: all links first, then all removals.
    c.arrival(at("Junk", "i1", 1), 0);
    c.arrival(at("Junk", "i2", 2), 1);
    c.arrival(at("Junk", "i3", 3), 1);
    c.vanish(at("Inbox", "i2", 0), 3);
    c.vanish(at("Inbox", "i1", 0), 3);
    c.vanish(at("Inbox", "i3", 0), 4);
    EXPECT_EQ(c.settle(20), 24); // still within the quiet time
    EXPECT_TRUE(reports.lines.isEmpty());
    EXPECT_EQ(c.settle(44), -1);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 2:Inbox>Junk 1:Inbox>Junk "
                                                        "3:Inbox>Junk")});
    EXPECT_TRUE(c.idle());

    // A delivery waits out the pairing window, then is new mail; a removal
    // with no arrival is a deletion; a second arrival of the same inode
    // without a removal (a copy) is new too.
    reports.lines.clear();
    c.arrival(at("Inbox", "i4", 4), 1000);
    c.vanish(at("Trash", "i9", 0), 1100);
    EXPECT_EQ(c.settle(1200), 300);
    c.arrival(at("Work", "i4", 5), 1300);
    c.settle(1500);
    c.settle(1650);
    c.settle(1800);
    EXPECT_EQ(reports.lines,
              (QStringList{QStringLiteral("arrived 4@Inbox"), QStringLiteral("vanished 0@Trash"),
                           QStringLiteral("arrived 5@Work")}));
    EXPECT_TRUE(c.idle());
}

// New mail the user moves on before it is reported (a rename out of new/, or
// a server's copy then expunge) is a move from the Inbox, never a copy into
// the other folder; new mail deleted at once is nothing at all.
TEST(EventCorrelator, NewMailMovedOnAtOnceIsAMoveAndDeletedAtOnceIsNothing) {
    Reports reports;
    Correlator c({500, 40}, reports.handlers());
    c.arrival(at("Inbox", "i1", 1), 0);
    c.vanish(at("Inbox", "i1", 0), 100); // renamed: gone first...
    c.arrival(at("Junk", "i1", 2), 100); // ...then there
    c.settle(200);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 2:Inbox>Junk")});

    reports.lines.clear();
    c.arrival(at("Inbox", "i2", 3), 1000);
    c.arrival(at("Junk", "i2", 4), 1100); // copied first...
    c.vanish(at("Inbox", "i2", 0), 1110); // ...then expunged
    c.arrival(at("Inbox", "i3", 5), 1200);
    c.vanish(at("Inbox", "i3", 0), 1250); // delivered and deleted at once
    c.settle(1300);
    c.settle(2000);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 4:Inbox>Junk")});
    EXPECT_TRUE(c.idle());
}

TEST(EventCorrelator, PairsByKeyBeforeNameAndNeverWithinOneFolder) {
    Reports reports;
    Correlator c({500, 40}, reports.handlers());
    // A message written anew in the destination (another inode): its name pairs it.
    c.arrival(at("Junk", "new-inode", 1, "msgA"), 0);
    // Same name, other key, but a message of the same key vanishes later.
    c.arrival(at("Work", "i7", 2, "msgB"), 0);
    c.vanish(at("Inbox", "old-inode", 0, "msgA"), 2);
    c.vanish(at("Inbox", "i7", 0, "msgA"), 3); // the key wins over the name
    // In one folder, an arrival that vanishes again is nothing at all.
    c.arrival(at("Inbox", "i8", 3), 5);
    c.vanish(at("Inbox", "i8", 0), 6);
    c.settle(100);
    c.settle(1000);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 1:Inbox>Junk 2:Inbox>Work")});
    EXPECT_TRUE(c.idle());

    // Delivered and moved on before it was reported: only the move is.
    reports.lines.clear();
    c.arrival(at("Work", "i9", 4), 2000);
    c.arrival(at("Junk", "i9", 5), 2010);
    c.vanish(at("Work", "i9", 0), 2012);
    c.settle(2100);
    c.settle(3000);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 5:Work>Junk")});
}

TEST(EventCorrelator, AMoveBackRightAfterAMoveIsSeenAsTwoMoves) {
    Reports reports;
    Correlator c({500, 40}, reports.handlers());
    c.arrival(at("Junk", "i1", 1), 0);
    c.vanish(at("Inbox", "i1", 0), 2);
    c.arrival(at("Inbox", "i1", 2), 10);
    c.vanish(at("Junk", "i1", 0), 12);
    c.settle(60);
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("moved 1:Inbox>Junk 2:Junk>Inbox")});
}

// Hosts raise the moves reported together as user actions, one selection
// each: split where a message comes back or the folders change.
TEST(EventCorrelator, MovesReportedTogetherSplitIntoUserActions) {
    const auto move = [](const char* from, const char* to, const char* key, int payload) {
        return Correlator::Move{at(from, key, 0), at(to, key, payload)};
    };
    const QList<Correlator::Move> moves{
        move("Inbox", "Junk", "i1", 1), move("Inbox", "Junk", "i2", 2),
        move("Junk", "Inbox", "i3", 3), // rescued at the same moment
        move("Junk", "Inbox", "i1", 4), // and the first one moved back
        move("Inbox", "Junk", "i4", 5)};
    QStringList actions;
    for (const auto& action : Correlator::userActions(moves)) {
        QStringList parts;
        for (const auto& m : action)
            parts.append(QString::number(m.to.payload));
        actions.append(parts.join(u' '));
    }
    EXPECT_EQ(actions,
              (QStringList{QStringLiteral("1 2"), QStringLiteral("3 4"), QStringLiteral("5")}));
    EXPECT_TRUE(Correlator::userActions({}).isEmpty());
}

TEST(EventCorrelator, HandlersMayFeedItAgain) {
    Reports reports;
    Correlator* self = nullptr;
    auto handlers = reports.handlers();
    const auto arrived = handlers.arrived;
    handlers.arrived = [&](const QList<Seen>& seen) {
        arrived(seen);
        // A message arrives while the first is being handled.
        self->arrival(at("Inbox", "i2", 2), 600);
        EXPECT_EQ(self->settle(600), 500);
    };
    Correlator c({500, 40}, handlers);
    self = &c;
    c.arrival(at("Inbox", "i1", 1), 0);
    EXPECT_EQ(c.settle(600), 500); // the second waits its own window
    EXPECT_EQ(reports.lines, QStringList{QStringLiteral("arrived 1@Inbox")});
    EXPECT_FALSE(c.idle());
}
